// User entry points of the sparse handles: creation in each format, export,
// copy and conversion, hints, analysis, the products and destruction, in s, d, c, z with 32-bit
// indices and, in the names ending in _64, 64-bit ones.
//
// The core checks the arrays when it makes a handle; this layer checks what
// only the caller's choice of name tells: that a handle passed to a typed
// routine was made with that value type and index width (3 otherwise).
// Hints wait on the handle until orb_sparse_optimize analyses them; an
// announced product, solve or Gauss-Seidel sweep the analysis cannot speed up
// is dropped, and the default path serves it.  With verbose mode on, each product prints one line:
// routine, operation, sizes, stored entries and time.
#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_service.h>
#include <orb/orb_sparse.h>

#include "report.hpp"
#include "sparse/made_as.hpp"
#include "scratch.hpp"
#include "sparse_kernels.hpp"
#include "sparse_rules.hpp"

#include <cstdint>
#include <initializer_list>

namespace orb::iface {
namespace {

using sparse::SparseHandle;
using sparse::SparseHint;

template <class T, class I>
using SparseEntries = sparse::SparseKernels<T, I>;


template <class T, class I>
orb_sparse_status exported(orb_sparse_matrix A, int *format, int *base, I *rows, I *cols, I *block, I **row_start,
                           I **row_end, I **col_index, T **values) {
  if (!A || !format || !base || !rows || !cols || !block || !row_start || !row_end || !col_index || !values)
    return ORB_SPARSE_NULL_POINTER;
  if (!made_as<T, I>(A)) return ORB_SPARSE_BAD_VALUE;
  const SparseHandle<T, I> *h = sparse::handle_cast<T, I>(A);
  if (h->format == sparse::kFormatCoo) return ORB_SPARSE_UNSUPPORTED;
  const auto &r = *h->primary;
  *format = h->format;
  *base = r.base;
  *rows = r.rows;
  *cols = r.cols;
  *block = r.block;
  *row_start = r.row_start;
  *row_end = r.row_end;
  *col_index = r.col_index;
  *values = r.values;
  return ORB_SPARSE_OK;
}

template <class T, class I>
orb_sparse_status exported_coo(orb_sparse_matrix A, int *base, I *rows, I *cols, I *nnz, I **row_index,
                               I **col_index, T **values) {
  if (!A || !base || !rows || !cols || !nnz || !row_index || !col_index || !values) return ORB_SPARSE_NULL_POINTER;
  if (!made_as<T, I>(A)) return ORB_SPARSE_BAD_VALUE;
  const SparseHandle<T, I> *h = sparse::handle_cast<T, I>(A);
  if (h->format != sparse::kFormatCoo) return ORB_SPARSE_UNSUPPORTED;
  const auto &r = *h->primary;
  *base = r.base;
  *rows = r.rows;
  *cols = r.cols;
  *nnz = r.entries;
  *row_index = r.coo_row;
  *col_index = r.col_index;
  *values = r.values;
  return ORB_SPARSE_OK;
}

template <class T, class I>
orb_sparse_status many(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr d, int layout, const T *x,
                       int64_t columns, int64_t ldx, T beta, T *y, int64_t ldy) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  if (!made_as<T, I>(A)) return ORB_SPARSE_BAD_VALUE;
  constexpr int64_t kMost = sizeof(I) == 8 ? INT64_MAX : INT32_MAX;
  if (columns > kMost || ldx > kMost || ldy > kMost) return ORB_SPARSE_BAD_VALUE;
  int32_t status = 0;
  run_reported(
      sizeof(I) == 8 ? kIlp64 : kLp64,
      [&] {
        status = SparseEntries<T, I>::mm(op, alpha, A, d, layout, x, static_cast<I>(columns), static_cast<I>(ldx),
                                         beta, y, static_cast<I>(ldy));
      },
      [&](CallText &text) {
        const auto &r = *sparse::handle_cast<T, I>(A)->primary;
        const char name[] = {'o', 'r', 'b', '_', 's', 'p', 'a', 'r', 's', 'e', '_',
                             SparseEntries<T, I>::letter, '_', 'm', 'm', '\0'};
        text.routine(name).integer(int64_t{op}).integer(int64_t{r.rows}).integer(int64_t{r.cols});
        text.integer(int64_t{r.entries}).integer(columns).integer(int64_t{d.type});
      });
  return static_cast<orb_sparse_status>(status);
}

template <class T, class I>
orb_sparse_status product(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr d, const T *x, T beta, T *y) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  if (!made_as<T, I>(A)) return ORB_SPARSE_BAD_VALUE;
  int32_t status = 0;
  run_reported(
      sizeof(I) == 8 ? kIlp64 : kLp64, [&] { status = SparseEntries<T, I>::mv(op, alpha, A, d, x, beta, y); },
      [&](CallText &text) {
        const auto &r = *sparse::handle_cast<T, I>(A)->primary;
        const char name[] = {'o', 'r', 'b', '_', 's', 'p', 'a', 'r', 's', 'e', '_',
                             SparseEntries<T, I>::letter, '_', 'm', 'v', '\0'};
        text.routine(name).integer(int64_t{op}).integer(int64_t{r.rows}).integer(int64_t{r.cols});
        text.integer(int64_t{r.entries}).integer(int64_t{d.type});
      });
  return static_cast<orb_sparse_status>(status);
}

