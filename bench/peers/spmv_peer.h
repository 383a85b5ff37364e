/* What orb-bench asks of a sparse peer module: the product y := A x of a
 * zero-based CSR matrix (one row-pointer array) with 32-bit indices, built
 * once in the peer's own form.  Each peer is a module of its own, loaded with
 * dlopen, so that the benchmark itself links no peer. */
#ifndef ORB_BENCH_SPMV_PEER_H
#define ORB_BENCH_SPMV_PEER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The peer's matrix, or NULL (the peer's reason in `why`, 200 bytes). */
typedef void *(*orb_peer_spmv_open_fn)(int32_t rows, int32_t cols, const int32_t *ptr, const int32_t *col,
                                       const double *val, int threads, char *why);
typedef void (*orb_peer_spmv_run_fn)(void *matrix, const double *x, double *y);
typedef void (*orb_peer_spmv_close_fn)(void *matrix);
/* A line about the peer: its version and how it runs. */
typedef const char *(*orb_peer_spmv_about_fn)(void);

#ifdef __cplusplus
}
#endif

#endif
