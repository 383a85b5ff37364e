# The two instruction-set versions of the core's streaming kernel (B unpacked) are hidden in
# the core; the tests build them in (with the flags the core builds them with) to run
# each directly, whichever the core would pick on this machine.  The cutting rules, hidden
# in the threading layer, are built in to say which pieces a driver must make.  The choice
# of the providers' kernel sets is built in too, to check it for processors other than
# this one, and so is the rule that routes a product to one provider or the other.
file(GLOB ORB_TEST_INTERNAL CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/thread/partition/*.cpp)
list(APPEND ORB_TEST_INTERNAL ${PROJECT_SOURCE_DIR}/core/blas/gemm_stream_b_avx512.cpp
                              ${PROJECT_SOURCE_DIR}/core/blas/gemm_stream_b_avx2.cpp
                              ${PROJECT_SOURCE_DIR}/core/blas/provider_kernels.cpp
                              ${PROJECT_SOURCE_DIR}/core/blas/gemm_route.cpp
                              ${PROJECT_SOURCE_DIR}/core/service/processor.cpp)
orb_instruction_set_sources()
# The complex product's real form, its real products going to the exported kernels.
list(APPEND ORB_TEST_INTERNAL ${PROJECT_SOURCE_DIR}/core/blas/gemm_real_form.cpp)
