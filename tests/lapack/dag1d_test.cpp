// The look-ahead scheduler of the one-dimensional LU scheme replays the
// worked tables beside it (core/lapack/dag1d.cpp): 6 block columns, 4
// panels, depth 1, a job taking one unit per step and block column and a
// panel two more, threads finishing together asking in number order.
#include <orb/internal/orb_lapack_kernels.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

//! "time thread job" for every job handed out, "U1 c2-4" or "U0 c1, P1".
std::vector<std::string> replay(ORB_INT threads) {
  const ORB_INT nt = 6, last = 4, params[2] = {1, 1000000000};
  std::vector<char> state(static_cast<size_t>(orb_lapack_dag1d_state_bytes(nt)));
  orb_lapack_dag1d_init(state.data(), nt, last, params);
  std::vector<orb_lapack_dag1d_view> views(threads);
  std::vector<long> free_at(threads, 0);
  std::vector<bool> finished(threads, false);
  for (ORB_INT i = 0; i < threads; ++i) EXPECT_EQ(orb_lapack_dag1d_task_init(state.data(), i, threads, &views[i]), 0);
  std::vector<std::string> jobs;
  for (int asked = 0; asked < 1000; ++asked) {
    int who = -1;
    for (int i = 0; i < threads; ++i)
      if (!finished[i] && (who < 0 || free_at[i] < free_at[who])) who = i;
    if (who < 0) return jobs;
    const long now = free_at[who];
    const ORB_INT code = orb_lapack_dag1d_task_commit_assign(state.data(), &views[who]);
    if (code < 0) {
      finished[who] = true;
      continue;
    }
    if (code == 0) {  // waits for the next thread to finish
      long next = -1;
      for (int i = 0; i < threads; ++i)
        if (!finished[i] && free_at[i] > now && (next < 0 || free_at[i] < next)) next = free_at[i];
      free_at[who] = next < 0 ? now + 1 : next;
      continue;
    }
    ORB_INT s0, s1, c0, c1;
    orb_lapack_dag1d_task_query(state.data(), &views[who], &s0, &s1, &c0, &c1);
    std::string job = std::to_string(now) + " " + std::to_string(who) + " U" + std::to_string(s0);
    if (s1 - s0 > 1) job += "-" + std::to_string(s1 - 1);
    job += " c" + std::to_string(c0);
    if (c1 - c0 > 1) job += "-" + std::to_string(c1 - 1);
    if (code == 2) job += ", P" + std::to_string(c0);
    jobs.push_back(job);
    free_at[who] = now + (s1 - s0) * (c1 - c0) + (code == 2 ? 2 : 0);
  }
  ADD_FAILURE() << "the scheduler never said the factorization was done";
  return jobs;
}

TEST(Dag1d, TwoThreadsFollowTheWorkedTable) {
  EXPECT_EQ(replay(2), (std::vector<std::string>{"0 0 U0 c1, P1", "0 1 U0 c2", "1 1 U0 c3-4", "3 0 U1 c2, P2",
                                                  "3 1 U1 c3", "4 1 U1 c4", "5 1 U0-1 c5", "6 0 U2 c3, P3",
                                                  "7 1 U2 c4", "8 1 U2 c5", "9 0 U3 c4", "9 1 U3 c5"}));
}

TEST(Dag1d, FourThreadsFollowTheWorkedTable) {
  EXPECT_EQ(replay(4), (std::vector<std::string>{"0 0 U0 c1, P1", "0 1 U0 c2", "0 2 U0 c3", "0 3 U0 c4",
                                                  "1 1 U0 c5", "3 0 U1 c2, P2", "3 1 U1 c3", "3 2 U1 c4",
                                                  "3 3 U1 c5", "6 0 U2 c3, P3", "6 1 U2 c4", "6 2 U2 c5",
                                                  "9 0 U3 c4", "9 1 U3 c5"}));
}

// One block column to update and more threads than that: the extra threads
// have nothing to do; one panel only (last = 1): every column gets step 0.
TEST(Dag1d, ExtraThreadsAndASinglePanel) {
  const ORB_INT nt = 2, params[2] = {1, 1000000000};
  std::vector<char> state(static_cast<size_t>(orb_lapack_dag1d_state_bytes(nt)));
  orb_lapack_dag1d_init(state.data(), nt, 1, params);
  orb_lapack_dag1d_view a, b;
  EXPECT_EQ(orb_lapack_dag1d_task_init(state.data(), 0, 2, &a), 0);
  EXPECT_EQ(orb_lapack_dag1d_task_init(state.data(), 1, 2, &b), -1);
  EXPECT_EQ(orb_lapack_dag1d_task_commit_assign(state.data(), &a), 1);
  EXPECT_EQ(a.step_first, 0);
  EXPECT_EQ(a.step_end, 1);
  EXPECT_EQ(a.col_first, 1);
  EXPECT_EQ(orb_lapack_dag1d_task_commit_assign(state.data(), &a), -1);
}

}  // namespace