template <class T, class I>
orb_sparse_status syrkd(orb_sparse_matrix A, T alpha, T beta, T *c, int layout, int64_t ldc) {
  if (!A || !c) return ORB_SPARSE_NULL_POINTER;
  if (!made_as<T, I>(A)) return ORB_SPARSE_BAD_VALUE;
  const SparseHandle<T, I> *h = sparse::handle_cast<T, I>(A);
  if (h->format != sparse::kFormatCsr) return ORB_SPARSE_UNSUPPORTED;
  const auto &r = *h->primary;
  if ((layout != ORB_SPARSE_BLOCK_ROW_MAJOR && layout != ORB_SPARSE_BLOCK_COL_MAJOR) || ldc < 1 || ldc < r.cols)
    return ORB_SPARSE_BAD_VALUE;
  return static_cast<orb_sparse_status>(SparseEntries<T, I>::syrkd(r.rows, r.cols, alpha, r.values, r.col_index,
                                                                   r.row_start, r.row_end, static_cast<I>(r.base),
                                                                   beta, c, static_cast<I>(ldc), layout));
}

//! Analyses one announced product of a handle of this type and width.
template <class T, class I>
int32_t analyse(SparseHandle<T, I> *h, SparseHint<T, I> *node) {
  using E = SparseEntries<T, I>;
  const auto A = reinterpret_cast<orb_sparse_matrix>(h);
  if (node->kind != sparse::kHintProduct)
    return h->format != sparse::kFormatCsr         ? ORB_SPARSE_UNSUPPORTED
           : node->kind == sparse::kHintSolve ? E::optimize_trsv(A, node)
                                              : E::optimize_symgs(A, node);
  if (h->format != sparse::kFormatCsr && h->format != sparse::kFormatBsr) return ORB_SPARSE_UNSUPPORTED;
  // Only general matrices (and symmetric ones, through their general copy)
  // have an analysed product; the transpose is built for the first.
  const bool general = node->type == ORB_SPARSE_GENERAL;
  if (!general && node->type != ORB_SPARSE_SYMMETRIC) return ORB_SPARSE_UNSUPPORTED;
  if (general && node->operation != ORB_SPARSE_OP_N)
    if (const int32_t s = E::create_transposed(A)) return s;
  return h->format == sparse::kFormatCsr ? E::optimize_csr(A, node) : E::optimize_bsr(A, node);
}

template <class T, class I>
orb_sparse_status optimize(orb_sparse_matrix A) {
  SparseHandle<T, I> *h = sparse::handle_cast<T, I>(A);
  // Each announced product moves to the analysed list when its analysis
  // succeeds, is dropped when nothing can be done for it, and stays announced
  // when memory ran short, so that a later call can try again.
  SparseHint<T, I> **link = &h->pending_hints;
  while (SparseHint<T, I> *node = *link) {
    const int32_t s = analyse(h, node);
    if (s == ORB_SPARSE_NO_MEMORY || s == ORB_SPARSE_INTERNAL || s == ORB_SPARSE_NULL_POINTER)
      return static_cast<orb_sparse_status>(s);
    *link = node->next;
    const bool ready = node->kind == sparse::kHintSymgs ? node->symgs != nullptr : node->procedure != nullptr;
    if (s == ORB_SPARSE_OK && ready) {
      SparseHint<T, I> **tail = node->kind == sparse::kHintProduct ? &h->mv_hints
                                : node->kind == sparse::kHintSolve ? &h->solve_hints
                                                                   : &h->symgs_hints;
      while (*tail) tail = &(*tail)->next;
      node->next = nullptr;
      *tail = node;
    } else {
      orb_serv_free(node);
    }
  }
  return ORB_SPARSE_OK;
}

