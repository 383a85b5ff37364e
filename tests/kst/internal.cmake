# The relaxation rule of the solver's analysis is hidden in the core; the
# tests build it in to check its table.
set(ORB_TEST_INTERNAL ${PROJECT_SOURCE_DIR}/core/kst/relax.cpp)
