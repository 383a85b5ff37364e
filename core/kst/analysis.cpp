// Analysis of the direct solver: from the caller's CSR pattern to the layout
// of the supernodal factor (kst.hpp).  In order:
//   1. the adjacency of A + A^T (the triangle the options name, duplicates
//      and the diagonal dropped), checking every index;
//   2. the ordering: nested dissection by graph partitioning, the natural
//      order, or the caller's permutation (checked);
//   3. the elimination tree of the permuted matrix (ancestors with path
//      compression), then a postorder of it, so that every subtree's columns
//      are consecutive, composed into the ordering;
//   4. the column counts of L, by marking each row's subtree of the tree;
//   5. fundamental supernodes (a column joins the one before it when it is
//      that column's only child and its count is one less), then relaxed
//      amalgamation: a chain of supernodes, each the last child of the next,
//      stays one supernode while the zeros it stores stay few (keep_merged);
//   6. the row structure of each supernode: its own columns, the rows below
//      them in A, and the rows of its children beyond its last column;
//   7. where each stored entry of A goes in the values.
// Every array is taken from orb_serv_malloc; a refusal answers out of memory
// and keeps nothing.
#include "kst/kst.hpp"

#include <metis.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace orb::kst {

namespace {

//! The adjacency of A + A^T, zero-based, each list sorted and without repeats.
struct Graph {
  Owned<int64_t> start;  //!< n + 1
  Owned<int64_t> adj;
};

//! Whether entry (i, j) of the caller's matrix is read.
inline bool reads(int32_t triangle, int64_t i, int64_t j) {
  return triangle == ORB_KESTREL_UPPER ? j >= i : j <= i;
}

template <class I>
int32_t check_csr(int64_t n, const I *row_ptr, const I *col_index, int64_t base, int64_t *entries) {
  if (static_cast<int64_t>(row_ptr[0]) != base) return kBadInput;
  for (int64_t i = 0; i < n; ++i)
    if (row_ptr[i + 1] < row_ptr[i]) return kBadInput;
  *entries = static_cast<int64_t>(row_ptr[n]) - base;
  if (*entries > 0 && !col_index) return kBadInput;
  for (int64_t k = 0; k < *entries; ++k) {
    const int64_t j = static_cast<int64_t>(col_index[k]) - base;
    if (j < 0 || j >= n) return kBadInput;
  }
  return kSuccess;
}

template <class I>
int32_t build_graph(int64_t n, const I *row_ptr, const I *col_index, int64_t base, int32_t triangle, Graph &g,
                    int64_t *distinct) {
  if (!g.start.fill(n + 1, 0)) return kOutOfMemory;
  int64_t *start = g.start.get();
  for (int64_t i = 0; i < n; ++i)
    for (int64_t k = row_ptr[i] - base; k < row_ptr[i + 1] - base; ++k) {
      const int64_t j = col_index[k] - base;
      if (j == i || !reads(triangle, i, j)) continue;
      ++start[i + 1];
      ++start[j + 1];
    }
  for (int64_t i = 0; i < n; ++i) start[i + 1] += start[i];
  if (!g.adj.allocate(start[n])) return kOutOfMemory;
  Owned<int64_t> next(n);
  if (!next) return kOutOfMemory;
  std::copy(start, start + n, next.get());
  for (int64_t i = 0; i < n; ++i)
    for (int64_t k = row_ptr[i] - base; k < row_ptr[i + 1] - base; ++k) {
      const int64_t j = col_index[k] - base;
      if (j == i || !reads(triangle, i, j)) continue;
      g.adj[next[i]++] = j;
      g.adj[next[j]++] = i;
    }
  // Sort each list and squeeze out repeats, moving the lists down.
  int64_t out = 0, begin = 0;
  for (int64_t i = 0; i < n; ++i) {
    const int64_t end = start[i + 1];
    std::sort(g.adj.get() + begin, g.adj.get() + end);
    const int64_t first = out;
    for (int64_t k = begin; k < end; ++k)
      if (k == begin || g.adj[k] != g.adj[k - 1]) g.adj[out++] = g.adj[k];
    start[i] = first;
    begin = end;
  }
  start[n] = out;
  *distinct = out / 2;
  return kSuccess;
}

//! perm: nested dissection of the graph, through the partitioner's 32-bit interface.
int32_t nested_dissection(int64_t n, const Graph &g, int64_t *perm) {
  const int64_t edges = g.start[n];
  if (edges == 0) {  // no edges: every order is as good
    for (int64_t k = 0; k < n; ++k) perm[k] = k;
    return kSuccess;
  }
  if (n > std::numeric_limits<idx_t>::max() || edges > std::numeric_limits<idx_t>::max()) return kBadInput;
  Owned<idx_t> xadj(n + 1), adjncy(edges), p(n), ip(n);
  if (!xadj || !adjncy || !p || !ip) return kOutOfMemory;
  for (int64_t i = 0; i <= n; ++i) xadj[i] = static_cast<idx_t>(g.start[i]);
  for (int64_t k = 0; k < edges; ++k) adjncy[k] = static_cast<idx_t>(g.adj[k]);
  idx_t options[METIS_NOPTIONS];
  METIS_SetDefaultOptions(options);
  options[METIS_OPTION_NUMBERING] = 0;
  idx_t nv = static_cast<idx_t>(n);
  const int r = METIS_NodeND(&nv, xadj.get(), adjncy.get(), nullptr, options, p.get(), ip.get());
  if (r == METIS_ERROR_MEMORY) return kOutOfMemory;
  if (r != METIS_OK) return kBadInput;
  for (int64_t k = 0; k < n; ++k) perm[k] = p[k];
  return kSuccess;
}

int32_t order(int64_t n, const Graph &g, const orb_kestrel_options &o, int64_t *perm) {
  switch (o.ordering) {
    case ORB_KESTREL_NESTED_DISSECTION:
      return nested_dissection(n, g, perm);
    case ORB_KESTREL_NATURAL:
      for (int64_t k = 0; k < n; ++k) perm[k] = k;
      return kSuccess;
    case ORB_KESTREL_USER_ORDER: {
      if (!o.permutation) return kBadInput;
      Owned<char> seen;
      if (!seen.fill(n, 0)) return kOutOfMemory;
      for (int64_t k = 0; k < n; ++k) {
        const int64_t v = o.permutation[k];
        if (v < 0 || v >= n || seen[v]) return kBadInput;
        seen[v] = 1;
        perm[k] = v;
      }
      return kSuccess;
    }
    default:
      return kBadInput;
  }
}

//! The elimination tree of A(perm, perm): parent[k] or -1 at a root.
void elimination_tree(int64_t n, const Graph &g, const int64_t *perm, const int64_t *inverse, int64_t *parent,
                      int64_t *ancestor) {
  for (int64_t k = 0; k < n; ++k) {
    parent[k] = -1;
    ancestor[k] = -1;
    const int64_t old = perm[k];
    for (int64_t e = g.start[old]; e < g.start[old + 1]; ++e) {
      int64_t r = inverse[g.adj[e]];
      if (r >= k) continue;
      while (ancestor[r] != -1 && ancestor[r] != k) {
        const int64_t t = ancestor[r];
        ancestor[r] = k;
        r = t;
      }
      if (ancestor[r] == -1) {
        ancestor[r] = k;
        parent[r] = k;
      }
    }
  }
}

//! post[k]: the node visited k-th by a depth-first postorder of the forest,
//! children in increasing order.
void postorder(int64_t n, const int64_t *parent, int64_t *post, int64_t *head, int64_t *next, int64_t *stack) {
  for (int64_t k = 0; k < n; ++k) head[k] = -1;
  for (int64_t k = n - 1; k >= 0; --k)
    if (parent[k] != -1) {
      next[k] = head[parent[k]];
      head[parent[k]] = k;
    }
  int64_t out = 0;
  for (int64_t root = 0; root < n; ++root) {
    if (parent[root] != -1) continue;
    int64_t top = 0;
    stack[top] = root;
    while (top >= 0) {
      const int64_t v = stack[top];
      const int64_t child = head[v];
      if (child == -1) {
        post[out++] = v;
        --top;
      } else {
        head[v] = next[child];
        stack[++top] = child;
      }
    }
  }
}

}  // namespace

