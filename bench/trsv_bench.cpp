// `orb-bench trsv`: the analysed sparse triangular solve y := inv(L) x and
// the symmetric Gauss-Seidel sweep pair through orb's handles, on the lower
// triangle of the 5-point 2-D Laplacian and of the 27-point 3-D Laplacian
// (10^6 rows; --quick 10^5), against the same analysed data swept as one
// part on the calling thread.
//
// Each row gives millions of rows solved per second (a sweep pair counts its
// rows twice) and the ratio of the parallel sweep to the one-part sweep,
// paired round by round.  The parallel and one-part answers must agree bit
// for bit.  The threaded peer's triangular solve is not wired in yet: its
// column reads "n/a".
#include "trsv_bench.hpp"

#include "libraries.hpp"
#include "measure.hpp"
#include "orb_sparse_names.hpp"
#include "routine_table.hpp"

#include <orb/internal/sparse_layout.hpp>
#include <orb/orb_service.h>
#include <orb/orb_sparse.h>

#include <dlfcn.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>

namespace orb::bench {
namespace {

//! A symmetric matrix's CSR arrays from 0, rows in order, columns ascending.
struct Matrix {
  std::string name;
  int32_t rows = 0;
  std::vector<int32_t> ptr{0}, col;
  std::vector<double> val;
};

//! The stencil's neighbours of each grid point with their weights; lower
//! keeps only the columns up to the row's own.
Matrix stencil(const char *name, int32_t k, bool three_d, bool lower) {
  Matrix a;
  a.name = name;
  const int32_t planes = three_d ? k : 1;
  a.rows = k * k * planes;
  for (int32_t z = 0; z < planes; ++z)
    for (int32_t y = 0; y < k; ++y)
      for (int32_t x = 0; x < k; ++x) {
        const int32_t i = (z * k + y) * k + x;
        for (int dz = three_d ? -1 : 0; dz <= (three_d ? 1 : 0); ++dz)
          for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) {
              if (!three_d && dx != 0 && dy != 0) continue;
              const int32_t u = x + dx, v = y + dy, w = z + dz;
              if (u < 0 || v < 0 || w < 0 || u >= k || v >= k || w >= planes) continue;
              const int32_t j = (w * k + v) * k + u;
              if (lower && j > i) continue;
              a.col.push_back(j);
              a.val.push_back(i == j ? (three_d ? 26.0 : 4.0) : -1.0);
            }
        a.ptr.push_back(static_cast<int32_t>(a.col.size()));
      }
  return a;
}

//! The analysed data hung on a handle, whose part count the one-part
//! contestant sets to 1 around its calls.
sparse::SymgsData<double, int32_t> *block_data(orb_sparse_matrix A) {
  const auto *h = sparse::handle_cast<double, int32_t>(A);
  return h->primary->opt ? static_cast<sparse::SymgsData<double, int32_t> *>(h->primary->opt->symgs_data) : nullptr;
}

void measure(const TrsvOptions &o, const Matrix &a, bool gauss_seidel, const OrbSparse &orb,
             const std::vector<GemmLibrary> &libs, int &status) {
  if (!libs[0].available()) return;
  const orb_sparse_descr d = gauss_seidel ? orb_sparse_descr{ORB_SPARSE_SYMMETRIC, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT}
                                          : orb_sparse_descr{ORB_SPARSE_TRIANGULAR, ORB_SPARSE_LOWER, ORB_SPARSE_NON_UNIT};
  orb_sparse_matrix A = nullptr;
  if (orb.create(&A, 0, a.rows, a.rows, const_cast<int32_t *>(a.ptr.data()), const_cast<int32_t *>(a.col.data()),
                 const_cast<double *>(a.val.data())) != 0)
    return;
  const double t0 = now_s();
  const int hinted = gauss_seidel ? orb.symgs_hint(A, ORB_SPARSE_OP_N, d, 1000) : orb.sv_hint(A, ORB_SPARSE_OP_N, d, 1000);
  sparse::SymgsData<double, int32_t> *g = hinted == 0 && orb.optimize(A) == 0 ? block_data(A) : nullptr;
  const double analysis_s = now_s() - t0;
  if (!g) {
    std::fprintf(stderr, "orb-bench trsv: no analysed data for %s\n", a.name.c_str());
    status = 1;
    orb.destroy(A);
    return;
  }
  const int32_t parts = g->parts;
  std::vector<double> x(static_cast<size_t>(a.rows)), y0(x.size()), y1(x.size());
  for (int32_t i = 0; i < a.rows; ++i) x[i] = 1.0 + 1.0 / (1 + i % 13);
  const auto run = [&](std::vector<double> &y, int32_t p) {
    g->parts = p;
    if (gauss_seidel) {
      std::fill(y.begin(), y.end(), 0.0);
      orb.symgs(ORB_SPARSE_OP_N, A, d, x.data(), y.data());
    } else {
      orb.trsv(ORB_SPARSE_OP_N, 1.0, A, d, x.data(), y.data());
    }
    g->parts = parts;
  };
  std::vector<std::function<void()>> calls(libs.size());
  calls[0] = [&] { run(y0, parts); };
  calls[1] = [&] { run(y1, 1); };
  const std::string routine = std::string(gauss_seidel ? "symgs " : "trsv ") + a.name;
  const double rows = static_cast<double>(a.rows) * (gauss_seidel ? 2 : 1);
  time_row(libs, calls, routine.c_str(), a.rows, o.target_s, o.rounds,
           [&](size_t, double best_s) { std::printf("  %9.1f Mr/s", rows / best_s * 1e-6); });
  if (std::memcmp(y0.data(), y1.data(), y0.size() * sizeof(double)) != 0) {
    std::fprintf(stderr, "orb-bench trsv: %s: the parallel sweep differs from the one-part sweep\n", routine.c_str());
    status = 1;
  }
  std::printf("       forward: %d blocks of up to %ld rows in %d levels, %.1f waits a block; %d parts; analysis %.1f ms\n",
              g->forward.blocks, static_cast<long>(g->block_rows), g->forward.levels,
              static_cast<double>(g->forward.succ_start[g->forward.blocks]) / std::max(1, g->forward.blocks), parts,
              analysis_s * 1e3);
  orb.destroy(A);
}

}  // namespace

