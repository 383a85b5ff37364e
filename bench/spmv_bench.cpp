// `orb-bench spmv`: y := A x for a general CSR matrix through orb's analysed
// handle (threaded), orb's own sequential row kernel on the whole matrix, the
// threaded librsb on as many threads, and Eigen's sequential product, on
// generated matrices that stand for the common classes:
//
//   lap2d     5-point Laplacian of a square grid (10^6 rows; --quick 10^5)
//   lap3d     27-point Laplacian of a cube (10^6 rows; --quick 10^5)
//   band9     9 diagonals
//   powerlaw  random columns, row lengths falling as a power of the row's
//             rank (a few rows of thousands of entries, most of a few)
//   small     5-point Laplacian of 10^4 rows
//
// Each row gives GFLOPS (2 x entries per product over each library's best
// call) and orb's ratios to its own sequential kernel and to the fastest peer,
// paired round by round.  Under it: the bytes orb's product moves per second
// (values and indices once, x and y once) as a fraction of the copy bandwidth
// measured in the same run with orb's threaded dcopy, and the analysis time
// in units of orb's product.  A last column analyses the matrix with copies
// allowed, so that the analysis may pick a sliced layout, and its line counts
// the bytes of that layout.  Every library's y is checked against the
// sequential kernel's.  The peers are modules of their own (bench/peers/),
// loaded with dlopen; a missing one is "n/a".
#include "spmv_bench.hpp"

#include "libraries.hpp"
#include "measure.hpp"
#include "orb_sparse_names.hpp"
#include "routine_table.hpp"
#include "peers/spmv_peer.h"

#include <orb/internal/orb_sparse_kernels.h>
#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_blas.h>
#include <orb/orb_service.h>
#include <orb/orb_sparse.h>

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>

