// The vector-function threaders: the core's elementwise math module hands a
// sequential kernel and whole vectors to the threader of the kernel's
// signature, which runs the kernel over pieces of the vectors on the task
// runtime.
//
// Short vectors (at most 99 elements) are not worth a task: the kernel runs on
// the calling thread and nothing else happens.  For longer ones the threader
// needs the module's per-thread state: it loads the seven entry points from
// the core once, reads the caller's error callback and mode word, and every
// piece installs them on the thread that runs it, resets that thread's status
// to 0 and, if the kernel leaves a non-zero status, stores it into the
// caller's word.  The caller ends with that status as its own, and with no
// input vector recorded.  Pieces hold about 10000 / cost elements at least
// and the mode word picks the splitter (partition/vector_grain.hpp).
#include "ewf/vector_bodies.hpp"
#include "partition/vector_grain.hpp"

#include <orb/orb_service.h>

#include "report_ids.hpp"

#include <dlfcn.h>

namespace orb::thr {

orb_vm_error_callback (*EWFGetErrorCallBack)(void) = nullptr;
orb_vm_error_callback (*EWFSetErrorCallBack)(orb_vm_error_callback) = nullptr;
unsigned (*EWFGetMode)(void) = nullptr;
unsigned (*EWFSetMode)(unsigned) = nullptr;
void (*EWFSetInputPointer)(const void *) = nullptr;
int (*EWFGetErrStatus)(void) = nullptr;
int (*EWFSetErrStatus)(int) = nullptr;
int EWFSharedLibraryInitDone = 0;

namespace {

//! Longest vector that runs on the calling thread without the task runtime.
constexpr int kDirectMax = 99;

//! The threaded path of every member: body covers [0, n) of the vectors whose
//! first input starts at input.
template <class Body>
int threaded(int n, void *handle, float cost, const void *input, Body body) {
  if (!__atomic_load_n(&EWFSharedLibraryInitDone, __ATOMIC_ACQUIRE))
    orb_ewf_serv_LoadFunctions(handle, &EWFGetErrorCallBack, &EWFSetErrorCallBack, &EWFGetMode, &EWFSetMode,
                               &EWFSetInputPointer, &EWFGetErrStatus, &EWFSetErrStatus, &EWFSharedLibraryInitDone);
  int status = 0;
  body.hand_over.callback = EWFGetErrorCallBack();
  body.hand_over.mode = EWFGetMode();
  body.hand_over.input = input;
  body.hand_over.status = &status;
  rt::LoopShape shape;
  shape.grain = vector_grain(cost);
  shape.split = vector_split(body.hand_over.mode);
  shape.binding = rt::Binding::caller;
  rt::run_loop(n, shape, body);
  EWFSetInputPointer(nullptr);
  return EWFSetErrStatus(__atomic_load_n(&status, __ATOMIC_RELAXED));
}

//! Loads one entry point; a missing one ends the process.
template <class Fn>
void load(void *handle, const char *name, const char *short_name, Fn *slot, volatile int *lock) {
  dlerror();
  void *symbol = dlsym(handle, name);
  if (dlerror() != nullptr) {
    orb_serv_unlock(lock);
    orb_serv_print(1, kMsgEwfEntryMissing, 1, short_name);
    orb_serv_exit(2);
    return;
  }
  *slot = reinterpret_cast<Fn>(symbol);
}

}  // namespace

}  // namespace orb::thr

using namespace orb::thr;

extern "C" {

int orb_ewf_serv_GetMinN(int *min_n) {
  if (min_n) *min_n = 1;
  return 1;
}

void orb_ewf_serv_LoadFunctions(void *handle, orb_vm_error_callback (**get_callback)(void),
                                orb_vm_error_callback (**set_callback)(orb_vm_error_callback),
                                unsigned (**get_mode)(void), unsigned (**set_mode)(unsigned),
                                void (**set_input)(const void *), int (**get_status)(void), int (**set_status)(int),
                                int *done) {
  static volatile int in_lock = 0;
  orb_serv_lock(&in_lock);
  __atomic_store_n(done, 0, __ATOMIC_RELAXED);
  if (!handle) {
    orb_serv_unlock(&in_lock);
    orb_serv_print(1, orb::kMsgEwfNoHandle, 0);
    orb_serv_exit(2);
    return;
  }
  load(handle, "orb_ewf_kernel_GetErrorCallBack", "_ewfGetErrorCallBack", get_callback, &in_lock);
  load(handle, "orb_ewf_kernel_SetErrorCallBack", "_ewfSetErrorCallBack", set_callback, &in_lock);
  load(handle, "orb_ewf_kernel_GetMode", "_ewfGetMode", get_mode, &in_lock);
  load(handle, "orb_ewf_kernel_SetMode", "_ewfSetMode", set_mode, &in_lock);
  load(handle, "orb_ewf_kernel_SetInterfInputVectorPointer", "_ewfSetInterfInputVectorPointer", set_input, &in_lock);
  load(handle, "orb_ewf_kernel_GetErrStatus", "_ewfGetErrStatus", get_status, &in_lock);
  load(handle, "orb_ewf_kernel_SetErrStatus", "_ewfSetErrStatus", set_status, &in_lock);
  orb_serv_unlock(&in_lock);
  __atomic_store_n(done, 1, __ATOMIC_RELEASE);
}

#define ORB_EWF_DEFINE_1I_1O(p, T, U)                                                                          \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, U *), int n, const T *x, U *y, void *handle,     \
                                void *, float cost) {                                                          \
    if (n <= kDirectMax) return kernel(n, x, y);                                                               \
    return threaded(n, handle, cost, x, EwfThreader_1i_1o<T, U>(kernel, x, y));                                \
  }
