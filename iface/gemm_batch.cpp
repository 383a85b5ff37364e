// Batches of general matrix products under their standard names:
// sgemm_batch_ ... zgemm_batch_ and sgemm_batch_strided_ ... (32-bit
// integers), the same with _64_ (64-bit integers), and cblas_?gemm_batch,
// cblas_?gemm_batch_strided (row- or column-major).
//
// A batch is checked whole before anything is computed: the group count, then
// every group in order (GEMM's rules on the group's entries, the operands of
// each of its products, the group's size), so that a batch with one illegal
// group changes no C at all.  The report names the position in the batch
// routine's own argument list; for the strided batch the strides sit behind
// their matrices (blas_rules.hpp).  A row-major CBLAS batch is the
// column-major batch of the transposes, as for the single product (gemm.cpp),
// and reports the same way.
#include <orb/orb_blas.h>
#include <orb/orb_cblas.h>

#include <cstdint>

#include "arguments.hpp"
#include "blas_rules.hpp"
#include "gemm_call.hpp"
#include "precision.hpp"
#include "report.hpp"
#include "scratch.hpp"

namespace orb::iface {

namespace {

#define ORB_THREADED_GEMM_BATCH(p, P, T)                                                                             \
  void threaded_gemm_batch(const char *ta, const char *tb, const void *m, const void *n, const void *k,            \
                           const T *alpha, const T *const *a, const void *lda, const T *const *b, const void *ldb, \
                           const T *beta, T *const *c, const void *ldc, const void *group_count,                   \
                           const void *group_size, int int32) {                                                    \
    orb_blas_##p##gemm_batch(ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, group_count, group_size, int32); \
  }                                                                                                                \
  void threaded_gemm_batch_strided(const char *ta, const char *tb, const ORB_INT *m, const ORB_INT *n,             \
                                   const ORB_INT *k, const T *alpha, const T *a, const ORB_INT *lda,               \
                                   const ORB_INT *sa, const T *b, const ORB_INT *ldb, const ORB_INT *sb,           \
                                   const T *beta, T *c, const ORB_INT *ldc, const ORB_INT *sc,                     \
                                   const ORB_INT *count) {                                                         \
    orb_blas_##p##gemm_batch_strided(ta, tb, m, n, k, alpha, a, lda, sa, b, ldb, sb, beta, c, ldc, sc, count);     \
  }                                                                                                                \
  void threaded_gemm_batch_strided(const char *ta, const char *tb, const int *m, const int *n, const int *k,       \
                                   const T *alpha, const T *a, const int *lda, const int *sa, const T *b,          \
                                   const int *ldb, const int *sb, const T *beta, T *c, const int *ldc,             \
                                   const int *sc, const int *count) {                                              \
    orb_blas_lp64_##p##gemm_batch_strided(ta, tb, m, n, k, alpha, a, lda, sa, b, ldb, sb, beta, c, ldc, sc, count); \
  }
ORB_FOR_EACH_PRECISION(ORB_THREADED_GEMM_BATCH)
#undef ORB_THREADED_GEMM_BATCH

//! Entry g of an array the caller may not have passed.
template <class A>
A *entry(A *array, int64_t g) {
  return array ? array + g : nullptr;
}

//! The first missing operand among the products of one legal group whose
//! first product is number `first`: its position in the column-major call
//! (check_operands), or 0.  A missing pointer array counts as missing operands.
template <class T>
int check_group_operands(GemmCall<T> g, const T *const *a, const T *const *b, T *const *c, int64_t first,
                         int64_t members) {
  if (members < 1 || leaves_c_unchanged(g)) return 0;
  for (int64_t i = first; i < first + members; ++i) {
    g.a = a ? a[i] : nullptr;
    g.b = b ? b[i] : nullptr;
    g.c = c ? c[i] : nullptr;
    if (const int missing = check_operands(g)) return missing;
  }
  return 0;
}

//! The verbose line's arguments of a batch: its arrays by address, the
//! group count by value.
template <class I>
void batch_operands(CallText &t, const void *const (&arrays)[13], const I *group_count, const void *group_size) {
  for (const void *array : arrays) t.address(array);
  t.integer(group_count).address(group_size);
}

//! The operands of a strided batch after its transposition words.
template <class I, class S>
void strided_operands(CallText &t, I m, I n, I k, const S *alpha, const void *a, I lda, I sa, const void *b, I ldb,
                      I sb, const S *beta, const void *c, I ldc, I sc, I count) {
  t.integer(m).integer(n).integer(k).scalar(alpha).address(a).integer(lda).integer(sa).address(b).integer(ldb)
      .integer(sb)
      .scalar(beta)
      .address(c)
      .integer(ldc)
      .integer(sc)
      .integer(count);
}

//! check_operands' positions (a 7, b 9, c 12) in the strided list (a 7, b 10, c 14).
int strided_position(int gemm_position) {
  return gemm_position == 9 ? 10 : gemm_position == 12 ? 14 : gemm_position;
}

}  // namespace

template <class T, class I>
void fortran_gemm_batch(int iface, const char *transa, const char *transb, const I *m, const I *n, const I *k,
                        const T *alpha, const T *const *a, const I *lda, const T *const *b, const I *ldb,
                        const T *beta, T *const *c, const I *ldc, const I *group_count, const I *group_size) {
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        int info = rules::check_gemm_batch(transa, transb, m, n, k, alpha, lda, ldb, beta, ldc, group_count,
                                           group_size);
        for (int64_t g = 0, first = 0; !info && g < *group_count; first += group_size[g++]) {
          const GemmCall<T> call = {transa[g], transb[g], m[g],    n[g],      k[g],    alpha + g, nullptr,
                                    lda[g],    nullptr,   ldb[g],  beta + g,  nullptr, ldc[g]};
          info = check_group_operands(call, a, b, c, first, group_size[g]);
        }
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, "GEMM_BATCH", int64).report, info);
          return;
        }
        threaded_gemm_batch(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, group_count, group_size,
                            int64 ? 0 : 1);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "GEMM_BATCH", int64).upper);
        batch_operands(t, {transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc}, group_count, group_size);
      });
}

