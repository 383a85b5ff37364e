// Loop bodies of the vector-function threaders, one class template per kind
// of kernel signature.
//
// A body holds the kernel and the whole vectors; for a piece [b, e) it calls
// the kernel with the count e - b first, then every vector advanced to element
// b (b * inc for a strided one, in 32-bit arithmetic as the kernel's own
// strides are), strides and scalars unchanged, in the threader's order.  The
// base class wraps each call in the hand-over every piece gets: the caller's
// callback and mode, the whole input vector for error indices, a zero status
// before and the piece's status merged after.
#pragma once

#include <orb/internal/orb_ewf.h>

#include <cstdint>

namespace orb::thr {

//! The seven module entry points, loaded once from the core (vector_threader.cpp).
extern orb_vm_error_callback (*EWFGetErrorCallBack)(void);
extern orb_vm_error_callback (*EWFSetErrorCallBack)(orb_vm_error_callback);
extern unsigned (*EWFGetMode)(void);
extern unsigned (*EWFSetMode)(unsigned);
extern void (*EWFSetInputPointer)(const void *);
extern int (*EWFGetErrStatus)(void);
extern int (*EWFSetErrStatus)(int);
extern int EWFSharedLibraryInitDone;

//! What a call hands to every piece besides its vectors.
struct EwfHandOver {
  orb_vm_error_callback callback = nullptr;
  unsigned mode = 0;
  const void *input = nullptr;  //!< the first element of the whole input vector
  int *status = nullptr;        //!< the caller's status word
};

//! Element b of a vector with stride inc: b * inc wraps as a 32-bit product.
template <class T>
T *advance(T *p, int b, int inc) {
  return p + static_cast<int32_t>(static_cast<uint32_t>(b) * static_cast<uint32_t>(inc));
}

//! The hand-over around one piece; Derived::call(b, count) runs the kernel.
template <class Derived>
class EwfPiece {
 public:
  EwfHandOver hand_over;

  //! One piece [begin, end): this thread takes the caller's state, computes,
  //! and a non-zero status overwrites the shared word (a zero one never clears it).
  void operator()(int64_t begin, int64_t end) const {
    EWFSetErrorCallBack(hand_over.callback);
    EWFSetMode(hand_over.mode);
    EWFSetInputPointer(hand_over.input);
    EWFSetErrStatus(0);
    static_cast<const Derived &>(*this).call(static_cast<int>(begin), static_cast<int>(end - begin));
    const int status = EWFGetErrStatus();
    if (status != 0) __atomic_store_n(hand_over.status, status, __ATOMIC_RELAXED);
  }
};

//! y = f(x); the input and output types may differ (|z|: complex in, real out).
template <class T, class U>
class EwfThreader_1i_1o : public EwfPiece<EwfThreader_1i_1o<T, U>> {
 public:
  using Kernel = int (*)(int, const T *, U *);
  EwfThreader_1i_1o(Kernel k, const T *x, U *y) : k_(k), x_(x), y_(y) {}
  void call(int b, int count) const { k_(count, x_ + b, y_ + b); }

 private:
  Kernel k_;
  const T *x_;
  U *y_;
};

//! Strided y = f(x).
template <class T, class U>
class EwfThreader_1iI_1oI : public EwfPiece<EwfThreader_1iI_1oI<T, U>> {
 public:
  using Kernel = int (*)(int, const T *, int, U *, int);
  EwfThreader_1iI_1oI(Kernel k, const T *x, int incx, U *y, int incy) : k_(k), x_(x), y_(y), incx_(incx), incy_(incy) {}
  void call(int b, int count) const { k_(count, advance(x_, b, incx_), incx_, advance(y_, b, incy_), incy_); }

 private:
  Kernel k_;
  const T *x_;
  U *y_;
  int incx_, incy_;
};

//! y = f(x1, x2).
template <class T>
class EwfThreader_2i_1o : public EwfPiece<EwfThreader_2i_1o<T>> {
 public:
  using Kernel = int (*)(int, const T *, const T *, T *);
  EwfThreader_2i_1o(Kernel k, const T *x1, const T *x2, T *y) : k_(k), x1_(x1), x2_(x2), y_(y) {}
  void call(int b, int count) const { k_(count, x1_ + b, x2_ + b, y_ + b); }

 private:
  Kernel k_;
  const T *x1_, *x2_;
  T *y_;
};

//! Strided y = f(x1, x2).
template <class T>
class EwfThreader_2iI_1oI : public EwfPiece<EwfThreader_2iI_1oI<T>> {
 public:
  using Kernel = int (*)(int, const T *, int, const T *, int, T *, int);
  EwfThreader_2iI_1oI(Kernel k, const T *x1, int incx1, const T *x2, int incx2, T *y, int incy)
      : k_(k), x1_(x1), x2_(x2), y_(y), incx1_(incx1), incx2_(incx2), incy_(incy) {}
  void call(int b, int count) const {
    k_(count, advance(x1_, b, incx1_), incx1_, advance(x2_, b, incx2_), incx2_, advance(y_, b, incy_), incy_);
  }

