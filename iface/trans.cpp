// User entry points of the matrix copy, transposition and addition routines.
//
// A single matrix is checked and reported by the core's routine itself.  The
// batch forms add what no single-matrix routine can see - the batch and
// group counts, the group sizes and the arrays the batch is described by -
// and report those under their own name before any matrix is touched.
#include <orb/orb_service.h>
#include <orb/orb_trans.h>

#include <cstring>
#include "precision.hpp"

namespace {

//! The routines beneath the entry points of one precision.
template <class T>
struct Trans;

#define ORB_TRANS_ROUTINES(p, P, T)                                                            \
  template <>                                                                               \
  struct Trans<T> : ::orb::Precision<T> {                                                   \
    static constexpr auto omatcopy = &orb_trans_orb_##p##omatcopy;                          \
    static constexpr auto imatcopy = &orb_trans_orb_##p##imatcopy;                          \
    static constexpr auto imatcopy_square_t = &orb_trans_orb_##p##imatcopy_square_t_par;    \
    static constexpr auto omatcopy2 = &orb_trans_orb_##p##omatcopy2_par;                    \
    static constexpr auto omatadd = &orb_trans_orb_##p##omatadd_par;                        \
    static constexpr auto omatcopy_strided = &orb_trans_orb_##p##omatcopy_batch_strided_par; \
    static constexpr auto imatcopy_strided = &orb_trans_orb_##p##imatcopy_batch_strided_par; \
    static constexpr auto omatadd_strided = &orb_trans_orb_##p##omatadd_batch_strided_par;  \
    static constexpr auto omatcopy_group = &orb_trans_orb_##p##omatcopy_batch_par;          \
    static constexpr auto imatcopy_group = &orb_trans_orb_##p##imatcopy_batch_par;          \
  };
ORB_FOR_EACH_PRECISION(ORB_TRANS_ROUTINES)
#undef ORB_TRANS_ROUTINES

// The group batches hand the threading layer 64-bit size arrays.
constexpr int kWidth64 = 0;

//! Reports the first illegal argument of a batch under the entry's name
//! ("orb_" + precision + family) and says whether one was found.
class BatchCheck {
 public:
  BatchCheck(char letter, const char *family) : letter_(letter), family_(family) {}

  void require(bool ok, int position) {
    if (!ok && first_ == 0) first_ = position;
  }

  //! true when every requirement held; otherwise reports and returns false.
  bool passed() const {
    if (first_ == 0) return true;
    char name[48] = "orb_";
    name[4] = letter_;
    std::strncat(name, family_, sizeof name - 6);
    orb_serv_xerbla(name, &first_, static_cast<int>(std::strlen(name)));
    return false;
  }

 private:
  char letter_;
  const char *family_;
  int first_ = 0;
};

//! Whether op() of this character transposes; the routine checks the rest.
bool transposes(char trans) { return trans == 'T' || trans == 't' || trans == 'C' || trans == 'c'; }

template <class T>
void imatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, T *AB, ORB_INT lda, ORB_INT ldb) {
  // A square transposition is offered to the threaded entry first; when it
  // declines, the sequential routine does the work.
  if (transposes(trans) && rows == cols && lda == ldb &&
      Trans<T>::imatcopy_square_t(ordering, trans, rows, cols, alpha, AB, lda, ldb))
    return;
  Trans<T>::imatcopy(ordering, trans, rows, cols, alpha, AB, lda, ldb);
}

//! Positions: 1 ordering, 2 trans, 3 rows, 4 cols, 5 alpha, 6 A, 7 lda,
//! 8 stridea, 9 B, 10 ldb, 11 strideb, 12 batch_size.
template <class T>
void omatcopy_batch_strided(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, const T *A, ORB_INT lda,
                            ORB_INT stridea, T *B, ORB_INT ldb, ORB_INT strideb, ORB_INT batch_size) {
  BatchCheck check(Trans<T>::lower, "omatcopy_batch_strided");
  check.require(batch_size >= 0, 12);
  if (check.passed())
    Trans<T>::omatcopy_strided(ordering, trans, rows, cols, alpha, A, lda, stridea, B, ldb, strideb, batch_size);
}