template <class T, class I>
orb_sparse_status announce(SparseHandle<T, I> *h, int op, orb_sparse_descr d, int calls, int32_t kind) {
  for (SparseHint<T, I> *list : {h->pending_hints, h->mv_hints, h->solve_hints, h->symgs_hints})
    for (SparseHint<T, I> *n = list; n; n = n->next)
      if (n->kind == kind && n->operation == op && n->type == d.type && n->fill == d.fill && n->diag == d.diag)
        return ORB_SPARSE_OK;
  auto *node = zeroed<SparseHint<T, I>>();
  if (!node) return ORB_SPARSE_NO_MEMORY;
  *node = {op, d.type, d.fill, d.diag, 0, nullptr, nullptr, calls, kind, nullptr, nullptr};
  SparseHint<T, I> **tail = &h->pending_hints;
  while (*tail) tail = &(*tail)->next;
  *tail = node;
  return ORB_SPARSE_OK;
}

//! Runs fn<T, I>() for the handle's own type and width.
template <template <class, class> class Fn, class... Args>
orb_sparse_status for_handle(orb_sparse_matrix A, Args... args) {
  const bool wide = header(A)->index_bytes == 8;
  switch (header(A)->value_kind) {
    case 0: return wide ? Fn<float, int64_t>::run(A, args...) : Fn<float, int32_t>::run(A, args...);
    case 1: return wide ? Fn<double, int64_t>::run(A, args...) : Fn<double, int32_t>::run(A, args...);
    case 2: return wide ? Fn<ORB_Complex8, int64_t>::run(A, args...) : Fn<ORB_Complex8, int32_t>::run(A, args...);
    default: return wide ? Fn<ORB_Complex16, int64_t>::run(A, args...) : Fn<ORB_Complex16, int32_t>::run(A, args...);
  }
}
template <class T, class I>
struct Optimize {
  static orb_sparse_status run(orb_sparse_matrix A) { return optimize<T, I>(A); }
};
template <class T, class I>
struct Order {
  static orb_sparse_status run(orb_sparse_matrix A) {
    return static_cast<orb_sparse_status>(SparseEntries<T, I>::order(A));
  }
};
template <class T, class I>
struct Copy {
  static orb_sparse_status run(orb_sparse_matrix A, orb_sparse_matrix *B) {
    return static_cast<orb_sparse_status>(SparseEntries<T, I>::copy(A, B));
  }
};
template <class T, class I>
struct Convert {
  static orb_sparse_status run(orb_sparse_matrix A, int op, int format, int64_t block, int layout,
                               orb_sparse_matrix *B) {
    return static_cast<orb_sparse_status>(
        SparseEntries<T, I>::convert(A, op, format, static_cast<I>(block), layout, B));
  }
};
template <class T, class I>
struct Announce {
  static orb_sparse_status run(orb_sparse_matrix A, int op, orb_sparse_descr d, int calls, int32_t kind) {
    return announce(sparse::handle_cast<T, I>(A), op, d, calls, kind);
  }
};

}  // namespace
}  // namespace orb::iface

using namespace orb::iface;

extern "C" orb_sparse_status orb_sparse_destroy(orb_sparse_matrix A) {
  orb_sparse_destroy_matrix(A);
  return ORB_SPARSE_OK;
}

extern "C" orb_sparse_status orb_sparse_set_mv_hint(orb_sparse_matrix A, int op, orb_sparse_descr d, int calls) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  if (orb::sparse::descriptor_status(op, d) != 0 || calls < 1) return ORB_SPARSE_BAD_VALUE;
  return for_handle<Announce>(A, op, d, calls, orb::sparse::kHintProduct);
}

