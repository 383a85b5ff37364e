// The scheduler of the one-dimensional LU scheme: which thread updates which
// block columns with which steps, and when a panel is factored.
//
// The matrix is cut into nt block columns of nb columns.  Panel 0 is factored
// before the threads start.  Step s is the update of a block column right of
// panel s with that panel's interchanges, triangular solve and product; panel
// j (0 < j < last) is factored as soon as block column j has had steps
// 0 .. j - 1.  The panels are the critical path: each needs the one before,
// and only one thread at a time can work on it.  So the policy keeps the next
// panel ahead of the bulk of the updates (a look-ahead of depth d):
//
//   1. the block column of the next panel, as soon as the panel before it is
//      factored: its remaining steps, then the panel (job code 2);
//   2. otherwise the d block columns after it, one at a time, each with the
//      steps available so far, so that the panel after next is ready early;
//   3. otherwise a run of neighbouring block columns that wait for the same
//      steps, at most ceil(ready / threads) of them (and the cap of
//      params[1]), so that every thread finds a share of the bulk;
//   4. otherwise nothing yet (code 0: ask again), or everything done (-1).
//
// Who does what, nt = 6 block columns, last = 4 panels, depth 1, when a job
// takes one unit of time per step and block column and a panel two more
// (threads that finish together ask in the order of their numbers); "U1 c2-4"
// is step 1 applied to block columns 2 .. 4, "P2" the factorization of panel
// 2 (panel 0 is done when the threads start):
//
//   time  2 threads:  thread 0      thread 1
//   0                 U0 c1, P1     U0 c2        (rule 1; rule 2)
//   1                               U0 c3-4      (rule 3: 3 ready / 2 threads)
//   3                 U1 c2, P2     U1 c3
//   4                               U1 c4
//   5                               U0-1 c5
//   6                 U2 c3, P3
//   7                               U2 c4
//   8                               U2 c5
//   9                 U3 c4         U3 c5
//
//   time  4 threads:  thread 0      thread 1     thread 2     thread 3
//   0                 U0 c1, P1     U0 c2        U0 c3        U0 c4
//   1                               U0 c5        (waits)      (waits)
//   3                 U1 c2, P2     U1 c3        U1 c4        U1 c5
//   6                 U2 c3, P3     U2 c4        U2 c5        (waits)
//   9                 U3 c4         U3 c5        (waits)      (waits)
//
// Between jobs a thread commits the last one and asks for the next under the
// driver's mutex; the scheduler test replays both tables.
//
// State (nt x 8 + 56 bytes): seven words of header, then one word per block
// column: the number of steps it has had, and a busy bit while a job holds it.
#include <orb/internal/orb_lapack_kernels.h>

#include <cstdint>

namespace {

constexpr int64_t kBusy = int64_t{1} << 62;

struct State {
  int64_t nt, last, depth, max_cols;
  int64_t panels;      //!< panels factored: 0 .. panels - 1
  int64_t unfinished;  //!< block columns 1 .. nt - 1 not yet finished
  int64_t reserved;
  int64_t cols[1];  //!< steps applied (+ kBusy while held); nt entries
};
static_assert(sizeof(State) == 64, "seven header words and the first column");

State &state_of(void *p) { return *static_cast<State *>(p); }
const State &state_of(const void *p) { return *static_cast<const State *>(p); }

int64_t steps_of(const State &s, int64_t j) { return s.cols[j] & ~kBusy; }
bool busy(const State &s, int64_t j) { return (s.cols[j] & kBusy) != 0; }
//! The steps block column j must have: j (then its panel), or all of them.
int64_t target(const State &s, int64_t j) { return j < s.last ? j : s.last; }
//! The steps block column j can have now.
int64_t available(const State &s, int64_t j) {
  const int64_t t = target(s, j);
  return t < s.panels ? t : s.panels;
}
bool ready(const State &s, int64_t j) { return !busy(s, j) && steps_of(s, j) < available(s, j); }

int64_t assign(State &s, orb_lapack_dag1d_view &v, int64_t code, int64_t c0, int64_t c1) {
  v.code = code;
  v.step_first = steps_of(s, c0);
  v.step_end = code == 2 ? s.panels : available(s, c0);
  v.col_first = c0;
  v.col_end = c1;
  for (int64_t j = c0; j < c1; ++j) s.cols[j] |= kBusy;
  return code;
}

void commit(State &s, const orb_lapack_dag1d_view &v) {
  if (v.code < 1) return;
  for (int64_t j = v.col_first; j < v.col_end; ++j) {
    s.cols[j] = v.step_end;
    if (v.code == 2 || (j >= s.last && v.step_end == s.last)) --s.unfinished;
  }
  if (v.code == 2) s.panels = v.col_first + 1;
}

}  // namespace