//! Positions: 1 ordering, 2 trans, 3 rows, 4 cols, 5 alpha, 6 AB, 7 lda,
//! 8 ldb, 9 stride, 10 batch_size.
template <class T>
void imatcopy_batch_strided(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, T *AB, ORB_INT lda,
                            ORB_INT ldb, ORB_INT stride, ORB_INT batch_size) {
  BatchCheck check(Trans<T>::lower, "imatcopy_batch_strided");
  check.require(batch_size >= 0, 10);
  if (check.passed()) Trans<T>::imatcopy_strided(ordering, trans, rows, cols, alpha, AB, lda, ldb, stride, batch_size);
}

//! Positions: 1 ordering, 2 transa, 3 transb, 4 rows, 5 cols, 6 alpha, 7 A,
//! 8 lda, 9 stridea, 10 beta, 11 B, 12 ldb, 13 strideb, 14 C, 15 ldc,
//! 16 stridec, 17 batch_size.
template <class T>
void omatadd_batch_strided(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols, T alpha, const T *A,
                           ORB_INT lda, ORB_INT stridea, T beta, const T *B, ORB_INT ldb, ORB_INT strideb, T *C,
                           ORB_INT ldc, ORB_INT stridec, ORB_INT batch_size) {
  BatchCheck check(Trans<T>::lower, "omatadd_batch_strided");
  check.require(batch_size >= 0, 17);
  if (check.passed())
    Trans<T>::omatadd_strided(ordering, transa, transb, rows, cols, A, lda, stridea, B, ldb, strideb, C, ldc,
                              stridec, batch_size, alpha, beta);
}

//! Group sizes must be present and none negative when there are groups.
void require_group_sizes(BatchCheck &check, ORB_INT group_count, const ORB_INT *group_size, int position) {
  check.require(group_count <= 0 || group_size, position);
  if (!group_size) return;
  for (ORB_INT g = 0; g < group_count; ++g) check.require(group_size[g] >= 0, position);
}

//! Positions: 1 ordering, 2 trans_array, 3 rows_array, 4 cols_array,
//! 5 alpha_array, 6 A_array, 7 lda_array, 8 B_array, 9 ldb_array,
//! 10 group_count, 11 group_size_array.
template <class T>
void omatcopy_batch(char ordering, const char *trans, const ORB_INT *rows, const ORB_INT *cols, const T *alpha,
                    const T *const *A, const ORB_INT *lda, T *const *B, const ORB_INT *ldb, ORB_INT group_count,
                    const ORB_INT *group_size) {
  BatchCheck check(Trans<T>::lower, "omatcopy_batch");
  const bool any = group_count > 0;
  const void *arrays[] = {trans, rows, cols, alpha, A, lda, B, ldb};
  for (int k = 0; k < 8; ++k) check.require(!any || arrays[k], 2 + k);
  check.require(group_count >= 0, 10);
  require_group_sizes(check, group_count, group_size, 11);
  if (check.passed())
    Trans<T>::omatcopy_group(ordering, trans, rows, cols, alpha, A, lda, B, ldb, group_count, group_size, kWidth64);
}

//! Positions: 1 ordering, 2 trans_array, 3 rows_array, 4 cols_array,
//! 5 alpha_array, 6 AB_array, 7 lda_array, 8 ldb_array, 9 group_count,
//! 10 group_size_array.
template <class T>
void imatcopy_batch(char ordering, const char *trans, const ORB_INT *rows, const ORB_INT *cols, const T *alpha,
                    T *const *AB, const ORB_INT *lda, const ORB_INT *ldb, ORB_INT group_count,
                    const ORB_INT *group_size) {
  BatchCheck check(Trans<T>::lower, "imatcopy_batch");
  const bool any = group_count > 0;
  const void *arrays[] = {trans, rows, cols, alpha, AB, lda, ldb};
  for (int k = 0; k < 7; ++k) check.require(!any || arrays[k], 2 + k);
  check.require(group_count >= 0, 9);
  require_group_sizes(check, group_count, group_size, 10);
  if (check.passed())
    Trans<T>::imatcopy_group(ordering, trans, rows, cols, alpha, AB, lda, ldb, group_count, group_size, kWidth64);
}

}  // namespace