extern "C" orb_sparse_status orb_sparse_set_sv_hint(orb_sparse_matrix A, int op, orb_sparse_descr d, int calls) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  if (orb::sparse::descriptor_status(op, d) != 0 || calls < 1) return ORB_SPARSE_BAD_VALUE;
  return for_handle<Announce>(A, op, d, calls, orb::sparse::kHintSolve);
}

extern "C" orb_sparse_status orb_sparse_set_symgs_hint(orb_sparse_matrix A, int op, orb_sparse_descr d, int calls) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  if (orb::sparse::descriptor_status(op, d) != 0 || calls < 1) return ORB_SPARSE_BAD_VALUE;
  return for_handle<Announce>(A, op, d, calls, orb::sparse::kHintSymgs);
}

extern "C" orb_sparse_status orb_sparse_set_memory_hint(orb_sparse_matrix A, int policy) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  if (policy != ORB_SPARSE_MEMORY_NONE && policy != ORB_SPARSE_MEMORY_COPIES) return ORB_SPARSE_BAD_VALUE;
  orb::sparse::handle_cast<double, int32_t>(A)->memory_policy = policy;
  return ORB_SPARSE_OK;
}

extern "C" orb_sparse_status orb_sparse_order(orb_sparse_matrix A) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  return for_handle<Order>(A);
}

extern "C" orb_sparse_status orb_sparse_copy(orb_sparse_matrix A, orb_sparse_matrix *B) {
  if (!A || !B) return ORB_SPARSE_NULL_POINTER;
  return for_handle<Copy>(A, B);
}

extern "C" orb_sparse_status orb_sparse_convert_csr(orb_sparse_matrix A, int op, orb_sparse_matrix *B) {
  if (!A || !B) return ORB_SPARSE_NULL_POINTER;
  return for_handle<Convert>(A, op, int{orb::sparse::kFormatCsr}, int64_t{1}, int{ORB_SPARSE_BLOCK_ROW_MAJOR}, B);
}

extern "C" orb_sparse_status orb_sparse_convert_bsr(orb_sparse_matrix A, int64_t block, int layout, int op,
                                                   orb_sparse_matrix *B) {
  if (!A || !B) return ORB_SPARSE_NULL_POINTER;
  if (block < 1 || block > (int64_t{1} << 15)) return ORB_SPARSE_BAD_VALUE;
  return for_handle<Convert>(A, op, int{orb::sparse::kFormatBsr}, block, layout, B);
}

extern "C" orb_sparse_status orb_sparse_optimize(orb_sparse_matrix A) {
  if (!A) return ORB_SPARSE_NULL_POINTER;
  return for_handle<Optimize>(A);
}

#define ORB_SPARSE_IFACE_ENTRIES(p, T, I, w, W)                                                                    \
  extern "C" orb_sparse_status orb_sparse_##p##_create_csr##W(orb_sparse_matrix *A, int base, I rows, I cols,      \
                                                             I *rs, I *re, I *ci, T *v) {                          \
    return static_cast<orb_sparse_status>(orb_sparse_##p##_create_csr_##w(A, base, rows, cols, rs, re, ci, v));    \
  }                                                                                                                \
  extern "C" orb_sparse_status orb_sparse_##p##_create_csr3##W(orb_sparse_matrix *A, int base, I rows, I cols,     \
                                                              I *ptr, I *ci, T *v) {                               \
    return static_cast<orb_sparse_status>(                                                                         \
        orb_sparse_##p##_create_csr_##w(A, base, rows, cols, ptr, ptr ? ptr + 1 : nullptr, ci, v));                \
  }                                                                                                                \
  extern "C" orb_sparse_status orb_sparse_##p##_create_csc##W(orb_sparse_matrix *A, int base, I rows, I cols,      \
                                                             I *cs, I *ce, I *ri, T *v) {                          \
    return static_cast<orb_sparse_status>(orb_sparse_##p##_create_csc_##w(A, base, rows, cols, cs, ce, ri, v));    \
  }                                                                                                                \
  extern "C" orb_sparse_status orb_sparse_##p##_create_coo##W(orb_sparse_matrix *A, int base, I rows, I cols,      \
                                                             I nnz, I *ri, I *ci, T *v) {                          \
    return static_cast<orb_sparse_status>(orb_sparse_##p##_create_coo_##w(A, base, rows, cols, nnz, ri, ci, v));   \
  }                                                                                                                \
  extern "C" orb_sparse_status orb_sparse_##p##_create_bsr##W(orb_sparse_matrix *A, int base, int layout, I rows,  \
                                                             I cols, I block, I *rs, I *re, I *ci, T *v) {         \
    return static_cast<orb_sparse_status>(                                                                         \
        orb_sparse_##p##_create_bsr_##w(A, base, layout, rows, cols, block, rs, re, ci, v));                       \
  }                                                                                                                \
  extern "C" orb_sparse_status orb_sparse_##p##_export##W(orb_sparse_matrix A, int *format, int *base, I *rows,    \
                                                         I *cols, I *block, I **rs, I **re, I **ci, T **v) {       \
    return exported<T, I>(A, format, base, rows, cols, block, rs, re, ci, v);                                      \
  }                                                                                                                \
  extern "C" orb_sparse_status orb_sparse_##p##_export_coo##W(orb_sparse_matrix A, int *base, I *rows, I *cols,    \
                                                             I *nnz, I **ri, I **ci, T **v) {                      \
    return exported_coo<T, I>(A, base, rows, cols, nnz, ri, ci, v);                                                \
  }

