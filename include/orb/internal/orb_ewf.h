/* orb: the contract between the core's elementwise math module and the
 * threading layer's vector-function threaders (not installed).
 *
 * The core computes a vector function with a sequential kernel that takes the
 * element count first.  For long vectors it hands the kernel to the threader of
 * the kernel's signature, which it finds at run time; the threader runs the
 * kernel over pieces of the vector on the task runtime and copies the calling
 * thread's mode word and error callback into every piece through the seven
 * module entry points below, which it looks up in the core by name. */
#ifndef ORB_INTERNAL_EWF_H
#define ORB_INTERNAL_EWF_H

#include <orb/orb_vm.h>

ORB_BEGIN_DECLS

/* ---- The module's per-thread state (liborb_core.so.2) ------------------- */

orb_vm_error_callback orb_ewf_kernel_GetErrorCallBack(void);
/* Installs callback for the calling thread; returns the previous one. */
orb_vm_error_callback orb_ewf_kernel_SetErrorCallBack(orb_vm_error_callback callback);
unsigned orb_ewf_kernel_GetMode(void);
/* Sets the calling thread's mode word; returns the previous one. */
unsigned orb_ewf_kernel_SetMode(unsigned mode);
/* The first element of the whole input vector whose pieces the calling thread
 * computes (NULL: the kernel's own input is the whole vector), so that an
 * error report names the element's index in the whole vector. */
void orb_ewf_kernel_SetInterfInputVectorPointer(const void *x);
int orb_ewf_kernel_GetErrStatus(void);
/* Sets the calling thread's error status and returns it. */
int orb_ewf_kernel_SetErrStatus(int status);

/* ---- Threaders (liborb_tsq_thread.so.2) --------------------------------- */

/* The kernel of each signature receives the count of a piece first, then the
 * threader's vectors (advanced to the piece), strides and scalars in the
 * threader's order, and returns its error status.  handle is the core's
 * library handle, from which the seven entry points above are loaded; cost is
 * the relative cost of one element (the pieces hold about 10000 / cost
 * elements at least).  Vectors of at most 99 elements run the kernel on the
 * calling thread and return its result; longer ones return the merged status. */
#define ORB_EWF_1I_1O(p, T, U)                                                                        \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, U *), int n, const T *x, U *y, void *handle, \
                                void *reserved, float cost);
#define ORB_EWF_1II_1OI(p, T, U)                                                                      \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, U *, int), int n, const T *x, int incx, \
                                U *y, int incy, void *handle, float cost);
/* The 54 threaders: X(kind, name suffix, input type, output type). */
#define ORB_EWF_THREADER_LIST(X)                                                                       \
  X(1I_1O, h_1i_1o, ORB_Half, ORB_Half) X(1I_1O, s_1i_1o, float, float)                                \
  X(1I_1O, d_1i_1o, double, double) X(1I_1O, c_1i_1o, ORB_Complex8, ORB_Complex8)                    \
  X(1I_1O, z_1i_1o, ORB_Complex16, ORB_Complex16)                                                     \
  X(1II_1OI, h_1iI_1oI, ORB_Half, ORB_Half) X(1II_1OI, s_1iI_1oI, float, float)                       \
  X(1II_1OI, d_1iI_1oI, double, double) X(1II_1OI, c_1iI_1oI, ORB_Complex8, ORB_Complex8)            \
  X(1II_1OI, z_1iI_1oI, ORB_Complex16, ORB_Complex16)                                                 \
  X(2I_1O, h_2i_1o, ORB_Half, ORB_Half) X(2I_1O, s_2i_1o, float, float) X(2I_1O, d_2i_1o, double, double) \
  X(2I_1O, c_2i_1o, ORB_Complex8, ORB_Complex8) X(2I_1O, z_2i_1o, ORB_Complex16, ORB_Complex16)       \
  X(2II_1OI, h_2iI_1oI, ORB_Half, ORB_Half) X(2II_1OI, s_2iI_1oI, float, float)                       \
  X(2II_1OI, d_2iI_1oI, double, double) X(2II_1OI, c_2iI_1oI, ORB_Complex8, ORB_Complex8)            \
  X(2II_1OI, z_2iI_1oI, ORB_Complex16, ORB_Complex16)                                                 \
  X(1I_2O, h_1i_2o, ORB_Half, ORB_Half) X(1I_2O, s_1i_2o, float, float) X(1I_2O, d_1i_2o, double, double) \
  X(1I_2O, c_1i_2o, ORB_Complex8, ORB_Complex8) X(1I_2O, z_1i_2o, ORB_Complex16, ORB_Complex16)       \
  X(1II_2OI, h_1iI_2oI, ORB_Half, ORB_Half) X(1II_2OI, s_1iI_2oI, float, float)                       \
  X(1II_2OI, d_1iI_2oI, double, double) X(1II_2OI, c_1iI_2oI, ORB_Complex8, ORB_Complex8)            \
  X(1II_2OI, z_1iI_2oI, ORB_Complex16, ORB_Complex16)                                                 \
  X(6I_1O, h_6i_1o, ORB_Half, ORB_Half) X(6I_1O, s_6i_1o, float, float) X(6I_1O, d_6i_1o, double, double) \
  X(6II_1OI, h_6iI_1oI, ORB_Half, ORB_Half) X(6II_1OI, s_6iI_1oI, float, float)                       \
  X(6II_1OI, d_6iI_1oI, double, double)                                                               \
  X(IS_1O, ch_2i_h_1o, ORB_Half, ORB_Half) X(IS_1O, cs_2i_s_1o, float, float)                         \
  X(IS_1O, cd_2i_d_1o, double, double) X(IS_1O, cc_2i_c_1o, ORB_Complex8, ORB_Complex8)              \
  X(IS_1O, cz_2i_z_1o, ORB_Complex16, ORB_Complex16)                                                  \
  X(IS_1OI, ch_2iI_h_1oI, ORB_Half, ORB_Half) X(IS_1OI, cs_2iI_s_1oI, float, float)                   \
  X(IS_1OI, cd_2iI_d_1oI, double, double) X(IS_1OI, cc_2iI_c_1oI, ORB_Complex8, ORB_Complex8)        \
  X(IS_1OI, cz_2iI_z_1oI, ORB_Complex16, ORB_Complex16)                                               \
  X(1I_1O, c_1i_s_1o, ORB_Complex8, float) X(1I_1O, z_1i_d_1o, ORB_Complex16, double)                 \
  X(1I_1O, s_1i_c_1o, float, ORB_Complex8) X(1I_1O, d_1i_z_1o, double, ORB_Complex16)                 \
  X(1II_1OI, c_1iI_s_1oI, ORB_Complex8, float) X(1II_1OI, z_1iI_d_1oI, ORB_Complex16, double)         \
  X(1II_1OI, s_1iI_c_1oI, float, ORB_Complex8) X(1II_1OI, d_1iI_z_1oI, double, ORB_Complex16)