 private:
  Kernel k_;
  const T *x1_, *x2_;
  T *y_;
  int incx1_, incx2_, incy_;
};

//! (y1, y2) = f(x): sine and cosine at once.
template <class T>
class EwfThreader_1i_2o : public EwfPiece<EwfThreader_1i_2o<T>> {
 public:
  using Kernel = int (*)(int, const T *, T *, T *);
  EwfThreader_1i_2o(Kernel k, const T *x, T *y1, T *y2) : k_(k), x_(x), y1_(y1), y2_(y2) {}
  void call(int b, int count) const { k_(count, x_ + b, y1_ + b, y2_ + b); }

 private:
  Kernel k_;
  const T *x_;
  T *y1_, *y2_;
};

//! Strided (y1, y2) = f(x).
template <class T>
class EwfThreader_1iI_2oI : public EwfPiece<EwfThreader_1iI_2oI<T>> {
 public:
  using Kernel = int (*)(int, const T *, int, T *, int, T *, int);
  EwfThreader_1iI_2oI(Kernel k, const T *x, int incx, T *y1, int incy1, T *y2, int incy2)
      : k_(k), x_(x), y1_(y1), y2_(y2), incx_(incx), incy1_(incy1), incy2_(incy2) {}
  void call(int b, int count) const {
    k_(count, advance(x_, b, incx_), incx_, advance(y1_, b, incy1_), incy1_, advance(y2_, b, incy2_), incy2_);
  }

 private:
  Kernel k_;
  const T *x_;
  T *y1_, *y2_;
  int incx_, incy1_, incy2_;
};

//! y = f(x1, x2, s1, s2, s3, s4): the linear fraction (s1 x1 + s2) / (s3 x2 + s4).
template <class T>
class EwfThreader_iissss_1o : public EwfPiece<EwfThreader_iissss_1o<T>> {
 public:
  using Kernel = int (*)(int, const T *, const T *, T *, T, T, T, T);
  EwfThreader_iissss_1o(Kernel k, const T *x1, const T *x2, T *y, T s1, T s2, T s3, T s4)
      : k_(k), x1_(x1), x2_(x2), y_(y), s_{s1, s2, s3, s4} {}
  void call(int b, int count) const { k_(count, x1_ + b, x2_ + b, y_ + b, s_[0], s_[1], s_[2], s_[3]); }

 private:
  Kernel k_;
  const T *x1_, *x2_;
  T *y_;
  T s_[4];
};

//! Strided linear fraction.
template <class T>
class EwfThreader_iIiIssss_1oI : public EwfPiece<EwfThreader_iIiIssss_1oI<T>> {
 public:
  using Kernel = int (*)(int, const T *, int, const T *, int, T *, int, T, T, T, T);
  EwfThreader_iIiIssss_1oI(Kernel k, const T *x1, int incx1, const T *x2, int incx2, T *y, int incy, T s1, T s2,
                           T s3, T s4)
      : k_(k), x1_(x1), x2_(x2), y_(y), incx1_(incx1), incx2_(incx2), incy_(incy), s_{s1, s2, s3, s4} {}
  void call(int b, int count) const {
    k_(count, advance(x1_, b, incx1_), incx1_, advance(x2_, b, incx2_), incx2_, advance(y_, b, incy_), incy_, s_[0],
       s_[1], s_[2], s_[3]);
  }

 private:
  Kernel k_;
  const T *x1_, *x2_;
  T *y_;
  int incx1_, incx2_, incy_;
  T s_[4];
};

//! y = f(x, s) with one scalar s: a power with a fixed exponent.
template <class T>
class EwfThreader_is_1o : public EwfPiece<EwfThreader_is_1o<T>> {
 public:
  using Kernel = int (*)(int, const T *, T *, T);
  EwfThreader_is_1o(Kernel k, const T *x, T *y, T s) : k_(k), x_(x), y_(y), s_(s) {}
  void call(int b, int count) const { k_(count, x_ + b, y_ + b, s_); }

 private:
  Kernel k_;
  const T *x_;
  T *y_;
  T s_;
};

//! Strided y = f(x, s).
template <class T>
class EwfThreader_is_1oI : public EwfPiece<EwfThreader_is_1oI<T>> {
 public:
  using Kernel = int (*)(int, const T *, int, T *, int, T);
  EwfThreader_is_1oI(Kernel k, const T *x, int incx, T *y, int incy, T s)
      : k_(k), x_(x), y_(y), incx_(incx), incy_(incy), s_(s) {}
  void call(int b, int count) const { k_(count, advance(x_, b, incx_), incx_, advance(y_, b, incy_), incy_, s_); }

 private:
  Kernel k_;
  const T *x_;
  T *y_;
  int incx_, incy_;
  T s_;
};

}  // namespace orb::thr
