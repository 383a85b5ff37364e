# The LU tests watch the drivers through the same interposed kernels and
# allocator as the BLAS tests (tests/blas/interpose.*).
set(ORB_TEST_INTERNAL ${PROJECT_SOURCE_DIR}/tests/blas/interpose.cpp)
