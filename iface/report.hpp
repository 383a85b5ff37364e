// What the interface layer tells the user about a call: argument reports
// through the global error handlers, and the verbose line with the call's
// own text and time.
//
// Interface codes of the verbose header: 1 for the standard names with 32-bit
// integers (dgemm_), 2 for the 64-bit names (dgemm_64_), -1 for the CBLAS
// names, whose integers are C ints passed by value.
#pragma once

#include <orb/orb_service.h>

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "blas_rules.hpp"
#include "precision.hpp"

extern "C" void xerbla_(const char *name, const int *info, size_t len);

//! The other spellings Fortran compilers give a routine's name, as aliases of
//! the entry `lower_`: without the trailing underscore, and in upper case.
#define ORB_FORTRAN_NAME_FORMS(lower, upper)                                          \
  extern "C" ORB_EXPORT decltype(lower##_) lower __attribute__((alias(#lower "_"))); \
  extern "C" ORB_EXPORT decltype(lower##_) upper __attribute__((alias(#lower "_")));

namespace orb::iface {

enum IfaceCode : int { kCblas = -1, kLp64 = 1, kIlp64 = 2 };

//! 1 when verbose mode is on, 0 when off, -1 until the core has been asked.
extern int verbose_state;
int read_verbose_state();

//! Whether calls are reported; when off, this is one load and one test.
inline bool verbose_on() {
  const int s = __atomic_load_n(&verbose_state, __ATOMIC_RELAXED);
  if (__builtin_expect(s == 0, 1)) return false;
  return (s < 0 ? read_verbose_state() : s) > 0;
}

//! Reports argument `info` of the Fortran-style routine `name` ("DGEMM ")
//! through the installed error handler, which by default is the global xerbla_.
void report_fortran(const char *name, int info);

//! Two argument positions of a CBLAS routine that a row-major call exchanges
//! when it is checked as its column-major twin (gemm's m and n, say).
using RowMajorExchange = rules::PositionSwap;

//! Reports argument `info` of the CBLAS routine `name` ("cblas_dgemm")
//! through the global cblas_xerbla, with RowMajorStrg telling it whether the
//! call was row-major while the report runs; `exchanges` are the family's.
void report_cblas(const char *name, int info, bool row_major, const RowMajorExchange *exchanges, int count);
template <int N>
void report_cblas(const char *name, int info, bool row_major, const RowMajorExchange (&exchanges)[N]) {
  report_cblas(name, info, row_major, exchanges, N);
}

//! Where the caller of the row-major call being reported on this thread
//! counts position `info` of its column-major twin.
int row_major_position(int info);

//! A routine's names: "DGEMM " for reports, "DGEMM" / "DGEMM_64" for the
//! verbose line of the Fortran names, "cblas_dgemm" for the C names; room
//! for the longest family, "GEMM_BATCH_STRIDED".
struct RoutineName {
  char report[24];
  char upper[32];
  char cblas[32];
};
//! family is the upper-case name without its letter, e.g. "GEMM".
RoutineName routine_name(char upper_letter, const char *family, bool int64);

//! The caller's description of a call, built argument by argument with
//! commas between them: DGEMM(N,T,100,100,100,1,0x7f..,100,...).
class CallText {
 public:
  static constexpr size_t kBytes = 399;

  CallText &routine(const char *name);  //!< opens the text: "name("
  CallText &character(const char *c);   //!< a character argument by reference
  CallText &integer(const int *v);
  CallText &integer(const int64_t *v);
  CallText &integer(int64_t v);
  CallText &address(const void *p);
  CallText &word(const char *w);  //!< an enumerator's name, e.g. CblasRowMajor
  template <class T>
  CallText &scalar(const T *v) {
    if (!v) return word("NULL");
    if (Precision<T>::is_complex) return complex_value(real_part(*v), imag_part(*v));
    return real_value(real_part(*v));
  }
  const char *text();  //!< closes the argument list

 private:
  void separate();
  CallText &real_value(double v);
  CallText &complex_value(double re, double im);
  char buf_[kBytes] = "";
  bool first_ = true;
};

//! Runs `call`; in verbose mode, times it and prints the line that
//! `describe(CallText &)` builds.  Nothing is described when verbose mode
//! is off, so the names and texts cost nothing then.
template <class Call, class Describe>
inline void run_reported(int iface, Call &&call, Describe &&describe) {
  if (!verbose_on()) {
    call();
    return;
  }
  const auto start = std::chrono::steady_clock::now();
  call();
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  CallText text;
  describe(text);
  orb_serv_print_verbose_info(iface, text.text(), elapsed.count());
}

}  // namespace orb::iface