template <class I>
int32_t analyse(int64_t n, const I *row_ptr, const I *col_index, const orb_kestrel_options &o, Symbolic &s) {
  const int64_t base = o.index_base;
  if (n < 0 || !row_ptr || (base != 0 && base != 1)) return kBadInput;
  if (o.triangle < ORB_KESTREL_UPPER || o.triangle > ORB_KESTREL_FULL) return kBadInput;
  if (o.matrix_type != ORB_KESTREL_POSITIVE_DEFINITE) return kBadInput;
  int64_t entries = 0;
  if (int32_t st = check_csr(n, row_ptr, col_index, base, &entries)) return st;
  Graph g;
  int64_t distinct = 0;
  if (int32_t st = build_graph(n, row_ptr, col_index, base, o.triangle, g, &distinct)) return st;

  Owned<int64_t> perm(n), inverse(n), parent(n), work(n), post(n), next(n), stack(n);
  if (!perm || !inverse || !parent || !work || !post || !next || !stack) return kOutOfMemory;
  if (int32_t st = order(n, g, o, perm.get())) return st;
  for (int64_t k = 0; k < n; ++k) inverse[perm[k]] = k;
  elimination_tree(n, g, perm.get(), inverse.get(), parent.get(), work.get());
  postorder(n, parent.get(), post.get(), work.get(), next.get(), stack.get());
  // Compose the postorder into the ordering and renumber the tree.
  for (int64_t k = 0; k < n; ++k) next[k] = perm[post[k]];
  for (int64_t k = 0; k < n; ++k) work[post[k]] = k;  // old position -> new
  for (int64_t k = 0; k < n; ++k) stack[k] = parent[post[k]] == -1 ? -1 : work[parent[post[k]]];
  std::copy(next.get(), next.get() + n, perm.get());
  std::copy(stack.get(), stack.get() + n, parent.get());
  for (int64_t k = 0; k < n; ++k) inverse[perm[k]] = k;

  // Column counts (diagonal included): row k of L holds the columns of the
  // subtree that its entries' paths to k sweep.
  Owned<int64_t> count(n), children(n);
  if (!count.fill(n, 0) || !children.fill(n, 0)) return kOutOfMemory;
  int64_t *mark = work.get();
  for (int64_t k = 0; k < n; ++k) mark[k] = -1;
  for (int64_t k = 0; k < n; ++k) {
    mark[k] = k;
    ++count[k];
    const int64_t old = perm[k];
    for (int64_t e = g.start[old]; e < g.start[old + 1]; ++e)
      for (int64_t j = inverse[g.adj[e]]; j < k && mark[j] != k; j = parent[j]) {
        mark[j] = k;
        ++count[j];
      }
    if (parent[k] != -1) ++children[parent[k]];
  }

  // Fundamental supernodes, then relaxed chains of them; first[] collects the
  // first column of each final supernode.
  int64_t *first = next.get();
  int64_t ns = 0;
  int64_t group_first = 0, group_true = 0;
  for (int64_t j = 0; j < n;) {
    int64_t end = j + 1;  // one past the fundamental supernode starting at j
    while (end < n && parent[end - 1] == end && children[end] == 1 && count[end - 1] == count[end] + 1) ++end;
    int64_t true_entries = 0;
    for (int64_t c = j; c < end; ++c) true_entries += count[c];
    if (j == 0) {
      group_first = 0;
      group_true = true_entries;
    } else {
      // The group ending at column j - 1 joins this supernode when this one is its parent.
      bool joined = false;
      if (parent[j - 1] == j) {
        const int64_t width = end - group_first;
        const int64_t rows = (j - group_first) + count[j];
        const int64_t stored = width * rows - width * (width - 1) / 2;
        joined = keep_merged(width, stored, stored - group_true - true_entries);
      }
      if (joined) {
        group_true += true_entries;
      } else {
        first[ns++] = group_first;
        group_first = j;
        group_true = true_entries;
      }
    }
    j = end;
  }
  if (n > 0) first[ns++] = group_first;

  s.n = n;
  s.supernodes = ns;
  if (!s.super.allocate(ns + 1) || !s.row_ptr.allocate(ns + 1) || !s.value_ptr.allocate(ns + 1) ||
      !s.column_of.allocate(n))
    return kOutOfMemory;
  int64_t rows_total = 0, values_total = 0, widest = 0, largest_update = 0;
  double flops = 0, factor_entries = 0;
  for (int64_t t = 0; t < ns; ++t) {
    const int64_t lo = first[t], hi = t + 1 < ns ? first[t + 1] : n;
    const int64_t w = hi - lo, r = w + count[hi - 1] - 1;
    s.super[t] = lo + 1;
    s.row_ptr[t] = rows_total + 1;
    s.value_ptr[t] = values_total + 1;
    for (int64_t c = lo; c < hi; ++c) {
      s.column_of[c] = t;
      const double below = static_cast<double>(r - (c - lo));  // entries of this column, diagonal included
      flops += below * below;
      factor_entries += below;
    }
    rows_total += r;
    values_total += r * w;
    widest = std::max(widest, w);
    largest_update = std::max(largest_update, r - w);
  }
  s.super[ns] = n + 1;
  s.row_ptr[ns] = rows_total + 1;
  s.value_ptr[ns] = values_total + 1;

  // Row structures, children before parents (the postorder numbers them so):
  // a supernode's own columns, the rows below them in A, and its children's
  // rows beyond its last column.
  if (!s.rows.allocate(rows_total) || !s.destination.allocate(entries)) return kOutOfMemory;
  int64_t *head = count.get(), *sibling = children.get();  // the counts are spent
  for (int64_t t = 0; t < ns; ++t) head[t] = -1;
  for (int64_t t = ns - 1; t >= 0; --t) {
    const int64_t up = parent[s.super[t + 1] - 2];
    if (up == -1) continue;
    const int64_t p = s.column_of[up];
    sibling[t] = head[p];
    head[p] = t;
  }
  for (int64_t k = 0; k < n; ++k) mark[k] = -1;
  for (int64_t t = 0; t < ns; ++t) {
    const int64_t lo = s.super[t] - 1, hi = s.super[t + 1] - 1;
    int64_t *list = s.rows.get() + (s.row_ptr[t] - 1);
    const int64_t r = s.row_ptr[t + 1] - s.row_ptr[t];
    int64_t len = 0;
    for (int64_t c = lo; c < hi; ++c) list[len++] = c;
    auto add = [&](int64_t i) {
      if (i >= hi && mark[i] != t) {
        mark[i] = t;
        list[len++] = i;
      }
    };
    for (int64_t c = lo; c < hi; ++c) {
      const int64_t old = perm[c];
      for (int64_t e = g.start[old]; e < g.start[old + 1]; ++e) add(inverse[g.adj[e]]);
    }
    for (int64_t c = head[t]; c != -1; c = sibling[c])
      for (int64_t e = s.row_ptr[c] - 1; e < s.row_ptr[c + 1] - 1; ++e) add(s.rows[e]);
    if (len != r) return kBadInput;  // cannot happen: the counts and the structure agree
    std::sort(list + (hi - lo), list + len);
  }

  // Where each entry read lands: (max, min) of its permuted row and column.
  for (int64_t i = 0; i < n; ++i)
    for (int64_t k = row_ptr[i] - base; k < row_ptr[i + 1] - base; ++k) {
      const int64_t j = col_index[k] - base;
      if (!reads(o.triangle, i, j)) {
        s.destination[k] = -1;
        continue;
      }
      const int64_t pi = inverse[i], pj = inverse[j];
      const int64_t row = std::max(pi, pj), col = std::min(pi, pj);
      const int64_t t = s.column_of[col];
      const int64_t *list = s.rows.get() + (s.row_ptr[t] - 1);
      const int64_t r = s.row_ptr[t + 1] - s.row_ptr[t];
      const int64_t at = std::lower_bound(list, list + r, row) - list;
      const int64_t position = (s.value_ptr[t] - 1) + (col - (s.super[t] - 1)) * r + at;
      s.destination[k] = 2 * position + (pi < pj ? 1 : 0);
    }
  for (int64_t e = 0; e < rows_total; ++e) ++s.rows[e];  // one-based from here on

  s.perm = std::move(perm);
  s.input_entries = entries;
  s.largest_update = largest_update;
  s.stats.n = n;
  s.stats.entries = distinct + n;
  s.stats.factor_entries = static_cast<int64_t>(factor_entries);
  s.stats.supernodes = ns;
  s.stats.widest_supernode = widest;
  s.stats.factor_flops = flops;
  s.stats.solve_flops = 4 * factor_entries;
  s.stats.failed_row = -1;
  return kSuccess;
}

template int32_t analyse<int32_t>(int64_t, const int32_t *, const int32_t *, const orb_kestrel_options &,
                                  Symbolic &);
template int32_t analyse<int64_t>(int64_t, const int64_t *, const int64_t *, const orb_kestrel_options &,
                                  Symbolic &);

}  // namespace orb::kst
