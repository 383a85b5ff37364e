# The two instruction-set versions of the core's streaming kernel (B unpacked) are hidden in
# the core; the tests build them in (with the flags the core builds them with) to run
# each directly, whichever the core would pick on this machine.
set(ORB_TEST_INTERNAL ${PROJECT_SOURCE_DIR}/core/blas/gemm_stream_b_avx512.cpp
                      ${PROJECT_SOURCE_DIR}/core/blas/gemm_stream_b_avx2.cpp)
orb_instruction_set_sources()