const char *trsv_usage() {
  return "usage: orb-bench trsv [--quick] [--threads N] [--time S] [--rounds R]\n"
         "  --quick        matrices of 10^5 rows, a shorter time per measurement\n"
         "  --threads N    orb's thread budget (default: its own)\n"
         "  --time S       timed seconds per contestant and matrix (default 1; 0.2 with --quick)\n"
         "  --rounds R     interleaved batches per contestant (default 10; 5 with --quick)\n";
}

bool parse_trsv_options(const std::vector<std::string> &args, TrsvOptions &o, std::string &error) {
  return parse_routine_options(args, o, 0.2, 5, {}, [](const std::string &, const std::string &) { return false; },
                               error);
}

int trsv_main(const std::vector<std::string> &args) {
  TrsvOptions o;
  if (!start_subcommand("trsv", args, o, parse_trsv_options, trsv_usage())) return 2;
  const int threads = orb_serv_get_max_threads();
  std::vector<GemmLibrary> libs;
  libs.push_back(orb_library(threads));
  libs[0].about = "analysed handle, blocks swept in parallel by their dependencies";
  const OrbSparse orb(libs[0]);
  GemmLibrary one;
  one.key = "onepart";
  one.label = "orb one part";
  one.about = "the same analysed data swept as one part on the calling thread";
  libs.push_back(one);
  GemmLibrary rsb;
  rsb.key = "rsb";
  rsb.label = "librsb";
  rsb.peer = true;
  rsb.missing = "its triangular solve is not wired into this benchmark";
  libs.push_back(rsb);
  std::printf("sparse lower triangular solve and symmetric Gauss-Seidel sweep pair, double, 32-bit indices,\n"
              "%d threads; millions of rows per second from each contestant's best call; ratio: parallel over\n"
              "one part, paired round by round\n\n",
              threads);
  print_libraries(libs, "rows");
  int status = 0;
  const double big = o.quick ? 1e5 : 1e6;
  const int32_t k2 = static_cast<int32_t>(std::lround(std::sqrt(big))), k3 = static_cast<int32_t>(std::lround(std::cbrt(big)));
  for (const bool gs : {false, true}) {
    measure(o, stencil("lap2d", k2, false, true), gs, orb, libs, status);
    measure(o, stencil("lap3d", k3, true, true), gs, orb, libs, status);
  }
  return status;
}

}  // namespace orb::bench