template <class T, class I>
void fortran_gemm_batch_strided(int iface, const char *transa, const char *transb, const I *m, const I *n,
                                const I *k, const T *alpha, const T *a, const I *lda, const I *stridea, const T *b,
                                const I *ldb, const I *strideb, const T *beta, T *c, const I *ldc,
                                const I *stridec, const I *batch_size) {
  constexpr bool int64 = sizeof(I) == 8;
  run_reported(
      iface,
      [&] {
        int info = rules::check_gemm_batch_strided(transa, transb, m, n, k, alpha, lda, stridea, ldb, strideb, beta,
                                                   ldc, stridec, batch_size);
        if (!info && *batch_size > 0)
          info = strided_position(check_operands(
              GemmCall<T>{*transa, *transb, *m, *n, *k, alpha, a, *lda, b, *ldb, beta, c, *ldc}));
        if (info) {
          report_fortran(routine_name(Precision<T>::upper, "GEMM_BATCH_STRIDED", int64).report, info);
          return;
        }
        threaded_gemm_batch_strided(transa, transb, m, n, k, alpha, a, lda, stridea, b, ldb, strideb, beta, c, ldc,
                                    stridec, batch_size);
      },
      [&](CallText &t) {
        t.routine(routine_name(Precision<T>::upper, "GEMM_BATCH_STRIDED", int64).upper)
            .character(transa)
            .character(transb);
        strided_operands(t, m, n, k, alpha, a, lda, stridea, b, ldb, strideb, beta, c, ldc, stridec, batch_size);
      });
}

//! The arrays of a CBLAS batch as its column-major twin reads them: for a
//! row-major batch, those of m and n, A and B, lda and ldb exchanged.
template <class T>
struct TwinArrays {
  const int *rows, *cols, *lda, *ldb;
  const T *const *a;
  const T *const *b;
  TwinArrays(bool row, const int *m, const int *n, const int *lda_, const int *ldb_, const T *const *a_,
             const T *const *b_)
      : rows(row ? n : m), cols(row ? m : n), lda(row ? ldb_ : lda_), ldb(row ? lda_ : ldb_), a(row ? b_ : a_),
        b(row ? a_ : b_) {}
};