namespace orb::bench {
namespace {

struct Csr {
  Csr(const char *label, int32_t r, int32_t c) : name(label), rows(r), cols(c) {}
  std::string name;
  int32_t rows = 0, cols = 0;
  std::vector<int32_t> ptr{0}, col;
  std::vector<double> val;
  void end_row() { ptr.push_back(static_cast<int32_t>(col.size())); }
  void add(int64_t j, double v) { col.push_back(static_cast<int32_t>(j)), val.push_back(v); }
  int64_t entries() const { return static_cast<int64_t>(col.size()); }
};

Csr laplacian_2d(int32_t n, const char *name) {
  Csr a(name, n * n, n * n);
  for (int32_t i = 0; i < n; ++i)
    for (int32_t j = 0; j < n; ++j) {
      if (i > 0) a.add((i - 1) * n + j, -1);
      if (j > 0) a.add(i * n + j - 1, -1);
      a.add(i * n + j, 4);
      if (j + 1 < n) a.add(i * n + j + 1, -1);
      if (i + 1 < n) a.add((i + 1) * n + j, -1);
      a.end_row();
    }
  return a;
}

Csr laplacian_3d(int32_t k) {
  Csr a("lap3d", k * k * k, k * k * k);
  for (int32_t x = 0; x < k; ++x)
    for (int32_t y = 0; y < k; ++y)
      for (int32_t z = 0; z < k; ++z) {
        for (int dx = -1; dx <= 1; ++dx)
          for (int dy = -1; dy <= 1; ++dy)
            for (int dz = -1; dz <= 1; ++dz) {
              const int32_t u = x + dx, v = y + dy, w = z + dz;
              if (u < 0 || v < 0 || w < 0 || u >= k || v >= k || w >= k) continue;
              a.add((int64_t{u} * k + v) * k + w, dx == 0 && dy == 0 && dz == 0 ? 26.0 : -1.0);
            }
        a.end_row();
      }
  return a;
}

Csr banded(int32_t n) {
  Csr a("band9", n, n);
  for (int32_t i = 0; i < n; ++i) {
    for (int d = -4; d <= 4; ++d)
      if (i + d >= 0 && i + d < n) a.add(i + d, d == 0 ? 8.0 : -0.5);
    a.end_row();
  }
  return a;
}

//! Row r has about 2000 / (r' + 1)^0.75 entries (at least 2), r' being r's rank
//! in a fixed shuffle: heavy rows scattered among light ones.
Csr power_law(int32_t n) {
  Csr a("powerlaw", n, n);
  std::mt19937_64 gen(12345);
  std::vector<int32_t> rank(static_cast<size_t>(n));
  for (int32_t i = 0; i < n; ++i) rank[i] = i;
  std::shuffle(rank.begin(), rank.end(), gen);
  std::uniform_int_distribution<int32_t> pick(0, n - 1);
  std::vector<int32_t> cols;
  for (int32_t i = 0; i < n; ++i) {
    const int64_t len = std::max<int64_t>(2, static_cast<int64_t>(2000.0 / std::pow(rank[i] + 1.0, 0.75)));
    cols.clear();
    for (int64_t k = 0; k < len; ++k) cols.push_back(pick(gen));
    std::sort(cols.begin(), cols.end());
    cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
    for (const int32_t j : cols) a.add(j, 1.0 / (1 + (j % 7)));
    a.end_row();
  }
  return a;
}

//! A peer module's four entries; missing says why it cannot be used.
struct Peer {
  orb_peer_spmv_open_fn open = nullptr;
  orb_peer_spmv_run_fn run = nullptr;
  orb_peer_spmv_close_fn close = nullptr;
  GemmLibrary lib;
};

Peer load_peer(const char *file, const char *key, const char *label, int threads) {
  Peer p;
  p.lib.key = key;
  p.lib.label = label;
  p.lib.peer = true;
  p.lib.threads = threads;
  p.lib.path = std::string(ORB_BENCH_PEER_DIR) + "/" + file;
  void *h = dlopen(p.lib.path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!h) {
    p.lib.missing = std::string("not built or not loadable: ") + dlerror();
    return p;
  }
  p.open = reinterpret_cast<orb_peer_spmv_open_fn>(dlsym(h, "orb_peer_spmv_open"));
  p.run = reinterpret_cast<orb_peer_spmv_run_fn>(dlsym(h, "orb_peer_spmv_run"));
  p.close = reinterpret_cast<orb_peer_spmv_close_fn>(dlsym(h, "orb_peer_spmv_close"));
  const auto about = reinterpret_cast<orb_peer_spmv_about_fn>(dlsym(h, "orb_peer_spmv_about"));
  if (!p.open || !p.run || !p.close || !about)
    p.lib.missing = "incomplete module";
  else
    p.lib.about = about();
  return p;
}

//! Best-of copy bandwidth in GB/s (bytes read plus bytes written) of orb's
//! threaded dcopy over two arrays of `n` doubles.
double copy_bandwidth(long n) {
  std::vector<double> a(static_cast<size_t>(n), 1.0), b(static_cast<size_t>(n), 0.0);
  const ORB_INT len = n, one = 1;
  double best = 1e30;
  for (int rep = 0; rep < 10; ++rep) {
    const double t0 = now_s();
    orb_blas_dcopy(&len, a.data(), &one, b.data(), &one);
    best = std::min(best, now_s() - t0);
  }
  return 16.0 * static_cast<double>(n) / best * 1e-9;
}

void measure_matrix(const SpmvOptions &o, const Csr &a, const OrbSparse &orb, std::vector<GemmLibrary> &libs,
                    std::vector<Peer> &peers, double copy_gbs, int &status) {
  const orb_sparse_descr general{ORB_SPARSE_GENERAL, 0, 0};
  std::vector<double> x(static_cast<size_t>(a.cols));
  for (int32_t j = 0; j < a.cols; ++j) x[j] = 1.0 + 1.0 / (1 + j % 13);
  std::vector<std::vector<double>> y(libs.size(), std::vector<double>(static_cast<size_t>(a.rows)));
  std::vector<std::function<void()>> calls(libs.size());
  std::vector<void *> opened(libs.size(), nullptr);

  // orb twice: analysed as it is (CSR), and with copies allowed (the
  // analysis may convert it to a sliced layout), the last column.
  orb_sparse_matrix handles[2] = {nullptr, nullptr};
  double analysis_s[2] = {NAN, NAN};
  const size_t with_copies = libs.size() - 1;
  for (int v = 0; v < 2; ++v) {
    orb_sparse_matrix &A = handles[v];
    if (!libs[0].available() ||
        orb.create(&A, 0, a.rows, a.cols, const_cast<int32_t *>(a.ptr.data()), const_cast<int32_t *>(a.col.data()),
                   const_cast<double *>(a.val.data())) != 0)
      continue;
    const double t0 = now_s();
    if ((v == 0 || orb.memory(A, ORB_SPARSE_MEMORY_COPIES) == 0) && orb.hint(A, ORB_SPARSE_OP_N, general, 1000) == 0 &&
        orb.optimize(A) == 0)
      analysis_s[v] = now_s() - t0;
    const size_t i = v == 0 ? 0 : with_copies;
    calls[i] = [&, i, A] { orb.mv(ORB_SPARSE_OP_N, 1.0, A, general, x.data(), 0.0, y[i].data()); };
  }
  calls[1] = [&] {
    orb_sparse_d_csr_ng_n_mv_ker_i4(a.rows, 1.0, a.val.data(), a.col.data(), a.ptr.data(), x.data(), y[1].data());
  };
  for (size_t i = 2; i < with_copies; ++i) {
    Peer &p = peers[i - 2];
    if (!libs[i].available()) continue;
    char why[200] = "";
    opened[i] = p.open(a.rows, a.cols, a.ptr.data(), a.col.data(), a.val.data(), libs[i].threads, why);
    if (!opened[i]) {
      std::fprintf(stderr, "orb-bench spmv: %s on %s: %s\n", libs[i].label.c_str(), a.name.c_str(), why);
      continue;
    }
    calls[i] = [&, i] { p.run(opened[i], x.data(), y[i].data()); };
  }
  const double flops = 2.0 * static_cast<double>(a.entries());
  double orb_best = NAN, copies_best = NAN;
  time_row(libs, calls, a.name.c_str(), a.rows, o.target_s, o.rounds, [&](size_t i, double best_s) {
    std::printf("  %11.2f GF", flops / best_s * 1e-9);
    if (i == 0) orb_best = best_s;
    if (i == with_copies) copies_best = best_s;
  });
  // Every answer against the sequential kernel's.
  for (size_t i = 0; i < libs.size(); ++i) {
    if (!calls[i] || i == 1) continue;
    double worst = 0;
    for (int32_t r = 0; r < a.rows; ++r)
      worst = std::max(worst, std::abs(y[i][r] - y[1][r]) / (1e-300 + std::abs(y[1][r]) + 1.0));
    if (worst > 1e-12) {
      std::fprintf(stderr, "orb-bench spmv: %s on %s differs from the sequential kernel by %.3g\n",
                   libs[i].label.c_str(), a.name.c_str(), worst);
      status = 1;
    }
  }
  const double bytes = 12.0 * static_cast<double>(a.entries()) + 4.0 * (a.rows + 1) + 8.0 * a.rows + 8.0 * a.cols;
  std::printf("       %ld entries; orb moves %.1f GB/s, %.2f of the copy bandwidth; analysis %.1f products\n",
              static_cast<long>(a.entries()), bytes / orb_best * 1e-9, bytes / orb_best * 1e-9 / copy_gbs,
              analysis_s[0] / orb_best);
  if (handles[1]) {
    // The bytes of the layout the analysis chose: ESB 8 + 4 per stored
    // position (padding included), DIA 8 a position and 4 a segment, each
    // with its slice pointers; CSR as above.
    const auto *r = sparse::handle_cast<double, int32_t>(handles[1])->primary;
    const auto *esb = r->opt ? static_cast<const sparse::SlicedData<double, int32_t> *>(r->opt->esb) : nullptr;
    const auto *dia = r->opt ? static_cast<const sparse::SlicedData<double, int32_t> *>(r->opt->dia) : nullptr;
    const auto *sliced = esb ? esb : dia;
    double moved = bytes;
    if (sliced) {
      const double units = sliced->start[sliced->slices], per = esb ? 12.0 * sparse::kSliceRows
                                                                   : 8.0 * sparse::kSliceRows + 4.0;
      moved = units * per + 4.0 * (sliced->slices + 1) + 8.0 * a.rows + 8.0 * a.cols;
    }
    std::printf("       with copies: %s, %.1f MB a product, %.1f GB/s, %.2f of the copy bandwidth; analysis %.1f\n",
                esb ? "ESB" : dia ? "DIA" : "CSR", moved * 1e-6, moved / copies_best * 1e-9,
                moved / copies_best * 1e-9 / copy_gbs, analysis_s[1] / copies_best);
  }
  for (size_t i = 2; i < with_copies; ++i)
    if (opened[i]) peers[i - 2].close(opened[i]);
  for (orb_sparse_matrix A : handles)
    if (A) orb.destroy(A);
}

//! m rows over n columns, row r holding `len(r)` distinct random columns.
template <class Length>
Csr random_rows(const char *name, int32_t m, int32_t n, uint64_t seed, Length len) {
  Csr a(name, m, n);
  std::mt19937_64 gen(seed);
  std::uniform_int_distribution<int32_t> pick(0, n - 1);
  std::vector<int32_t> cols;
  for (int32_t i = 0; i < m; ++i) {
    cols.clear();
    for (int64_t k = len(i, gen); k > 0; --k) cols.push_back(pick(gen));
    std::sort(cols.begin(), cols.end());
    cols.erase(std::unique(cols.begin(), cols.end()), cols.end());
    for (const int32_t j : cols) a.add(j, 1.0 / (1 + (j % 5)));
    a.end_row();
  }
  return a;
}

//! C := A^T A (beta 0, row-major C of n x n) through orb's handle, threaded,
//! and through the core's sequential kernel; GFLOPS count 2 len^2 per row.
void measure_syrkd(const SpmvOptions &o, const Csr &a, const OrbSparse &orb, std::vector<GemmLibrary> &libs,
                   int &status) {
  const size_t n = static_cast<size_t>(a.cols);
  std::vector<std::vector<double>> c(libs.size(), std::vector<double>(n * n, 0.0));
  std::vector<std::function<void()>> calls(libs.size());
  orb_sparse_matrix A = nullptr;
  if (libs[0].available() &&
      orb.create(&A, 0, a.rows, a.cols, const_cast<int32_t *>(a.ptr.data()), const_cast<int32_t *>(a.col.data()),
                 const_cast<double *>(a.val.data())) == 0)
    calls[0] = [&] { orb.syrkd(A, 1.0, 0.0, c[0].data(), ORB_SPARSE_BLOCK_ROW_MAJOR, a.cols); };
  calls[1] = [&] {
    orb_sparse_d_csr__g_t_syrkd_c_ker_i4(a.rows, a.cols, 1.0, a.val.data(), a.col.data(), a.ptr.data(),
                                         a.ptr.data() + 1, 0, 0.0, c[1].data(), a.cols);
  };
  // Each answer from a zero C: the part left of the diagonal only accumulates.
  for (size_t i = 0; i < libs.size(); ++i)
    if (calls[i]) calls[i]();
  double worst = 0;
  for (size_t e = 0; calls[0] && e < n * n; ++e)
    worst = std::max(worst, std::abs(c[0][e] - c[1][e]) / (std::abs(c[1][e]) + 1.0));
  if (worst > 1e-12) {
    std::fprintf(stderr, "orb-bench syrkd: orb on %s differs from the sequential kernel by %.3g\n", a.name.c_str(),
                 worst);
    status = 1;
  }
  double flops = 0;
  for (int32_t i = 0; i < a.rows; ++i) flops += 2.0 * std::pow(static_cast<double>(a.ptr[i + 1] - a.ptr[i]), 2);
  time_row(libs, calls, a.name.c_str(), a.rows, o.target_s, o.rounds,
           [&](size_t, double best_s) { std::printf("  %11.2f GF", flops / best_s * 1e-9); });
  std::printf("       %ld entries over %d columns; C of %.0f MB\n", static_cast<long>(a.entries()), a.cols,
              8e-6 * static_cast<double>(n * n));
  if (A) orb.destroy(A);
}

//! orb through its handles, then orb's own sequential kernel: the first two
//! libraries of both sparse tables.
std::vector<GemmLibrary> orb_pair(int threads, const char *about, const char *serial_about) {
  std::vector<GemmLibrary> libs{orb_library(threads), GemmLibrary{}};
  libs[0].about = about;
  libs[1].key = "serial";
  libs[1].label = "orb sequential";
  libs[1].about = serial_about;
  return libs;
}

}  // namespace

const char *spmv_usage() {
  return "usage: orb-bench spmv [--quick] [--threads N] [--time S] [--rounds R]\n"
         "  --quick        matrices of 10^5 rows (and the small one), a shorter time per measurement\n"
         "  --threads N    thread count of orb and of the threaded peer (default: orb's budget)\n"
         "  --time S       timed seconds per library and matrix (default 1; 0.2 with --quick)\n"
         "  --rounds R     interleaved batches per library (default 10; 5 with --quick)\n";
}

bool parse_spmv_options(const std::vector<std::string> &args, SpmvOptions &o, std::string &error) {
  return parse_routine_options(args, o, 0.2, 5, {}, [](const std::string &, const std::string &) { return false; },
                               error);
}

int spmv_main(const std::vector<std::string> &args) {
  SpmvOptions o;
  if (!start_subcommand("spmv", args, o, parse_spmv_options, spmv_usage())) return 2;
  const int threads = orb_serv_get_max_threads();
  std::vector<GemmLibrary> libs = orb_pair(threads, "analysed handle, threaded general CSR product",
                                           "orb's row kernel over the whole matrix, calling thread");
  const OrbSparse orb(libs[0]);
  std::vector<Peer> peers;
  peers.push_back(load_peer("liborb_bench_rsb.so", "rsb", "librsb", threads));
  peers.push_back(load_peer("liborb_bench_eigen.so", "eigen", "Eigen", 1));
  for (const Peer &p : peers) libs.push_back(p.lib);
  GemmLibrary copies = libs[0];
  copies.key = "orb-copies";
  copies.label = "orb copies";
  copies.about = "analysed with copies allowed: the sliced layout (ESB, DIA) the analysis picks";
  libs.push_back(copies);
  const double copy_gbs = copy_bandwidth(o.quick ? (1L << 23) : (1L << 26));
  std::printf("y := A x, general CSR, double, 32-bit indices, %d threads; GFLOPS from each library's best call;\n"
              "ratios: orb over its sequential kernel and over the fastest peer, paired round by round;\n"
              "copy bandwidth (orb's threaded dcopy): %.1f GB/s\n\n",
              threads, copy_gbs);
  print_libraries(libs, "rows");
  int status = 0;
  const int32_t big = o.quick ? 100000 : 1000000;
  const auto side = [](double n, double power) { return static_cast<int32_t>(std::lround(std::pow(n, power))); };
  measure_matrix(o, laplacian_2d(side(big, 0.5), "lap2d"), orb, libs, peers, copy_gbs, status);
  measure_matrix(o, laplacian_3d(side(big, 1.0 / 3)), orb, libs, peers, copy_gbs, status);
  measure_matrix(o, banded(big), orb, libs, peers, copy_gbs, status);
  measure_matrix(o, power_law(big), orb, libs, peers, copy_gbs, status);
  measure_matrix(o, laplacian_2d(100, "small"), orb, libs, peers, copy_gbs, status);
  return status;
}

}  // namespace orb::bench