ORB_SPARSE_IFACE_ENTRIES(s, float, int32_t, i4, )
ORB_SPARSE_IFACE_ENTRIES(d, double, int32_t, i4, )
ORB_SPARSE_IFACE_ENTRIES(c, ORB_Complex8, int32_t, i4, )
ORB_SPARSE_IFACE_ENTRIES(z, ORB_Complex16, int32_t, i4, )
ORB_SPARSE_IFACE_ENTRIES(s, float, int64_t, i8, _64)
ORB_SPARSE_IFACE_ENTRIES(d, double, int64_t, i8, _64)
ORB_SPARSE_IFACE_ENTRIES(c, ORB_Complex8, int64_t, i8, _64)
ORB_SPARSE_IFACE_ENTRIES(z, ORB_Complex16, int64_t, i8, _64)

//! One product name per value type; the handle's width picks the entry.
#define ORB_SPARSE_IFACE_MV(p, P, T)                                                                          \
  extern "C" orb_sparse_status orb_sparse_##p##_mv(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr d,  \
                                                   const T *x, T beta, T *y) {                                \
    if (A && header(A)->index_bytes == 8) return product<T, int64_t>(op, alpha, A, d, x, beta, y);           \
    return product<T, int32_t>(op, alpha, A, d, x, beta, y);                                                  \
  }
ORB_FOR_EACH_PRECISION(ORB_SPARSE_IFACE_MV)

#define ORB_SPARSE_IFACE_MM(p, P, T)                                                                            \
  extern "C" orb_sparse_status orb_sparse_##p##_mm(int op, T alpha, orb_sparse_matrix A, orb_sparse_descr d,      \
                                                   int layout, const T *x, int64_t columns, int64_t ldx, T beta, \
                                                   T *y, int64_t ldy) {                                          \
    if (A && header(A)->index_bytes == 8)                                                                        \
      return many<T, int64_t>(op, alpha, A, d, layout, x, columns, ldx, beta, y, ldy);                           \
    return many<T, int32_t>(op, alpha, A, d, layout, x, columns, ldx, beta, y, ldy);                             \
  }
ORB_FOR_EACH_PRECISION(ORB_SPARSE_IFACE_MM)

#define ORB_SPARSE_IFACE_SYRKD(p, P, T)                                                                          \
  extern "C" orb_sparse_status orb_sparse_##p##_syrkd(orb_sparse_matrix A, T alpha, T beta, T *C, int layout,   \
                                                      int64_t ldc) {                                             \
    if (A && header(A)->index_bytes == 8) return syrkd<T, int64_t>(A, alpha, beta, C, layout, ldc);              \
    return syrkd<T, int32_t>(A, alpha, beta, C, layout, ldc);                                                    \
  }
ORB_FOR_EACH_PRECISION(ORB_SPARSE_IFACE_SYRKD)