//! The transposition letters of group g's column-major twin, 0 where the
//! caller's value names none.
inline void twin_letters(bool row, const CBLAS_TRANSPOSE *transa, const CBLAS_TRANSPOSE *transb, int64_t g,
                         char (&letters)[2]) {
  const char ta = transa ? transpose_letter(transa[g]) : 0, tb = transb ? transpose_letter(transb[g]) : 0;
  letters[0] = row ? tb : ta;
  letters[1] = row ? ta : tb;
}

//! The CBLAS position of the first illegal argument of a batch, or 0: the
//! layout, the group count, then each group in order (its transpositions,
//! GEMM's rules on its twin, its products' operands, its size).
template <class T>
int check_cblas_batch(int layout, const CBLAS_TRANSPOSE *transa, const CBLAS_TRANSPOSE *transb, const int *k,
                      const T *alpha, const TwinArrays<T> &twin, const T *beta, T *const *c, const int *ldc,
                      int group_count, const int *group_size) {
  if (!known_layout(layout)) return 1;
  if (group_count < 0) return 15;
  const bool row = layout == CblasRowMajor;
  for (int64_t g = 0, first = 0; g < group_count; ++g) {
    char letters[2];
    twin_letters(false, transa, transb, g, letters);
    if (!letters[0]) return 2;
    if (!letters[1]) return 3;
    twin_letters(row, transa, transb, g, letters);
    if (const int standard =
            rules::check_gemm(&letters[0], &letters[1], entry(twin.rows, g), entry(twin.cols, g), entry(k, g),
                              entry(alpha, g), entry(twin.lda, g), entry(twin.ldb, g), entry(beta, g), entry(ldc, g)))
      return standard + 1;
    const int64_t members = group_size ? group_size[g] : 0;
    const GemmCall<T> call = {letters[0], letters[1], twin.rows[g], twin.cols[g], k[g],    alpha + g, nullptr,
                              twin.lda[g], nullptr,   twin.ldb[g], beta + g,     nullptr, ldc[g]};
    if (const int missing = check_group_operands(call, twin.a, twin.b, c, first, members))
      return row ? swap_positions(missing + 1, 8, 10) : missing + 1;
    if (!group_size || members < 0) return 16;
    first += members;
  }
  return 0;
}

// Without the scratch for the twin's letters, the groups go one by one, each
// as a batch of one group.
template <class T>
void cblas_gemm_batch(int layout, const CBLAS_TRANSPOSE *transa, const CBLAS_TRANSPOSE *transb, const int *m,
                      const int *n, const int *k, const T *alpha, const T *const *a, const int *lda,
                      const T *const *b, const int *ldb, const T *beta, T *const *c, const int *ldc, int group_count,
                      const int *group_size) {
  const auto name = routine_name(Precision<T>::upper, "GEMM_BATCH", false);
  run_reported(
      kCblas,
      [&] {
        const bool row = layout == CblasRowMajor;
        const TwinArrays<T> twin(row, m, n, lda, ldb, a, b);
        if (const int info =
                check_cblas_batch(layout, transa, transb, k, alpha, twin, beta, c, ldc, group_count, group_size)) {
          report_cblas(name.cblas, info, row, kGemmRowMajorExchanges);
          return;
        }
        const Scratch<char> letters(2 * static_cast<int64_t>(group_count), 64);
        if (letters) {
          for (int g = 0; g < group_count; ++g) {
            char pair[2];
            twin_letters(row, transa, transb, g, pair);
            letters.get()[g] = pair[0];
            letters.get()[group_count + g] = pair[1];
          }
          threaded_gemm_batch(letters.get(), letters.get() + group_count, twin.rows, twin.cols, k, alpha, twin.a,
                              twin.lda, twin.b, twin.ldb, beta, c, ldc, &group_count, group_size, 1);
          return;
        }
        const int one = 1;
        for (int g = 0, first = 0; g < group_count; first += group_size[g++]) {
          char pair[2];
          twin_letters(row, transa, transb, g, pair);
          threaded_gemm_batch(&pair[0], &pair[1], twin.rows + g, twin.cols + g, k + g, alpha + g, twin.a + first,
                              twin.lda + g, twin.b + first, twin.ldb + g, beta + g, c + first, ldc + g, &one,
                              group_size + g, 1);
        }
      },
      [&](CallText &t) {
        t.routine(name.cblas);
        cblas_layout(t, layout);
        batch_operands(t, {transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc}, &group_count, group_size);
      });
}