namespace orb::bench {

const char *syrkd_usage() {
  return "usage: orb-bench syrkd [--quick] [--threads N] [--time S] [--rounds R]\n"
         "  --quick        20000 rows instead of 200000, a shorter time per measurement\n"
         "  --threads N    orb's thread count (default: its budget)\n"
         "  --time S       timed seconds per library and matrix (default 1; 0.2 with --quick)\n"
         "  --rounds R     interleaved batches per library (default 10; 5 with --quick)\n";
}

int syrkd_main(const std::vector<std::string> &args) {
  SpmvOptions o;
  if (!start_subcommand("syrkd", args, o, parse_spmv_options, syrkd_usage())) return 2;
  std::vector<GemmLibrary> libs = orb_pair(orb_serv_get_max_threads(),
                                           "handle, rows in 2T parts adding into C with compare-and-exchange",
                                           "orb's sequential kernel, calling thread");
  const OrbSparse orb(libs[0]);
  std::printf("C := A^T A, CSR A, dense row-major C, double, 32-bit indices, %d threads; GFLOPS (2 len^2 a row)\n"
              "from each library's best call; ratio: orb over its sequential kernel, paired round by round\n\n",
              orb_serv_get_max_threads());
  print_libraries(libs, "rows");
  int status = 0;
  const int32_t m = o.quick ? 20000 : 200000, n = 2000;
  measure_syrkd(o, random_rows("rand8", m, n, 11, [](int32_t, std::mt19937_64 &) { return int64_t{8}; }), orb, libs,
                status);
  // Row lengths falling as a power of a random rank: a few rows of hundreds of entries.
  measure_syrkd(o,
                random_rows("skewed", m, n, 12,
                            [](int32_t, std::mt19937_64 &g) {
                              const double u = std::uniform_real_distribution<double>(0.0, 1.0)(g);
                              return std::max<int64_t>(2, static_cast<int64_t>(2.0 / std::pow(u + 1e-4, 0.6)));
                            }),
                orb, libs, status);
  return status;
}

}  // namespace orb::bench