extern "C" ORB_INT orb_lapack_dag1d_state_bytes(ORB_INT nt) { return nt * 8 + 56; }

extern "C" void orb_lapack_dag1d_init(void *state, ORB_INT nt, ORB_INT last, const ORB_INT *params) {
  State &s = state_of(state);
  s.nt = nt;
  s.last = last;
  s.depth = params && params[0] > 0 ? params[0] : 0;
  s.max_cols = params && params[1] > 0 ? params[1] : nt;
  s.panels = 1;
  s.unfinished = nt - 1;
  s.reserved = 0;
  for (int64_t j = 0; j < nt; ++j) s.cols[j] = 0;
}

extern "C" ORB_INT orb_lapack_dag1d_task_init(void *state, ORB_INT ithr, ORB_INT nthr, orb_lapack_dag1d_view *view) {
  const State &s = state_of(state);
  *view = orb_lapack_dag1d_view{ithr, nthr, 0, 0, 0, 0, 0};
  // More threads than block columns to update: the extra ones have nothing to do.
  return ithr > 0 && ithr >= s.nt - 1 ? -1 : 0;
}

extern "C" ORB_INT orb_lapack_dag1d_task_commit_assign(void *state, orb_lapack_dag1d_view *view) {
  State &s = state_of(state);
  commit(s, *view);
  const int64_t p = s.panels;
  // 1. The next panel.
  if (p < s.last && !busy(s, p)) return assign(s, *view, 2, p, p + 1);
  // 2. The look-ahead columns, one at a time (from the next panel's
  // neighbour; once every panel is factored, from the first trailing column).
  const int64_t ahead = p < s.last ? p + 1 : p;
  const int64_t ahead_end = ahead + s.depth < s.nt ? ahead + s.depth : s.nt;
  for (int64_t j = ahead; j < ahead_end; ++j)
    if (ready(s, j)) return assign(s, *view, 1, j, j + 1);
  // 3. A share of the bulk: a run of columns waiting for the same steps.
  int64_t waiting = 0, first = -1;
  for (int64_t j = ahead_end; j < s.nt; ++j)
    if (ready(s, j)) {
      ++waiting;
      if (first < 0) first = j;
    }
  if (first >= 0) {
    int64_t cap = (waiting + view->nthr - 1) / (view->nthr > 0 ? view->nthr : 1);
    if (cap > s.max_cols) cap = s.max_cols;
    int64_t end = first + 1;
    while (end < s.nt && end - first < cap && ready(s, end) && steps_of(s, end) == steps_of(s, first) &&
           available(s, end) == available(s, first))
      ++end;
    return assign(s, *view, 1, first, end);
  }
  // 4. Nothing to hand out.
  view->code = s.unfinished == 0 && p >= s.last ? -1 : 0;
  return view->code;
}

extern "C" void orb_lapack_dag1d_task_query(const void *, const orb_lapack_dag1d_view *view, ORB_INT *s0, ORB_INT *s1,
                                            ORB_INT *c0, ORB_INT *c1) {
  *s0 = view->step_first;
  *s1 = view->step_end;
  *c0 = view->col_first;
  *c1 = view->col_end;
}