#define ORB_EWF_DEFINE_1II_1OI(p, T, U)                                                                        \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, U *, int), int n, const T *x, int incx,      \
                                U *y, int incy, void *handle, float cost) {                                    \
    if (n <= kDirectMax) return kernel(n, x, incx, y, incy);                                                   \
    return threaded(n, handle, cost, x, EwfThreader_1iI_1oI<T, U>(kernel, x, incx, y, incy));                  \
  }
#define ORB_EWF_DEFINE_2I_1O(p, T, U)                                                                          \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, const T *, T *), int n, const T *x1,            \
                                const T *x2, T *y, void *handle, float cost) {                                 \
    if (n <= kDirectMax) return kernel(n, x1, x2, y);                                                          \
    return threaded(n, handle, cost, x1, EwfThreader_2i_1o<T>(kernel, x1, x2, y));                             \
  }
#define ORB_EWF_DEFINE_2II_1OI(p, T, U)                                                                        \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, const T *, int, T *, int), int n,           \
                                const T *x1, int incx1, const T *x2, int incx2, T *y, int incy, void *handle,  \
                                float cost) {                                                                  \
    if (n <= kDirectMax) return kernel(n, x1, incx1, x2, incx2, y, incy);                                      \
    return threaded(n, handle, cost, x1, EwfThreader_2iI_1oI<T>(kernel, x1, incx1, x2, incx2, y, incy));       \
  }
#define ORB_EWF_DEFINE_1I_2O(p, T, U)                                                                          \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, T *, T *), int n, const T *x, T *y1, T *y2,     \
                                void *handle, float cost) {                                                    \
    if (n <= kDirectMax) return kernel(n, x, y1, y2);                                                          \
    return threaded(n, handle, cost, x, EwfThreader_1i_2o<T>(kernel, x, y1, y2));                              \
  }
#define ORB_EWF_DEFINE_1II_2OI(p, T, U)                                                                        \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, T *, int, T *, int), int n, const T *x,     \
                                int incx, T *y1, int incy1, T *y2, int incy2, void *handle, float cost) {      \
    if (n <= kDirectMax) return kernel(n, x, incx, y1, incy1, y2, incy2);                                      \
    return threaded(n, handle, cost, x, EwfThreader_1iI_2oI<T>(kernel, x, incx, y1, incy1, y2, incy2));        \
  }
#define ORB_EWF_DEFINE_6I_1O(p, T, U)                                                                          \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, const T *, T *, T, T, T, T), int n,             \
                                const T *x1, const T *x2, T *y, void *handle, T s1, T s2, T s3, T s4,          \
                                float cost) {                                                                  \
    if (n <= kDirectMax) return kernel(n, x1, x2, y, s1, s2, s3, s4);                                          \
    return threaded(n, handle, cost, x1, EwfThreader_iissss_1o<T>(kernel, x1, x2, y, s1, s2, s3, s4));         \
  }
#define ORB_EWF_DEFINE_6II_1OI(p, T, U)                                                                        \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, const T *, int, T *, int, T, T, T, T),     \
                                int n, const T *x1, int incx1, const T *x2, int incx2, T *y, int incy,        \
                                void *handle, T s1, T s2, T s3, T s4, float cost) {                            \
    if (n <= kDirectMax) return kernel(n, x1, incx1, x2, incx2, y, incy, s1, s2, s3, s4);                      \
    return threaded(n, handle, cost, x1,                                                                       \
                    EwfThreader_iIiIssss_1oI<T>(kernel, x1, incx1, x2, incx2, y, incy, s1, s2, s3, s4));       \
  }
#define ORB_EWF_DEFINE_IS_1O(p, T, U)                                                                          \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, T *, T), int n, const T *x, T *y, void *handle,  \
                                T s, float cost) {                                                             \
    if (n <= kDirectMax) return kernel(n, x, y, s);                                                            \
    return threaded(n, handle, cost, x, EwfThreader_is_1o<T>(kernel, x, y, s));                                \
  }
#define ORB_EWF_DEFINE_IS_1OI(p, T, U)                                                                         \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, T *, int, T), int n, const T *x, int incx,  \
                                T *y, int incy, void *handle, T s, float cost) {                               \
    if (n <= kDirectMax) return kernel(n, x, incx, y, incy, s);                                                \
    return threaded(n, handle, cost, x, EwfThreader_is_1oI<T>(kernel, x, incx, y, incy, s));                   \
  }
#define ORB_EWF_DEFINE(kind, p, T, U) ORB_EWF_DEFINE_##kind(p, T, U)

ORB_EWF_THREADER_LIST(ORB_EWF_DEFINE)

}  // extern "C"
