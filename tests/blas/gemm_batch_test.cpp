// The batch drivers: runs of products per group, the order of the groups,
// the matrix-vector batch, and results in every precision and name form, with
// and without scratch.  A small product reaches orb_blas_x?gemm once, with its own C.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "batch.hpp"
#include "blas_api.hpp"
#include "interpose.hpp"

namespace orb::test {
namespace {

//! Runs a batch through the threaded driver with group arrays of width I,
//! optionally without the A and B pointer arrays.
template <class I, class T>
void run_driver(BatchCase<T> &batch, bool operands = true) {
  auto v = batch.template arrays<I>();
  Api<T>::driver_gemm_batch(batch.ta.data(), batch.tb.data(), v.m.data(), v.n.data(), v.k.data(), batch.alpha.data(),
                            operands ? batch.ap.data() : nullptr, v.lda.data(), operands ? batch.bp.data() : nullptr,
                            v.ldb.data(), batch.beta.data(), batch.cp.data(), v.ldc.data(), &v.count, v.size.data(),
                            sizeof(I) == 4);
}

//! The product number of each recorded kernel call, by the C it wrote.
std::vector<int64_t> products(const std::vector<GemmCall> &calls, const BatchCase<double> &batch) {
  std::map<const void *, int64_t> number;
  for (size_t i = 0; i < batch.cp.size(); ++i) number[batch.cp[i]] = static_cast<int64_t>(i);
  std::vector<int64_t> out;
  for (const GemmCall &call : calls) out.push_back(number.at(call.c));
  return out;
}

// 1000 products of one group with a budget of 4: four runs of 250 (one of
// 1000 on the caller with a budget of 1), each computed by one thread in
// order, every product once.
TEST(GemmBatchCalls, ContiguousRunsOf250OnFourWorkers) {
  for (const int budget : {4, 1}) {
    SCOPED_TRACE(budget);
    BatchCase<double> batch({{'N', 'N', 4, 4, 4, 1000}});
    const Budget b(budget);
    observe();
    run_driver<int64_t>(batch);
    const Observed seen = observed();
    std::vector<int64_t> order = products(seen.gemm, batch);
    ASSERT_EQ(order.size(), 1000u);
    std::map<std::thread::id, std::vector<int64_t>> by_thread;
    for (size_t i = 0; i < order.size(); ++i) by_thread[seen.gemm[i].thread].push_back(order[i]);
    const int64_t run = budget == 4 ? 250 : 1000;
    for (const auto &[thread, mine] : by_thread)
      for (size_t i = 0; i < mine.size(); ++i)
        ASSERT_EQ(mine[i], i % run == 0 ? mine[i] - mine[i] % run : mine[i - 1] + 1) << "position " << i;
    if (budget == 1) {
      EXPECT_EQ(by_thread.begin()->first, std::this_thread::get_id());
    }
    std::sort(order.begin(), order.end());
    for (int64_t i = 0; i < 1000; ++i) ASSERT_EQ(order[i], i);
    EXPECT_TRUE(batch.matches());
  }
}

// Groups run in order, each finished before the next begins; empty groups
// take no products and no pointers.
TEST(GemmBatchCalls, GroupsInOrderEmptyGroupsSkipped) {
  BatchCase<double> batch({{'N', 'N', 3, 3, 3, 0}, {'T', 'N', 4, 2, 3, 300}, {'N', 'T', 2, 5, 1, 0},
                           {'N', 'N', 5, 3, 2, 260}});
  const Budget b(4);
  observe();
  run_driver<int>(batch);
  const std::vector<int64_t> order = products(observed().gemm, batch);
  ASSERT_EQ(order.size(), 560u);
  EXPECT_LT(*std::max_element(order.begin(), order.begin() + 300), 300);
  EXPECT_GE(*std::min_element(order.begin() + 300, order.end()), 300);
  EXPECT_TRUE(batch.matches());
}

// Every group a matrix-vector product (n = 1, B as stored): the sequential
// GEMV, product by product, on the calling thread.  k = 0 stays a product,
// so that C is still scaled by beta; a transposed B stays a product too.  A
// lone product goes to the threaded GEMM, which cuts a 200 x 200 C in four.
TEST(GemmBatchCalls, MatrixVectorBatchOnTheCallingThreadLoneProductThreaded) {
  struct Shape {
    std::vector<BatchGroup> groups;
    size_t gemv, gemm;
    bool on_caller;
  };
  const std::vector<Shape> shapes = {
      {{{'N', 'N', 300, 1, 200, 150}, {'T', 'n', 7, 1, 5, 3}}, 153, 0, true},
      {{{'N', 'N', 6, 1, 0, 130, 1, 2}}, 0, 130, false},
      {{{'N', 'N', 6, 1, 4, 130}, {'N', 'T', 6, 1, 4, 2}}, 132, 0, false},  // the threaded GEMM's own shortcut
      {{{'N', 'N', 200, 200, 50, 1}}, 0, 4, false},
  };
  for (const Shape &s : shapes) {
    BatchCase<double> batch(s.groups);
    const Budget b(4);
    observe();
    run_driver<int64_t>(batch);
    const Observed seen = observed();
    EXPECT_EQ(seen.gemv.size(), s.gemv);
    EXPECT_EQ(seen.gemm.size(), s.gemm);
    for (const GemvCall &call : seen.gemv) EXPECT_TRUE(!s.on_caller || call.thread == std::this_thread::get_id());
    EXPECT_TRUE(batch.matches());
  }
}

// alpha = 0 reads neither A nor B, so a batch may leave their arrays out;
// beta still scales every C, on the matrix-vector path too.  Callers on
// several threads at once each get their own products.
TEST(GemmBatchCalls, AlphaZeroNeedsNoOperandArraysConcurrentCallers) {
  for (const int n : {4, 1}) {
    BatchCase<double> batch({{'N', 'N', 5, n, 3, 2, 0, 2}, {'T', 'N', 4, n, 6, 200, 0, -1}});
    const Budget b(4);
    run_driver<int64_t>(batch, false);
    EXPECT_TRUE(batch.matches()) << "n = " << n;
  }
  std::vector<BatchCase<double>> batches;
  for (int t = 0; t < 4; ++t) batches.emplace_back(std::vector<BatchGroup>{{'N', 'T', 8, 6, 5, 300, 1, t}});
  std::vector<std::thread> callers;
  for (auto &batch : batches) callers.emplace_back([&batch] { run_driver<int64_t>(batch); });
  for (auto &caller : callers) caller.join();
  for (const auto &batch : batches) EXPECT_TRUE(batch.matches());
}

// Results in every precision through every name form, with and without
// scratch (row-major CBLAS lists the twin's letters in it, or goes group by
// group): mixed transpositions and scalars, an empty group, a lone
// matrix-vector group.
TYPED_TEST(Results, GemmBatch) {
  using T = TypeParam;
  const cld a(0.5, -1), b(-1.5, 0.25);
  const std::vector<BatchGroup> groups = {{'N', 'T', 9, 7, 5, 3, a, b}, {'T', 'C', 6, 8, 4, 0, a, b},
                                          {'C', 'T', 5, 6, 7, 140, b, 0}, {'N', 'N', 8, 1, 6, 2, 1, a}};
  for (const bool fail_alloc : {false, true}) {
    for (const Form form : kForms) {
      BatchCase<T> batch(groups);
      observe(fail_alloc);
      call_batch(form, batch);
      observed();
      EXPECT_TRUE(batch.matches()) << form_name(form) << (fail_alloc ? " without scratch" : "");
    }
    // The strided batch through its 32-bit name, A shared (stride 0); its
    // pointer lists live in scratch.
    BatchCase<T> batch({{'T', 'N', 6, 5, 4, 200, b, a}});
    const int m = 6, n = 5, k = 4, lda = 5, ldb = 5, ldc = 7, zero = 0, stride = 40, count = 200;
    std::vector<T> bs(stride * count), cs(stride * count);
    for (int i = 0; i < count; ++i) {
      batch.a[i] = batch.a[0];
      std::copy(batch.b[i].begin(), batch.b[i].end(), bs.begin() + i * stride);
      std::copy(batch.c0[i].begin(), batch.c0[i].end(), cs.begin() + i * stride);
    }
    observe(fail_alloc);
    Api<T>::gemm_batch_strided32("T", "N", &m, &n, &k, &batch.alpha[0], batch.a[0].data(), &lda, &zero, bs.data(),
                                 &ldb, &stride, &batch.beta[0], cs.data(), &ldc, &stride, &count);
    observed();
    for (int i = 0; i < count; ++i)
      std::copy(cs.begin() + i * stride, cs.begin() + i * stride + ldc * n, batch.c[i].begin());
    EXPECT_TRUE(batch.matches()) << (fail_alloc ? "strided without scratch" : "strided");
  }
}

}  // namespace
}  // namespace orb::test