#define ORB_TRANS_USER_ENTRIES(p, P, T)                                                                              \
  extern "C" void orb_##p##omatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, const T *A,  \
                                    ORB_INT lda, T *B, ORB_INT ldb) {                                             \
    Trans<T>::omatcopy(ordering, trans, rows, cols, alpha, A, lda, B, ldb);                                       \
  }                                                                                                               \
  extern "C" void orb_##p##imatcopy(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, T *AB,       \
                                    ORB_INT lda, ORB_INT ldb) {                                                   \
    imatcopy<T>(ordering, trans, rows, cols, alpha, AB, lda, ldb);                                                \
  }                                                                                                               \
  extern "C" void orb_##p##omatcopy2(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha, const T *A, \
                                     ORB_INT lda, ORB_INT stridea, T *B, ORB_INT ldb, ORB_INT strideb) {          \
    Trans<T>::omatcopy2(ordering, trans, rows, cols, alpha, A, lda, stridea, B, ldb, strideb);                    \
  }                                                                                                               \
  extern "C" void orb_##p##omatadd(char ordering, char transa, char transb, ORB_INT rows, ORB_INT cols, T alpha, \
                                   const T *A, ORB_INT lda, T beta, const T *B, ORB_INT ldb, T *C, ORB_INT ldc) { \
    Trans<T>::omatadd(ordering, transa, transb, rows, cols, alpha, A, lda, beta, B, ldb, C, ldc);                 \
  }                                                                                                               \
  extern "C" void orb_##p##omatcopy_batch_strided(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha,\
                                                  const T *A, ORB_INT lda, ORB_INT stridea, T *B, ORB_INT ldb,    \
                                                  ORB_INT strideb, ORB_INT batch_size) {                          \
    omatcopy_batch_strided<T>(ordering, trans, rows, cols, alpha, A, lda, stridea, B, ldb, strideb, batch_size);  \
  }                                                                                                               \
  extern "C" void orb_##p##imatcopy_batch_strided(char ordering, char trans, ORB_INT rows, ORB_INT cols, T alpha,\
                                                  T *AB, ORB_INT lda, ORB_INT ldb, ORB_INT stride,                \
                                                  ORB_INT batch_size) {                                           \
    imatcopy_batch_strided<T>(ordering, trans, rows, cols, alpha, AB, lda, ldb, stride, batch_size);              \
  }                                                                                                               \
  extern "C" void orb_##p##omatadd_batch_strided(char ordering, char transa, char transb, ORB_INT rows,          \
                                                 ORB_INT cols, T alpha, const T *A, ORB_INT lda, ORB_INT stridea, \
                                                 T beta, const T *B, ORB_INT ldb, ORB_INT strideb, T *C,          \
                                                 ORB_INT ldc, ORB_INT stridec, ORB_INT batch_size) {              \
    omatadd_batch_strided<T>(ordering, transa, transb, rows, cols, alpha, A, lda, stridea, beta, B, ldb, strideb, \
                             C, ldc, stridec, batch_size);                                                        \
  }                                                                                                               \
  extern "C" void orb_##p##omatcopy_batch(char ordering, const char *trans_array, const ORB_INT *rows_array,     \
                                          const ORB_INT *cols_array, const T *alpha_array,                        \
                                          const T *const *A_array, const ORB_INT *lda_array, T *const *B_array,   \
                                          const ORB_INT *ldb_array, ORB_INT group_count,                          \
                                          const ORB_INT *group_size_array) {                                      \
    omatcopy_batch<T>(ordering, trans_array, rows_array, cols_array, alpha_array, A_array, lda_array, B_array,    \
                      ldb_array, group_count, group_size_array);                                                  \
  }                                                                                                               \
  extern "C" void orb_##p##imatcopy_batch(char ordering, const char *trans_array, const ORB_INT *rows_array,     \
                                          const ORB_INT *cols_array, const T *alpha_array, T *const *AB_array,    \
                                          const ORB_INT *lda_array, const ORB_INT *ldb_array,                     \
                                          ORB_INT group_count, const ORB_INT *group_size_array) {                 \
    imatcopy_batch<T>(ordering, trans_array, rows_array, cols_array, alpha_array, AB_array, lda_array, ldb_array, \
                      group_count, group_size_array);                                                             \
  }
ORB_FOR_EACH_PRECISION(ORB_TRANS_USER_ENTRIES)
