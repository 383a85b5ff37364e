// The direct sparse solver's state: the symbolic analysis of a pattern (the
// ordering, the supernodes and the layout of the factor) and the factor's
// values, shared by the analysis, the factorization and the solve.
//
// Layout of the factor L (lower, A(p, p) = L L^H), every pointer one-based
// as the solve phases read it:
//   super[s - 1] .. super[s] - 1   the columns of supernode s (s = 1 .. ns);
//   rows[row_ptr[s - 1] - 1 ..]    its rows, ascending: first its own w
//                                  columns (the diagonal block), then the
//                                  r - w rows below it;
//   values[value_ptr[s - 1] - 1 ..] its r x w block, column-major, leading
//                                  dimension r, the diagonal block on top.
// Only the lower triangle of a diagonal block is used; its strict upper
// triangle holds whatever the dense factorization left there.
#pragma once

#include <orb/orb_kestrel.h>
#include <orb/orb_service.h>

#include <cstdint>
#include <cstring>
#include <utility>

namespace orb::kst {

//! count elements of T from orb_serv_malloc (alignment 128), owned; empty
//! when the allocator refuses.
template <class T>
class Owned {
 public:
  Owned() = default;
  explicit Owned(int64_t count) { allocate(count); }
  ~Owned() { release(); }
  Owned(Owned &&o) noexcept : data_(std::exchange(o.data_, nullptr)), count_(std::exchange(o.count_, 0)) {}
  Owned &operator=(Owned &&o) noexcept {
    if (this != &o) {
      release();
      data_ = std::exchange(o.data_, nullptr);
      count_ = std::exchange(o.count_, 0);
    }
    return *this;
  }
  Owned(const Owned &) = delete;
  Owned &operator=(const Owned &) = delete;

  //! False when the allocator refuses (a count of 0 still takes one element).
  bool allocate(int64_t count) {
    release();
    int64_t bytes = 0;
    const int64_t n = count < 1 ? 1 : count;
    if (count < 0 || __builtin_mul_overflow(n, static_cast<int64_t>(sizeof(T)), &bytes)) return false;
    data_ = static_cast<T *>(orb_serv_malloc(bytes, 128));
    count_ = data_ ? count : 0;
    return data_ != nullptr;
  }
  bool fill(int64_t count, const T &v) {
    if (!allocate(count)) return false;
    for (int64_t i = 0; i < count; ++i) data_[i] = v;
    return true;
  }
  void release() {
    if (data_) orb_serv_free(data_);
    data_ = nullptr;
    count_ = 0;
  }
  T *get() const { return data_; }
  //! Gives the block up to the caller, who frees it with orb_serv_free.
  T *take() {
    count_ = 0;
    return std::exchange(data_, nullptr);
  }
  T &operator[](int64_t i) const { return data_[i]; }
  int64_t size() const { return count_; }
  explicit operator bool() const { return data_ != nullptr; }

 private:
  T *data_ = nullptr;
  int64_t count_ = 0;
};

//! The result of the analysis: everything that depends on the pattern only.
struct Symbolic {
  int64_t n = 0;
  int64_t supernodes = 0;
  Owned<int64_t> perm;       //!< perm[k]: the row of A eliminated k-th (zero-based)
  Owned<int64_t> super;      //!< supernodes + 1 first columns, one-based
  Owned<int64_t> row_ptr;    //!< supernodes + 1 positions in rows, one-based
  Owned<int64_t> rows;       //!< row indices of the factor, one-based
  Owned<int64_t> value_ptr;  //!< supernodes + 1 positions in the values, one-based
  Owned<int64_t> column_of;  //!< supernode (zero-based) of each column
  //! Where each entry of the caller's CSR goes in the values: 2 * position
  //! (zero-based) + 1 when it lands mirrored (conjugated), -1 when unread.
  Owned<int64_t> destination;
  int64_t input_entries = 0;  //!< length of the caller's column index array
  int64_t largest_update = 0; //!< the most off-diagonal rows of a supernode
  orb_kestrel_statistics stats{};
};

//! Statuses, as the public header numbers them.
enum Status : int32_t {
  kSuccess = ORB_KESTREL_SUCCESS,
  kBadInput = ORB_KESTREL_BAD_INPUT,
  kOutOfMemory = ORB_KESTREL_OUT_OF_MEMORY,
  kNotPositiveDefinite = ORB_KESTREL_NOT_POSITIVE_DEFINITE,
  kWrongPhase = ORB_KESTREL_WRONG_PHASE,
};

//! Analyses the caller's CSR pattern (index type I) into `out`.
template <class I>
int32_t analyse(int64_t n, const I *row_ptr, const I *col_index, const orb_kestrel_options &options, Symbolic &out);

//! Supernode column relaxation: whether a chain of `width` columns storing
//! `stored` entries, `zeros` of them explicit zeros, stays one supernode.
bool keep_merged(int64_t width, int64_t stored, int64_t zeros);

}  // namespace orb::kst

//! The handle: the analysis, and the factor's values once factored.
struct orb_kestrel_state {
  orb::kst::Symbolic symbolic;
  char value_type = 0;  //!< 's', 'd', 'c' or 'z' once factored
  void *values = nullptr;  //!< orb_serv_malloc'd factor values, value_type's element type
};
