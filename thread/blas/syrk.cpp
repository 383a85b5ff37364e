// The threaded rank-k updates of one triangle of C: ?syrk, C := alpha op(A)
// op(A)^T + beta C in s, d, c and z, and ?herk, C := alpha op(A) op(A)^H +
// beta C with real alpha and beta in c and z; 64-bit integers and their lp64
// wrappers.
//
// The triangle is cut into column blocks of equal area
// (partition/triangle.cpp), one per worker.  Worker i's columns [j0, j1)
// are its diagonal block C(j0:j1, j0:j1), one call of the sequential SYRK
// (HERK) on the rows j0..j1 of op(A), and the rectangle beside it inside the
// triangle, one GEMM call: rows j1..n of the lower triangle, rows 0..j0 of the
// upper one, each the product of those rows of op(A) with the transpose (the
// conjugate transpose for HERK) of rows j0..j1.  The blocks are disjoint, so
// no lock is taken.
//
// In this order:
//   1. An illegal call goes, unchanged, to the sequential kernel, which
//      reports the first illegal argument once and writes nothing.
//   2. n = 0, alpha = 0 and k = 0 go to the kernel as they came: at most the
//      triangle is scaled by beta.
//   3. The budget T is orb_serv_get_max_threads(); the worker count is the
//      rule's; one worker calls the kernel with the caller's own arguments.
//   4. Otherwise the record carries the call to W workers through
//      orb_blas_invoke_thin_thread.
#include <orb/internal/blas_args.h>
#include "blas/blas_precision.hpp"
#include "lp64.hpp"
#include "partition/triangle.hpp"

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>

#include "blas_rules.hpp"

#include <type_traits>

namespace orb::thr {

namespace {

//! ?syrk (S = T) or ?herk (S the real type of T): the kernels and letters.
template <class T, class S>
struct RankK;
#define ORB_RANK_K(p, P, T)                                                                          \
  template <>                                                                                        \
  struct RankK<T, T> : BlasPrecision<T> {                                                          \
    static constexpr auto kernel = &orb_blas_x##p##syrk;                                             \
    static constexpr char conj = 'T';                                                                \
    static const char *ops() { return BlasPrecision<T>::is_complex ? rules::kSyrkComplexOps : rules::kSyrkRealOps; } \
    static T scalar(const T &s) { return s; }                                                        \
  };
ORB_FOR_EACH_PRECISION(ORB_RANK_K)
#undef ORB_RANK_K
#define ORB_RANK_K_HERMITIAN(p, T, S)                                     \
  template <>                                                           \
  struct RankK<T, S> : BlasPrecision<T> {                             \
    static constexpr auto kernel = &orb_blas_x##p##herk;                \
    static constexpr char conj = 'C';                                   \
    static const char *ops() { return rules::kHerkOps; }                \
    static T scalar(const S &s) { return T{s, 0}; }                     \
  };
ORB_RANK_K_HERMITIAN(c, ORB_Complex8, float)
ORB_RANK_K_HERMITIAN(z, ORB_Complex16, double)
#undef ORB_RANK_K_HERMITIAN

//! Columns [j0, j1) of the triangle: the diagonal block, then the rectangle beside it.
template <class T, class S>
int64_t syrk_worker(int64_t ithr, int64_t nthr, blas_args_t *args) {
  using K = RankK<T, S>;
  const char *uplo = static_cast<const char *>(args->word2);
  const char *trans = args->transa;
  const bool upper = (*uplo | 0x20) == 'u', plain = not_transposed(trans);
  const ORB_INT n = args->n;
  const Range cols = triangle_columns(n, nthr, ithr, upper);
  if (cols.empty()) return 0;
  const T *a = static_cast<const T *>(args->a);
  T *c = static_cast<T *>(args->c);
  const S *alpha = static_cast<const S *>(args->alpha), *beta = static_cast<const S *>(args->beta);
  // Rows r.. of op(A): rows of A as stored, columns when transposed.
  const auto rows_of_op_a = [&](ORB_INT r) { return plain ? a + r : a + r * args->lda; };
  const ORB_INT width = cols.size();
  K::kernel(uplo, trans, &width, &args->k, alpha, rows_of_op_a(cols.begin), &args->lda, beta,
            c + cols.begin + cols.begin * args->ldc, &args->ldc);
  const ORB_INT first = upper ? 0 : cols.end, rows = upper ? cols.begin : n - cols.end;
  if (rows == 0) return 0;
  const char left = plain ? 'N' : K::conj, right = plain ? K::conj : 'N';
  const T al = K::scalar(*alpha), be = K::scalar(*beta);
  K::gemm_kernel(&left, &right, &rows, &width, &args->k, &al, rows_of_op_a(first), &args->lda,
                 rows_of_op_a(cols.begin), &args->lda, &be, c + first + cols.begin * args->ldc, &args->ldc);
  return 0;
}

template <class T, class S>
void syrk(const char *uplo, const char *trans, const ORB_INT *n, const ORB_INT *k, const S *alpha, const T *a,
          const ORB_INT *lda, const S *beta, T *c, const ORB_INT *ldc) {
  using K = RankK<T, S>;
  const auto whole = [&] { K::kernel(uplo, trans, n, k, alpha, a, lda, beta, c, ldc); };
  if (orb_blas_check_syrk(uplo, trans, n, k, alpha, lda, beta, ldc, K::ops()) != 0 || *n == 0 || *k == 0 ||
      orb::is_zero(*alpha)) {
    whole();
    return;
  }
  const int64_t workers = triangle_workers(*n, *k, orb_serv_get_max_threads());
  if (workers <= 1) {
    whole();
    return;
  }
  blas_args_t args{};
  args.transa = trans;
  args.word2 = uplo;
  args.n = *n;
  args.k = *k;
  args.alpha = alpha;
  args.beta = beta;
  args.a = a;
  args.c = c;
  args.lda = *lda;
  args.ldc = *ldc;
  orb_blas_invoke_thin_thread(workers, syrk_worker<T, S>, &args, nullptr);
}

}  // namespace

}  // namespace orb::thr

#define ORB_RANK_K_ENTRIES(name, T, S)                                                                     \
  extern "C" ORB_SYRK_DECL(orb_blas_##name, T, S, ORB_INT) {                                              \
    orb::thr::syrk<T, S>(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);                                 \
  }                                                                                                       \
  extern "C" ORB_SYRK_DECL(orb_blas_lp64_##name, T, S, int) {                                             \
    orb::thr::call_lp64(orb_blas_##name, uplo, trans, n, k, alpha, a, lda, beta, c, ldc);                 \
  }
#define ORB_SYRK_ENTRIES(p, P, T) ORB_RANK_K_ENTRIES(p##syrk, T, T)
ORB_FOR_EACH_PRECISION(ORB_SYRK_ENTRIES)
ORB_RANK_K_ENTRIES(cherk, ORB_Complex8, float)
ORB_RANK_K_ENTRIES(zherk, ORB_Complex16, double)
