// The standard names as a program declares them, and one call per name form
// (32-bit, 64-bit, CBLAS column- and row-major) for any element type, so that
// a test runs the same case through every form; Api<T> also names the threaded
// drivers.
#pragma once

#include <orb/internal/orb_kernels.h>
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>
#include <orb/orb_types.h>

#include <cstdint>
#include <ostream>

extern "C" {
#define ORB_TEST_GEMM(name, T, I)                                                                                    \
  void name(const char *, const char *, const I *, const I *, const I *, const T *, const T *, const I *, const T *, \
            const I *, const T *, T *, const I *);
#define ORB_TEST_GEMV(name, T, I)                                                                                      \
  void name(const char *, const I *, const I *, const T *, const T *, const I *, const T *, const I *, const T *, T *, \
            const I *);
#define ORB_TEST_GEMM_BATCH(name, T, I)                                                                        \
  void name(const char *, const char *, const I *, const I *, const I *, const T *, const T *const *, const I *, \
            const T *const *, const I *, const T *, T *const *, const I *, const I *, const I *);
#define ORB_TEST_NAMES(p, T)                         \
  ORB_TEST_GEMM(p##gemm_, T, int)                    \
  ORB_TEST_GEMM(p##gemm_64_, T, int64_t)             \
  ORB_TEST_GEMV(p##gemv_, T, int)                    \
  ORB_TEST_GEMV(p##gemv_64_, T, int64_t)             \
  ORB_TEST_GEMM_BATCH(p##gemm_batch_, T, int)        \
  ORB_TEST_GEMM_BATCH(p##gemm_batch_64_, T, int64_t) \
  ORB_GEMM_BATCH_STRIDED_DECL(p##gemm_batch_strided_, T, int);
ORB_TEST_NAMES(s, float)
ORB_TEST_NAMES(d, double)
ORB_TEST_NAMES(c, ORB_Complex8)
ORB_TEST_NAMES(z, ORB_Complex16)
}

namespace orb::test {

enum class Form { Fortran32, Fortran64, CblasColumn, CblasRow };
constexpr Form kForms[] = {Form::Fortran32, Form::Fortran64, Form::CblasColumn, Form::CblasRow};

inline const char *form_name(Form f) {
  static const char *names[] = {"Fortran32", "Fortran64", "CblasColumn", "CblasRow"};
  return names[static_cast<int>(f)];
}
inline void PrintTo(Form f, std::ostream *os) { *os << form_name(f); }

//! The enumerator of a letter (either case); any other letter gives 0, which names none.
template <class E>
E cblas_enum(char c, char l1, E e1, char l2, E e2, char l3 = 0, E e3 = E(0)) {
  c |= 0x20;
  return c == l1 ? e1 : c == l2 ? e2 : c == l3 ? e3 : E(0);
}
inline CBLAS_TRANSPOSE cblas_trans(char t) {
  return cblas_enum(t, 'n', CblasNoTrans, 't', CblasTrans, 'c', CblasConjTrans);
}
inline CBLAS_SIDE cblas_side(char s) { return cblas_enum(s, 'l', CblasLeft, 'r', CblasRight); }
inline CBLAS_UPLO cblas_uplo(char u) { return cblas_enum(u, 'u', CblasUpper, 'l', CblasLower); }
inline CBLAS_DIAG cblas_diag(char d) { return cblas_enum(d, 'u', CblasUnit, 'n', CblasNonUnit); }

template <class T>
struct Api;
#define ORB_TEST_API(p, T, PASS, M)                                                                                  \
  template <>                                                                                                        \
  struct Api<T> {                                                                                                    \
    static constexpr auto gemm32 = p##gemm_;                                                                         \
    static constexpr auto gemm64 = p##gemm_64_;                                                                      \
    static constexpr auto gemv32 = p##gemv_;                                                                         \
    static constexpr auto gemv64 = p##gemv_64_;                                                                      \
    static constexpr auto driver_gemm = orb_blas_##p##gemm;                                                          \
    static constexpr auto driver_gemm_lp64 = orb_blas_lp64_##p##gemm;                                                \
    static constexpr auto driver_gemv = orb_blas_##p##gemv;                                                          \
    static constexpr auto gemm_batch32 = p##gemm_batch_;                                                             \
    static constexpr auto gemm_batch64 = p##gemm_batch_64_;                                                          \
    static constexpr auto gemm_batch_strided32 = p##gemm_batch_strided_;                                             \
    static constexpr auto driver_gemm_batch = orb_blas_##p##gemm_batch;                                              \
    static void cblas_gemm(CBLAS_LAYOUT l, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb, int m, int n, int k,              \
                           const T *alpha, const T *a, int lda, const T *b, int ldb, const T *beta, T *c, int ldc) { \
      cblas_##p##gemm(l, ta, tb, m, n, k, PASS(alpha), a, lda, b, ldb, PASS(beta), c, ldc);                          \
    }                                                                                                                \
    static void cblas_gemv(CBLAS_LAYOUT l, CBLAS_TRANSPOSE t, int m, int n, const T *alpha, const T *a, int lda,     \
                           const T *x, int incx, const T *beta, T *y, int incy) {                                    \
      cblas_##p##gemv(l, t, m, n, PASS(alpha), a, lda, x, incx, PASS(beta), y, incy);                                \
    }                                                                                                                \
    static void cblas_gemm_batch(CBLAS_LAYOUT l, const CBLAS_TRANSPOSE *ta, const CBLAS_TRANSPOSE *tb, const int *m, \
                                 const int *n, const int *k, const T *alpha, const T **a, const int *lda,          \
                                 const T **b, const int *ldb, const T *beta, T **c, const int *ldc, int count,     \
                                 const int *size) {                                                                \
      cblas_##p##gemm_batch(l, ta, tb, m, n, k, alpha, reinterpret_cast<const M **>(a), lda,                         \
                            reinterpret_cast<const M **>(b), ldb, beta, reinterpret_cast<M **>(c), ldc, count, size); \
    }                                                                                                                \
  };
#define ORB_TEST_BY_VALUE(p) (*(p))
#define ORB_TEST_BY_POINTER(p) (p)
ORB_TEST_API(s, float, ORB_TEST_BY_VALUE, float)
ORB_TEST_API(d, double, ORB_TEST_BY_VALUE, double)
ORB_TEST_API(c, ORB_Complex8, ORB_TEST_BY_POINTER, void)
ORB_TEST_API(z, ORB_Complex16, ORB_TEST_BY_POINTER, void)

//! op(A) op(B) through one name form; the sizes are those of the product,
//! the matrices stored as the form expects (row-major for CblasRow).
template <class T>
void call_gemm(Form form, char ta, char tb, int m, int n, int k, const T &alpha, const T *a, int lda, const T *b,
               int ldb, const T &beta, T *c, int ldc) {
  const int64_t m8 = m, n8 = n, k8 = k, lda8 = lda, ldb8 = ldb, ldc8 = ldc;
  switch (form) {
    case Form::Fortran32: Api<T>::gemm32(&ta, &tb, &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc); break;
    case Form::Fortran64: Api<T>::gemm64(&ta, &tb, &m8, &n8, &k8, &alpha, a, &lda8, b, &ldb8, &beta, c, &ldc8); break;
    case Form::CblasColumn:
    case Form::CblasRow:
      Api<T>::cblas_gemm(form == Form::CblasRow ? CblasRowMajor : CblasColMajor, cblas_trans(ta), cblas_trans(tb), m, n,
                         k, &alpha, a, lda, b, ldb, &beta, c, ldc);
      break;
  }
}

template <class T>
void call_gemv(Form form, char t, int m, int n, const T &alpha, const T *a, int lda, const T *x, int incx,
               const T &beta, T *y, int incy) {
  const int64_t m8 = m, n8 = n, lda8 = lda, incx8 = incx, incy8 = incy;
  switch (form) {
    case Form::Fortran32: Api<T>::gemv32(&t, &m, &n, &alpha, a, &lda, x, &incx, &beta, y, &incy); break;
    case Form::Fortran64: Api<T>::gemv64(&t, &m8, &n8, &alpha, a, &lda8, x, &incx8, &beta, y, &incy8); break;
    case Form::CblasColumn:
    case Form::CblasRow:
      Api<T>::cblas_gemv(form == Form::CblasRow ? CblasRowMajor : CblasColMajor, cblas_trans(t), m, n, &alpha, a, lda,
                         x, incx, &beta, y, incy);
      break;
  }
}

}  // namespace orb::test
