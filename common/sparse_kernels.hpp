// The sparse entries of one value type T and index type I, the core's and
// the threading layer's, as one table, so that every sparse routine above the
// core is written once as a template over SparseKernels<T, I>.
#pragma once

#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>

#include "precision.hpp"

namespace orb::sparse {

template <class T, class I>
struct SparseKernels;

#define ORB_SPARSE_KERNEL_TABLE(p, T, I, w)                                                   \
  template <>                                                                                 \
  struct SparseKernels<T, I> : Precision<T> {                                                 \
    static constexpr auto rows = &orb_sparse_##p##_csr_ng_n_mv_ker_##w;                       \
    static constexpr auto rows_beta = &orb_sparse_##p##_csr_ng_n_mv_ker_beta_##w;             \
    static constexpr auto transposed = &orb_sparse_##p##_csr_ng_t_mv_ker_##w;                 \
    static constexpr auto merge = &orb_sparse_##p##_csr_mv_merge1_##w;                        \
    static constexpr auto block_rows = &orb_sparse_##p##_bsr_ng_n_mv_ker_##w;                 \
    static constexpr auto block_rows_beta = &orb_sparse_##p##_bsr_ng_n_mv_ker_beta_##w;       \
    static constexpr auto csr_n_def = &orb_sparse_##p##_xcsr_mv_n_def_##w;                    \
    static constexpr auto csr_t_def = &orb_sparse_##p##_xcsr_mv_t_def_##w;                    \
    static constexpr auto csc_n_def = &orb_sparse_##p##_xcsc_mv_n_def_##w;                    \
    static constexpr auto csc_t_def = &orb_sparse_##p##_xcsc_mv_t_def_##w;                    \
    static constexpr auto bsr_n_def = &orb_sparse_##p##_xbsr_mv_n_def_##w;                    \
    static constexpr auto bsr_t_def = &orb_sparse_##p##_xbsr_mv_t_def_##w;                    \
    static constexpr auto coo_def = &orb_sparse_##p##_xcoo_mv_def_##w;                        \
    static constexpr auto arrays_def = &orb_sparse_##p##_xarrays_mv_def_##w;                  \
    static constexpr auto rows_mm = &orb_sparse_##p##_csr_ng_n_mm_ker_##w;                    \
    static constexpr auto mm = &orb_sparse_##p##_mm_##w;                                      \
    static constexpr auto copy = &orb_sparse_##p##_copy_##w;                                  \
    static constexpr auto convert = &orb_sparse_##p##_convert_##w;                            \
    static constexpr auto create_transposed = &orb_sparse_##p##_create_transposed_##w;        \
    static constexpr auto create_gen_from_sym = &orb_sparse_##p##_create_gen_from_sym_##w;    \
    static constexpr auto convert_esb = &orb_sparse_##p##_convert_esb_##w;                    \
    static constexpr auto convert_dia = &orb_sparse_##p##_convert_dia_##w;                    \
    static constexpr auto esb_slices = &orb_sparse_##p##_esb_mv_ker_##w;                      \
    static constexpr auto dia_slices = &orb_sparse_##p##_dia_mv_ker_##w;                      \
    static constexpr auto xcsr_ng_n = &orb_sparse_##p##_xcsr_ng_n_mv_##w;                     \
    static constexpr auto xcsr_ng_t = &orb_sparse_##p##_xcsr_ng_t_mv_##w;                     \
    static constexpr auto xbsr_ng_n = &orb_sparse_##p##_xbsr_ng_n_mv_##w;                     \
    static constexpr auto default_procedure = &orb_sparse_##p##_default_mv_procedure_##w;     \
    static constexpr auto mv = &orb_sparse_##p##_mv_##w;                                      \
    static constexpr auto optimize_csr = &orb_sparse_##p##_optimize_csr_mv_##w;               \
    static constexpr auto optimize_bsr = &orb_sparse_##p##_optimize_bsr_mv_##w;               \
    static constexpr auto inspector = &orb_sparse_##p##_inspector_gen_mv_##w;                 \
    static constexpr auto order = &orb_sparse_##p##_order_##w;                                \
    static constexpr auto fill_up_tri = &orb_sparse_##p##_fill_up_tri_from_full_sym_data_##w; \
    static constexpr auto up_tri_product = &orb_sparse_##p##_up_tri_sym_mv_ker_##w;           \
    static constexpr auto syrkd = &orb_sparse_##p##_csr__g_t_syrkd_##w;                       \
    static constexpr auto syrkd_c = &orb_sparse_##p##_csr__g_t_syrkd_c_ker_##w;               \
    static constexpr auto syrkd_f = &orb_sparse_##p##_csr__g_t_syrkd_f_ker_##w;               \
    static constexpr auto syrkd_alf_c = &orb_sparse_##p##_csr__g_t_syrkd_alf_c_ker_##w;       \
    static constexpr auto syrkd_alf_f = &orb_sparse_##p##_csr__g_t_syrkd_alf_f_ker_##w;       \
    static constexpr auto create_diagonal = &orb_sparse_##p##_create_diagonal_data_##w;         \
    static constexpr auto prepare_diagonal = &orb_sparse_##p##_prepare_diagonal_data_##w;       \
    static constexpr auto destroy_diagonal = &orb_sparse_##p##_destroy_diagonal_data_##w;       \
    static constexpr auto trsv_def = &orb_sparse_##p##_trsv_def_##w;                            \
    static constexpr auto create_symgs = &orb_sparse_##p##_create_symgs_optimal_data_##w;       \
    static constexpr auto prepare_symgs = &orb_sparse_##p##_prepare_symgs_optimal_data_##w;     \
    static constexpr auto destroy_symgs = &orb_sparse_##p##_destroy_symgs_optimal_data_##w;     \
    static constexpr auto sv_fwd = &orb_sparse_##p##_sv_fwd_ker_n_##w;                          \
    static constexpr auto sv_bwd = &orb_sparse_##p##_sv_bwd_ker0_##w;                           \
    static constexpr auto symgs_residual = &orb_sparse_##p##_symgs_residual_ker_##w;            \
    static constexpr auto split_mv = &orb_sparse_##p##_split_mv_ker_##w;                        \
    static constexpr auto trsv = &orb_sparse_##p##_trsv_##w;                                    \
    static constexpr auto default_trsv = &orb_sparse_##p##_default_trsv_procedure_##w;          \
    static constexpr auto optimize_trsv = &orb_sparse_##p##_optimize_csr_trsv_##w;              \
    static constexpr auto optimize_symgs = &orb_sparse_##p##_optimize_csr_symgs_##w;            \
    static constexpr auto sv_with_symgs = &orb_sparse_##p##_sv_with_symgs_data_##w;             \
    static constexpr auto sv_with_symgs_avx512 = &orb_sparse_##p##_sv_with_symgs_data_avx512_##w; \
    static constexpr auto sv_with_symgs_high_opt = &orb_sparse_##p##_sv_with_symgs_data_avx512_high_opt_##w; \
    static constexpr auto mv_with_symgs = &orb_sparse_##p##_mv_with_symgs_data_##w;             \
    static constexpr auto symgs = &orb_sparse_##p##_symgs_##w;                                  \
    static constexpr char letter = #p[0];                                                     \
  };
ORB_SPARSE_EACH(ORB_SPARSE_KERNEL_TABLE)
#undef ORB_SPARSE_KERNEL_TABLE

}  // namespace orb::sparse
