// orb's sparse handle names for the sparse benchmarks, from liborb loaded in
// a scope of its own: its standard BLAS names must not stand in the
// benchmark's global scope beside the providers it measures.
#pragma once

#include "libraries.hpp"

#include <orb/orb_sparse.h>

#include <dlfcn.h>

#include <type_traits>

namespace orb::bench {

struct OrbSparse {
  decltype(&orb_sparse_d_create_csr3) create = nullptr;
  decltype(&orb_sparse_set_mv_hint) hint = nullptr;
  decltype(&orb_sparse_set_sv_hint) sv_hint = nullptr;
  decltype(&orb_sparse_set_symgs_hint) symgs_hint = nullptr;
  decltype(&orb_sparse_set_memory_hint) memory = nullptr;
  decltype(&orb_sparse_optimize) optimize = nullptr;
  decltype(&orb_sparse_d_mv) mv = nullptr;
  decltype(&orb_sparse_d_syrkd) syrkd = nullptr;
  decltype(&orb_sparse_d_trsv) trsv = nullptr;
  decltype(&orb_sparse_d_symgs) symgs = nullptr;
  decltype(&orb_sparse_destroy) destroy = nullptr;

  //! Every name, or lib.missing saying why not.
  explicit OrbSparse(GemmLibrary &lib) {
    void *h = dlopen(ORB_BENCH_IFACE, RTLD_NOW | RTLD_LOCAL);
    const auto get = [&](auto &fn, const char *name) {
      fn = h ? reinterpret_cast<std::remove_reference_t<decltype(fn)>>(dlsym(h, name)) : nullptr;
      return fn != nullptr;
    };
    const bool all = get(create, "orb_sparse_d_create_csr3") & get(hint, "orb_sparse_set_mv_hint") &
                     get(sv_hint, "orb_sparse_set_sv_hint") & get(symgs_hint, "orb_sparse_set_symgs_hint") &
                     get(memory, "orb_sparse_set_memory_hint") & get(optimize, "orb_sparse_optimize") &
                     get(mv, "orb_sparse_d_mv") & get(syrkd, "orb_sparse_d_syrkd") & get(trsv, "orb_sparse_d_trsv") &
                     get(symgs, "orb_sparse_d_symgs") & get(destroy, "orb_sparse_destroy");
    if (!all) lib.missing = "no sparse handles in " ORB_BENCH_IFACE;
  }
};

}  // namespace orb::bench
