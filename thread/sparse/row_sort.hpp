// In-place sorts of one sparse row by column index, moving the row's value
// elements with their keys (none, one array, two arrays; a value element is a
// scalar for CSR, a dense block of block-size-squared scalars for BSR).
// Equal keys may end in any order.
//
// Rows of fewer than 900001 entries: Hoare's partition around the key at the
// middle of the sub-array (keys equal to the pivot stop both scans and are
// exchanged), the left part sorted by a recursive call, the loop going on
// with the right part; sub-arrays of fewer than 5 entries are finished by
// exchange passes over adjacent pairs until a pass exchanges nothing.
// Examples: 4 keys in reverse order take 3 passes with exchanges and a
// fourth without; 5 equal keys keep their keys, but their values end
// reversed (positions 0 and 4, then 1 and 3 are exchanged).
//
// Longer rows are sorted without recursion, so that a row of millions of
// entries cannot exhaust the stack: an explicit stack of sub-ranges, the
// median of the first, middle and last keys as pivot (those three put in
// order first), sub-ranges longer than 16 entries partitioned further, and
// one insertion pass over the row at the end.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

namespace orb::thr {

//! Rows from this many entries on take the iterative sort.
constexpr int64_t kIterativeRowSort = 900001;

//! Exchanges the value elements of two positions: nothing, one array or two
//! arrays, each element `width` scalars.
template <class V>
struct RowValues {
  V *first = nullptr;
  V *second = nullptr;
  int64_t width = 1;
  void swap(int64_t a, int64_t b) const {
    for (V *array : {first, second})
      if (array)
        for (int64_t e = 0; e < width; ++e) std::swap(array[a * width + e], array[b * width + e]);
  }
};

template <class K, class V>
void exchange(K *key, const RowValues<V> &values, int64_t a, int64_t b) {
  std::swap(key[a], key[b]);
  values.swap(a, b);
}

//! Exchange passes over [lo, hi) until one exchanges nothing.
template <class K, class V>
void exchange_passes(K *key, const RowValues<V> &values, int64_t lo, int64_t hi) {
  for (bool exchanged = true; exchanged;) {
    exchanged = false;
    for (int64_t i = lo; i + 1 < hi; ++i)
      if (key[i] > key[i + 1]) exchange(key, values, i, i + 1), exchanged = true;
  }
}

//! Hoare's partition of [lo, hi) around `pivot`; i and j end crossed.
template <class K, class V>
void partition(K *key, const RowValues<V> &values, int64_t lo, int64_t hi, K pivot, int64_t &i, int64_t &j) {
  i = lo;
  j = hi - 1;
  while (i <= j) {
    while (key[i] < pivot) ++i;
    while (key[j] > pivot) --j;
    if (i <= j) exchange(key, values, i++, j--);
  }
}

//! The recursive sort of n entries from key (values at the same offsets).
template <class K, class V>
void recursive_row_sort(int64_t n, K *key, const RowValues<V> &values) {
  if (n < 1) return;
  int64_t lo = 0;
  while (n - lo >= 5) {
    int64_t i = 0, j = 0;
    partition(key, values, lo, n, key[lo + (n - lo) / 2], i, j);
    if (j > lo) {
      RowValues<V> left = values;
      if (left.first) left.first += lo * values.width;
      if (left.second) left.second += lo * values.width;
      recursive_row_sort(j - lo + 1, key + lo, left);
    }
    lo = i;
    if (lo >= n) return;
  }
  exchange_passes(key, values, lo, n);
}

//! The iterative sort of a long row.
template <class K, class V>
void iterative_row_sort(int64_t n, K *key, const RowValues<V> &values) {
  std::vector<std::pair<int64_t, int64_t>> stack{{0, n}};
  while (!stack.empty()) {
    const auto [lo, hi] = stack.back();
    stack.pop_back();
    if (hi - lo <= 16) continue;
    const int64_t mid = lo + (hi - lo) / 2;
    if (key[mid] < key[lo]) exchange(key, values, mid, lo);
    if (key[hi - 1] < key[lo]) exchange(key, values, hi - 1, lo);
    if (key[hi - 1] < key[mid]) exchange(key, values, hi - 1, mid);
    int64_t i = 0, j = 0;
    partition(key, values, lo, hi, key[mid], i, j);
    // The longer part waits below the shorter one, which keeps the stack
    // logarithmic in the row's length.
    const std::pair<int64_t, int64_t> left{lo, j + 1}, right{i, hi};
    if (j + 1 - lo > hi - i) {
      stack.push_back(left);
      stack.push_back(right);
    } else {
      stack.push_back(right);
      stack.push_back(left);
    }
  }
  for (int64_t i = 1; i < n; ++i)
    for (int64_t k = i; k > 0 && key[k] < key[k - 1]; --k) exchange(key, values, k, k - 1);
}

//! Sorts one row by the path its length takes.
template <class K, class V>
void sort_row(int64_t n, K *key, const RowValues<V> &values) {
  if (n >= kIterativeRowSort)
    iterative_row_sort(n, key, values);
  else
    recursive_row_sort(n, key, values);
}

// The five sorts of a row, by what moves with the keys.
template <class K>
void orb_spb2_quicksort_csr_row_struct(int64_t n, K *columns) {
  sort_row<K, char>(n, columns, {});
}
template <class K, class V>
void orb_spb2_quicksort_csr_row(int64_t n, K *columns, V *values) {
  sort_row(n, columns, RowValues<V>{values, nullptr, 1});
}
template <class K, class V>
void orb_spb2_quicksort_csr_row2(int64_t n, K *columns, V *values, V *second) {
  sort_row(n, columns, RowValues<V>{values, second, 1});
}
template <class K, class V>
void orb_spb2_quicksort_bsr_row(int64_t n, int64_t block_size, K *columns, V *values) {
  sort_row(n, columns, RowValues<V>{values, nullptr, block_size * block_size});
}
//! The second array holds blocks too.
template <class K, class V>
void orb_spb2_quicksort_bsr_row2(int64_t n, int64_t block_size, K *columns, V *values, V *second) {
  sort_row(n, columns, RowValues<V>{values, second, block_size * block_size});
}

}  // namespace orb::thr
