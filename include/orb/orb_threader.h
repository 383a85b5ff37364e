/* orb: loop threaders offered to the statistics and data-fitting modules.
 *
 * The core library's statistics (orb_stx_) and data-fitting (orb_df_) modules
 * create no threads of their own: they hand a loop to one of these services,
 * which decides how indices fall onto the task runtime's threads and calls
 * back once per index.  Both sets behave alike except for the loop service,
 * whose grouping of indices is described at its declaration.
 *
 * The callback receives
 *   index    - the loop index, 0 <= index < n (int: loops are 32-bit ranges);
 *   thread   - the thread number the service assigns to the call (int);
 *   nthreads - how many thread numbers the service hands out (int);
 *   context  - the caller's pointer, passed through unchanged.
 * Its int result is ignored, except by the ordered pass-through, which returns
 * it.  A NULL callback makes every service return without doing anything.  Calls of one loop run concurrently; the services add no locking, so a
 * callback must tolerate concurrent calls with different indices. */
#ifndef ORB_THREADER_H
#define ORB_THREADER_H

#include <orb/orb_types.h>

ORB_BEGIN_DECLS

typedef int (*orb_threader_fn)(int index, int thread, int nthreads, void *context);

/* ---- Statistics ------------------------------------------------------- */

/* Parallel loop over indices 0 .. n-1 asking for t threads (t <= 0: as many as
 * the current arena offers).  Loops are 32-bit ranges: n is read as an int
 * (its low 32 bits), and n < 1 does nothing.  With P the current arena's maximum concurrency:
 *   0 < t < P, t == n : callback(i, i, t, context) for every i;
 *   0 < t < P, t != n : indices are cut into K chunks of L = n / t + 1
 *                       consecutive indices (the last one shorter); chunk j
 *                       is run in increasing index order on one thread with
 *                       callback(i, j, K, context);
 *   otherwise         : callback(i, slot, T, context) where slot is the
 *                       running thread's slot in the arena (below P) and
 *                       T = P (T = t when t == P). */
void orb_stx_serv_threader_for(int64_t n, int t, void *context, orb_threader_fn callback);

/* callback(i, 0, 1, context) for i = 0 .. n-1 in order on the calling
 * thread; t is ignored. */
void orb_stx_serv_threader_for_ordered(int64_t n, int t, void *context, orb_threader_fn callback);

/* Runs callback(i, i, s, context) in parallel for i = 0 .. s-1, where s = m
 * when 1 <= m <= P and s = P otherwise (m = 0 runs P sections). */
void orb_stx_serv_threader_sections(int m, void *context, orb_threader_fn callback);

/* Returns callback(p1, p2, p3, p4) (0 for a NULL callback): an ordered region
 * needs no machinery, the loops that contain one are already run in order. */
int orb_stx_serv_threader_ordered(int p1, int p2, int p3, void *p4, orb_threader_fn callback);

/* The maximum concurrency of the calling thread's current arena. */
int orb_stx_serv_threader_get_num_threads_limit(void);

/* ---- Data fitting ----------------------------------------------------- */

/* As orb_stx_serv_threader_for, except that for 0 < t < P every index is its
 * own section: callback(i, i, n, context). */
void orb_df_serv_threader_for(int64_t n, int t, void *context, orb_threader_fn callback);
void orb_df_serv_threader_for_ordered(int64_t n, int t, void *context, orb_threader_fn callback);
void orb_df_serv_threader_sections(int m, void *context, orb_threader_fn callback);
int orb_df_serv_threader_ordered(int p1, int p2, int p3, void *p4, orb_threader_fn callback);
int orb_df_serv_threader_get_num_threads_limit(void);

ORB_END_DECLS

#endif
