// The sparse matrix handle as the three libraries see it (not installed).
//
// The core builds a handle from the caller's arrays and frees it with
// everything the analysis hung on it; the threading layer reads it to choose
// a product and stores its analysis in it; the interface checks its kind and
// width before it hands it down.  One layout serves every value type T and
// index type I (int32_t for the _i4 entries, int64_t for _i8): the fields
// are in the order the threading layer's contract gives, and what follows
// them is the core's own.
#pragma once

#include <orb/orb_sparse.h>

#include <cstdint>
#include <type_traits>

namespace orb::sparse {

// Codes of the handle fields (the descriptor codes are orb_sparse.h's).
constexpr int32_t kFormatCoo = 0, kFormatCsr = 1, kFormatCsc = 2, kFormatBsr = 3;
constexpr int32_t kMemoryCopies = 81;
// What a hint announces: a product, a triangular solve, a Gauss-Seidel sweep.
constexpr int32_t kHintProduct = 0, kHintSolve = 1, kHintSymgs = 2;

//! The antisymmetric matrix of the character-descriptor routines: A = L - L^T
//! from the strict triangle named by the fill mode (its diagonal is zero).
constexpr int32_t kAntisymmetric = 27;
// Format choice of a product hint.
constexpr int32_t kChooseEsb = 199, kChooseDia = 299, kChooseCsr = 399;

//! Value kind of a handle: 0 s, 1 d, 2 c, 3 z; 0 and 1 are the real kinds.
template <class T>
constexpr int32_t value_kind_of() {
  return std::is_same_v<T, float> ? 0 : std::is_same_v<T, double> ? 1 : std::is_same_v<T, ORB_Complex8> ? 2 : 3;
}

//! The partition block: 4096 bytes read as 1024 integers; entry 0 is 0, entry
//! p the first row of part p, entry 1023 the part count.
constexpr int kPartitionInts = 1024;
constexpr int kPartitionBytes = 4096;
constexpr int kPartitionCount = 1023;

//! Rows per slice of the ESB and DIA layouts: one 512-bit vector of doubles.
constexpr int kSliceRows = 8;

//! A record in slices of 8 rows, built by the analysis.  ESB: slice s holds
//! its rows' entries position by position, 8 to a position (padded with zero
//! values at column 0), positions [start[s], start[s + 1]) of index and
//! values times 8.  DIA: slice s holds the diagonals its rows touch, segments
//! [start[s], start[s + 1]); segment k is the diagonal of offset index[k]
//! (column minus row) with the 8 values of the slice's rows on it.  Indices
//! count from 0 whatever the record's base.
template <class T, class I>
struct SlicedData {
  I rows;
  I cols;
  I slices;
  I *start;  //!< slices + 1
  I *index;  //!< ESB: column of each of 8 x positions; DIA: offset of each segment
  T *values; //!< 8 per position or segment
};

//! The strict upper triangle of a full symmetric matrix with a unit diagonal,
//! as CSR from 0 (64 bytes at most, zeroed before it is filled).
template <class T, class I>
struct UpTriData {
  I rows;
  I *row_ptr;  //!< rows + 1
  I *col;
  T *values;
};

//! What the analysis keeps for one record: 104 bytes, 4096-aligned, zeroed.
struct OptimizationRecord {
  int32_t *partition;              //!< the partition block, or null
  void *up_tri_from_full_sym_data; //!< strict upper triangle of a full symmetric matrix
  void *symgs_data;                //!< Gauss-Seidel data (triangular solves)
  void *esb;                       //!< SlicedData in ESB form, when the analysis chose it
  void *dia;                       //!< SlicedData in DIA form, when the analysis chose it
  int32_t format_tried;            //!< a conversion was attempted (1) and failed (2)
  int32_t reserved0;
  int64_t reserved[7];
};
static_assert(sizeof(OptimizationRecord) == 104, "the optimization record is 104 bytes");

//! One matrix as CSR (block 1), CSC or BSR, or the entry list of a COO one.
//! rows and cols are the matrix's (in blocks for BSR); the pointer arrays of a
//! CSC record run over its columns and col_index then holds row indices, which
//! makes them the CSR arrays of the transpose.  The handle refers to the
//! caller's arrays; a record the analysis built (transposed or general copy)
//! owns its arrays.
template <class T, class I>
struct SparseRecord {
  I rows;
  I cols;
  int32_t base;     //!< 0 or 1
  int32_t block;    //!< 1 for CSR and CSC
  int32_t eligible; //!< nonzero when row_end[i] == row_start[i + 1] for every row
  int32_t layout;   //!< ORB_SPARSE_BLOCK_ROW_MAJOR or _COL_MAJOR for BSR
  I *row_start;
  I *row_end;
  I *col_index;
  T *values;
  OptimizationRecord *opt;
  // The core's own fields.
  I *coo_row;      //!< COO: the row index of each entry (col_index holds the columns)
  I entries;       //!< stored entries (blocks for BSR)
  int32_t owns;    //!< the record owns its four arrays (built by the analysis)
  int32_t reserved;
  void *diagonal = nullptr;  //!< DiagonalData<T, I> of the record, built by the first non-unit solve
};

//! State bits of the diagonal data: filled from the record, and current.
constexpr int32_t kDiagonalFilled = 1, kDiagonalCurrent = 2;

//! The diagonal of a record as the solves read it.  Any positive problem
//! count makes it unusable for a non-unit solve.
template <class T, class I>
struct DiagonalData {
  int32_t missing;    //!< rows that store no diagonal entry
  int32_t zero;       //!< rows whose diagonal entries add up to zero
  int32_t nonfinite;  //!< rows whose diagonal is infinite or not a number
  int32_t state;      //!< kDiagonalFilled | kDiagonalCurrent once filled
  T *values;          //!< one per row: the sum of the row's diagonal entries
  I rows;
};

//! One direction's schedule and data.  The level of a row is one more than
//! the highest level among the rows it reads (forward: its strictly lower
//! entries; backward: its strictly upper ones).  Rows are laid out level by
//! level, each level cut into blocks of at most B rows, blocks numbered level
//! by level (so block order is a topological order); the row's entries are
//! stored at its position, in their stored order, so a sweep streams them.
template <class T, class I>
struct SweepPlan {
  int32_t blocks;
  int32_t levels;
  I *block_start;        //!< blocks + 1 positions
  I *rows;               //!< the row at each position
  I *position;           //!< the position of each row
  I *ptr;                //!< positions + 1: entries of the row at each position
  I *col;                //!< column of each entry, from 0
  T *val;
  int32_t *pred;         //!< per block: blocks it waits for
  int32_t *succ_start;   //!< blocks + 1
  int32_t *succ;         //!< the blocks waiting for each block
};

//! What the symmetric Gauss-Seidel analysis keeps (symgs_optimal_data): the
//! strictly lower part of the matrix in the forward sweep's plan, the
//! strictly upper part in the backward sweep's, and the part count the
//! sweeps run on.
template <class T, class I>
struct SymgsData {
  int32_t width;              //!< W: rows per slice (4, or 8 for the AVX-512 layout)
  int32_t parts;              //!< tasks of a sweep (asked for before the analysis, settled by it)
  I rows;
  I block_rows;               //!< B: the most rows of a block, a multiple of W
  SweepPlan<T, I> forward;    //!< the lower split
  SweepPlan<T, I> backward;   //!< the upper split
  int32_t avx512;             //!< laid out for the AVX-512 kernels
  int32_t high_opt;           //!< the second AVX-512 variant
  int32_t from_copy;          //!< built from a general copy (its fill), 0 from the primary record as stored
  int32_t reserved;
};

template <class T, class I>
struct SparseHandle;

//! One analysed product: the descriptor it serves and the procedure that runs it.
template <class T, class I>
struct SparseHint {
  using Procedure = int32_t (*)(SparseHint *node, int32_t op, SparseHandle<T, I> *A, orb_sparse_descr descr,
                                const T *x, T *y, T alpha, T beta);
  int32_t operation;
  int32_t type;
  int32_t fill;
  int32_t diag;
  int32_t format;  //!< 199 ESB, 299 DIA, 399 CSR, otherwise the inspector decides
  Procedure procedure;
  SparseHint *next;
  int32_t expected_calls;
  int32_t kind;  //!< kHintProduct, kHintSolve or kHintSymgs
  //! A Gauss-Seidel sweep pair for A x = b; y, when not null, receives A x.
  using SymgsProcedure = int32_t (*)(SparseHint *node, int32_t op, SparseHandle<T, I> *A, orb_sparse_descr descr,
                                     const T *b, T *x, T *y);
  SymgsProcedure symgs;
  SymgsProcedure symgs_mv;
};

//! The handle.  Every instance has the same layout, so the interface can read
//! the kind and width through any of them before choosing the right one.
template <class T, class I>
struct SparseHandle {
  int32_t value_kind;     //!< 0 s, 1 d, 2 c, 3 z
  int32_t format;         //!< kFormatCoo .. kFormatBsr
  int32_t memory_policy;  //!< kMemoryCopies lets the analysis build converted copies
  int32_t processor;      //!< 3 and 4 select the AVX-512 data layouts
  SparseRecord<T, I> *primary;
  SparseRecord<T, I> *transposed;
  SparseRecord<T, I> *general_from_lower;
  SparseRecord<T, I> *general_from_upper;
  SparseHint<T, I> *solve_hints;
  SparseHint<T, I> *mv_hints;
  SparseHint<T, I> *symgs_hints;
  // The core's own fields.
  int32_t index_bytes;  //!< 4 or 8
  int32_t reserved;
  SparseHint<T, I> *pending_hints;  //!< announced products not analysed yet
};

template <class T, class I>
inline SparseHandle<T, I> *handle_cast(orb_sparse_matrix A) {
  return reinterpret_cast<SparseHandle<T, I> *>(A);
}

using sparse_bsr_s_matrix = SparseRecord<float, int32_t>;
using sparse_bsr_d_matrix = SparseRecord<double, int32_t>;
using sparse_bsr_c_matrix = SparseRecord<ORB_Complex8, int32_t>;
using sparse_bsr_z_matrix = SparseRecord<ORB_Complex16, int32_t>;

}  // namespace orb::sparse