//! m and n, lda and ldb, stridea and strideb: what a row-major strided batch exchanges.
constexpr RowMajorExchange kStridedRowMajorExchanges[] = {{4, 5}, {9, 12}, {10, 13}};

template <class T>
void cblas_gemm_batch_strided(int layout, int transa, int transb, int m, int n, int k, const T *alpha, const T *a,
                              int lda, int stridea, const T *b, int ldb, int strideb, const T *beta, T *c, int ldc,
                              int stridec, int batch_size) {
  const auto name = routine_name(Precision<T>::upper, "GEMM_BATCH_STRIDED", false);
  run_reported(
      kCblas,
      [&] {
        const auto [ta, tb, row, head] = cblas_product(layout, transa, transb);
        int info = head;
        const GemmCall<T> g = column_major_call(row, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);
        const int64_t sa = row ? strideb : stridea, sb = row ? stridea : strideb, sc = stridec, count = batch_size;
        if (!info) {
          if (const int standard = rules::check_gemm_batch_strided(&g.transa, &g.transb, &g.m, &g.n, &g.k, alpha,
                                                                   &g.lda, &sa, &g.ldb, &sb, beta, &g.ldc, &sc, &count))
            info = standard + 1;
          else if (const int missing = count > 0 ? strided_position(check_operands(g)) : 0)
            info = row ? swap_positions(missing + 1, 8, 11) : missing + 1;
        }
        if (info) {
          report_cblas(name.cblas, info, row, kStridedRowMajorExchanges);
          return;
        }
        const int mm = static_cast<int>(g.m), nn = static_cast<int>(g.n), lda_ = static_cast<int>(g.lda),
                  ldb_ = static_cast<int>(g.ldb), sa_ = static_cast<int>(sa), sb_ = static_cast<int>(sb);
        threaded_gemm_batch_strided(&g.transa, &g.transb, &mm, &nn, &k, alpha, g.a, &lda_, &sa_, g.b, &ldb_, &sb_,
                                    beta, c, &ldc, &stridec, &batch_size);
      },
      [&](CallText &t) {
        t.routine(name.cblas);
        cblas_layout(t, layout);
        cblas_transpose(t, transa);
        cblas_transpose(t, transb);
        strided_operands(t, m, n, k, alpha, a, lda, stridea, b, ldb, strideb, beta, c, ldc, stridec, batch_size);
      });
}

}  // namespace orb::iface

using orb::iface::cblas_gemm_batch;
using orb::iface::cblas_gemm_batch_strided;
using orb::iface::fortran_gemm_batch;
using orb::iface::fortran_gemm_batch_strided;
using orb::iface::kIlp64;
using orb::iface::kLp64;

// As for gemm_ (gemm.cpp), the lengths Fortran passes for the transposition
// arrays are not declared, and so never read.
#define ORB_FORTRAN_GEMM_BATCH(name, iface, T, I)                                                                 \
  extern "C" ORB_EXPORT void name(const char *ta, const char *tb, const I *m, const I *n, const I *k,             \
                                  const T *alpha, const T *const *a, const I *lda, const T *const *b,             \
                                  const I *ldb, const T *beta, T *const *c, const I *ldc, const I *group_count,   \
                                  const I *group_size) {                                                          \
    fortran_gemm_batch<T, I>(iface, ta, tb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, group_count,            \
                             group_size);                                                                         \
  }
#define ORB_FORTRAN_GEMM_BATCH_STRIDED(name, iface, T, I)                                                           \
  extern "C" ORB_EXPORT void name(const char *ta, const char *tb, const I *m, const I *n, const I *k,               \
                                  const T *alpha, const T *a, const I *lda, const I *sa, const T *b, const I *ldb,  \
                                  const I *sb, const T *beta, T *c, const I *ldc, const I *sc, const I *count) {    \
    fortran_gemm_batch_strided<T, I>(iface, ta, tb, m, n, k, alpha, a, lda, sa, b, ldb, sb, beta, c, ldc, sc,      \
                                     count);                                                                        \
  }