/* The kinds with one element type ignore the second. */
#define ORB_EWF_2I_1O(p, T, ...)                                                                       \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, const T *, T *), int n, const T *x1,        \
                                const T *x2, T *y, void *handle, float cost);
#define ORB_EWF_2II_1OI(p, T, ...)                                                                         \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, const T *, int, T *, int), int n,          \
                                const T *x1, int incx1, const T *x2, int incx2, T *y, int incy, void *handle, \
                                float cost);
#define ORB_EWF_1I_2O(p, T, ...)                                                                             \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, T *, T *), int n, const T *x, T *y1, T *y2, \
                                void *handle, float cost);
#define ORB_EWF_1II_2OI(p, T, ...)                                                                           \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, T *, int, T *, int), int n, const T *x,     \
                                int incx, T *y1, int incy1, T *y2, int incy2, void *handle, float cost);
#define ORB_EWF_6I_1O(p, T, ...)                                                                                \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, const T *, T *, T, T, T, T), int n, const T *x1, \
                                const T *x2, T *y, void *handle, T s1, T s2, T s3, T s4, float cost);
#define ORB_EWF_6II_1OI(p, T, ...)                                                                          \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, const T *, int, T *, int, T, T, T, T),  \
                                int n, const T *x1, int incx1, const T *x2, int incx2, T *y, int incy,     \
                                void *handle, T s1, T s2, T s3, T s4, float cost);
#define ORB_EWF_IS_1O(p, T, ...)                                                                        \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, T *, T), int n, const T *x, T *y, void *handle, \
                                T s, float cost);
#define ORB_EWF_IS_1OI(p, T, ...)                                                                        \
  int orb_ewf_serv_threader_##p(int (*kernel)(int, const T *, int, T *, int, T), int n, const T *x, int incx, \
                                T *y, int incy, void *handle, T s, float cost);

#define ORB_EWF_DECLARE(kind, p, T, U) ORB_EWF_##kind(p, T, U)
ORB_EWF_THREADER_LIST(ORB_EWF_DECLARE)

/* Stores 1 into *min_n and returns 1: every length may be handed over. */
int orb_ewf_serv_GetMinN(int *min_n);

/* Loads the seven module entry points from handle into the given variables
 * and sets *done to 1; ends the process (exit code 2) with a message when the
 * handle is NULL or an entry point is missing. */
void orb_ewf_serv_LoadFunctions(void *handle, orb_vm_error_callback (**get_callback)(void),
                                orb_vm_error_callback (**set_callback)(orb_vm_error_callback),
                                unsigned (**get_mode)(void), unsigned (**set_mode)(unsigned),
                                void (**set_input)(const void *), int (**get_status)(void),
                                int (**set_status)(int), int *done);

ORB_END_DECLS

#endif