#define ORB_FORTRAN_GEMM_BATCH_FORMS(p, P, T)                                       \
  ORB_FORTRAN_GEMM_BATCH(p##gemm_batch_, kLp64, T, int)                         \
  ORB_FORTRAN_GEMM_BATCH(p##gemm_batch_64_, kIlp64, T, ORB_INT)                 \
  ORB_FORTRAN_NAME_FORMS(p##gemm_batch, P##GEMM_BATCH)                          \
  ORB_FORTRAN_GEMM_BATCH_STRIDED(p##gemm_batch_strided_, kLp64, T, int)         \
  ORB_FORTRAN_GEMM_BATCH_STRIDED(p##gemm_batch_strided_64_, kIlp64, T, ORB_INT) \
  ORB_FORTRAN_NAME_FORMS(p##gemm_batch_strided, P##GEMM_BATCH_STRIDED)
ORB_FOR_EACH_PRECISION(ORB_FORTRAN_GEMM_BATCH_FORMS)

// Real scalars come by value (arrays of them by pointer), complex ones
// through void pointers.
#define ORB_CBLAS_GEMM_BATCH(p, T, S, M)                                                                               \
  extern "C" void cblas_##p##gemm_batch(CBLAS_LAYOUT layout, const CBLAS_TRANSPOSE *ta, const CBLAS_TRANSPOSE *tb,  \
                                        const int *m, const int *n, const int *k, const S *alpha, const M **a,       \
                                        const int *lda, const M **b, const int *ldb, const S *beta, M **c,           \
                                        const int *ldc, int group_count, const int *group_size) {                    \
    cblas_gemm_batch<T>(layout, ta, tb, m, n, k, static_cast<const T *>(alpha),                                     \
                        reinterpret_cast<const T *const *>(a), lda, reinterpret_cast<const T *const *>(b), ldb,     \
                        static_cast<const T *>(beta), reinterpret_cast<T *const *>(c), ldc, group_count,            \
                        group_size);                                                                                 \
  }
ORB_CBLAS_GEMM_BATCH(s, float, float, float)
ORB_CBLAS_GEMM_BATCH(d, double, double, double)
ORB_CBLAS_GEMM_BATCH(c, ORB_Complex8, void, void)
ORB_CBLAS_GEMM_BATCH(z, ORB_Complex16, void, void)

#define ORB_CBLAS_REAL_GEMM_BATCH_STRIDED(p, T)                                                                      \
  extern "C" void cblas_##p##gemm_batch_strided(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb, int m, \
                                                int n, int k, T alpha, const T *a, int lda, int sa, const T *b,     \
                                                int ldb, int sb, T beta, T *c, int ldc, int sc, int count) {        \
    cblas_gemm_batch_strided<T>(layout, ta, tb, m, n, k, &alpha, a, lda, sa, b, ldb, sb, &beta, c, ldc, sc, count);  \
  }
#define ORB_CBLAS_COMPLEX_GEMM_BATCH_STRIDED(p, T)                                                                   \
  extern "C" void cblas_##p##gemm_batch_strided(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE ta, CBLAS_TRANSPOSE tb, int m, \
                                                int n, int k, const void *alpha, const void *a, int lda, int sa,    \
                                                const void *b, int ldb, int sb, const void *beta, void *c, int ldc, \
                                                int sc, int count) {                                                \
    cblas_gemm_batch_strided<T>(layout, ta, tb, m, n, k, static_cast<const T *>(alpha), static_cast<const T *>(a),   \
                                lda, sa, static_cast<const T *>(b), ldb, sb, static_cast<const T *>(beta),           \
                                static_cast<T *>(c), ldc, sc, count);                                                \
  }
ORB_CBLAS_REAL_GEMM_BATCH_STRIDED(s, float)
ORB_CBLAS_REAL_GEMM_BATCH_STRIDED(d, double)
ORB_CBLAS_COMPLEX_GEMM_BATCH_STRIDED(c, ORB_Complex8)
ORB_CBLAS_COMPLEX_GEMM_BATCH_STRIDED(z, ORB_Complex16)
