// Tables, CSV and JSON of a gemm comparison.
//
// The JSON document is what bench/report.py reads; its field names are the
// interface between the two, so they change together.
#include "gemm_output.hpp"

#include <cmath>
#include <fstream>
#include <sstream>

namespace orb::bench {

namespace {

std::string format(const char *fmt, double v) {
  char buf[64];
  std::snprintf(buf, sizeof buf, fmt, v);
  return buf;
}

// "1.92x", or "n/a" when the ratio could not be formed.
std::string ratio_text(double r) { return std::isfinite(r) ? format("%.2fx", r) : "n/a"; }

// "12%", or "?" when it could not be measured.
std::string share_text(double share) { return share >= 0 ? format("%.0f%%", 100 * share) : "?"; }

std::string check_text(const LibraryResult &l) {
  if (l.check.empty() || l.check == "reference") return l.check;
  return l.check + " " + format("%.1e", l.difference);
}

// "Cooperlake", "Cooperlake, forced: OPENBLAS_CORETYPE=Cooperlake; picks Prescott by itself", or "?".
std::string kernels_text(const KernelSet &k) {
  std::string text = k.ran.empty() ? "?" : k.ran;
  if (!k.forced.empty()) text += ", forced: " + k.forced + "; picks " + (k.own.empty() ? "?" : k.own) + " by itself";
  return text;
}

}  // namespace

void print_libraries(std::FILE *out, const GemmRun &run) {
  std::fprintf(out, "orb-bench gemm, %s, %d thread%s%s; figures from the best of each library's timed calls\n",
               run.date.c_str(), run.threads, run.threads == 1 ? "" : "s", run.options.quick ? ", quick" : "");
  for (const GemmLibrary &lib : run.libraries) {
    if (lib.available())
      std::fprintf(out, "  %-8s %s, %d thread%s%s%s\n  %-8s kernel set %s\n", lib.key.c_str(),
                   lib.about.empty() ? "?" : lib.about.c_str(), lib.threads, lib.threads == 1 ? "" : "s",
                   lib.path.empty() ? "" : ", ", lib.path.c_str(), "", kernels_text(lib.kernels).c_str());
    else
      std::fprintf(out, "  %-8s n/a: %s\n", lib.key.c_str(), lib.missing.c_str());
  }
  std::fprintf(out, "  load average at start: %s\n\n", run.load_start.c_str());
}

void print_shape(std::FILE *out, const GemmRun &run, const ShapeResult &r) {
  std::fprintf(out, "%s  (%s, check tolerance %.1e, other processes used %s of the CPUs meanwhile)\n",
               shape_name(r.shape).c_str(), r.shape.group.c_str(), r.tolerance, share_text(r.others_share).c_str());
  std::fprintf(out, "  %-20s %9s %9s %6s %11s  %s\n", "library", "GFLOPS", "median", "calls", "first call", "check");
  for (size_t i = 0; i < run.libraries.size(); ++i) {
    const LibraryResult &l = r.libs[i];
    const char *label = run.libraries[i].label.c_str();
    if (!l.measured) {
      std::fprintf(out, "  %-20s %9s\n", label, "n/a");
      continue;
    }
    std::fprintf(out, "  %-20s %9.2f %9.2f %6d %9.4f s  %s\n", label, gflops(r, i), gflops(r, i, true), l.timing.reps,
                 l.first_call_s, check_text(l).c_str());
  }
  const int peer = best_peer(run, r);
  std::fprintf(out, "  orb/serial %s   orb/best peer %s%s%s%s\n\n", ratio_text(ratio_to_serial(run, r)).c_str(),
               ratio_text(ratio_to_best_peer(run, r)).c_str(), peer >= 0 ? " (" : "",
               peer >= 0 ? run.libraries[static_cast<size_t>(peer)].label.c_str() : "", peer >= 0 ? ")" : "");
}

void print_summary(std::FILE *out, const GemmRun &run) {
  std::fprintf(out,
               "Summary: GFLOPS of the best call, ratios paired by round; %d thread%s, serial on 1;"
               " load average %s -> %s\n",
               run.threads, run.threads == 1 ? "" : "s", run.load_start.c_str(), run.load_end.c_str());
  std::fprintf(out, "  %-24s", "shape");
  for (const GemmLibrary &lib : run.libraries) std::fprintf(out, " %9s", lib.key.c_str());
  std::fprintf(out, " %10s %9s %7s\n", "orb/serial", "orb/peer", "others");
  for (const ShapeResult &r : run.shapes) {
    std::fprintf(out, "  %-24s", shape_name(r.shape).c_str());
    for (size_t i = 0; i < run.libraries.size(); ++i) {
      const char *flag = r.libs[i].check == "MISMATCH" ? "!" : " ";
      if (r.libs[i].measured)
        std::fprintf(out, " %8.2f%s", gflops(r, i), flag);
      else
        std::fprintf(out, " %9s", "n/a");
    }
    std::fprintf(out, " %10s %9s %7s\n", ratio_text(ratio_to_serial(run, r)).c_str(),
                 ratio_text(ratio_to_best_peer(run, r)).c_str(), share_text(r.others_share).c_str());
  }
  std::fprintf(out, "  (! marks a result that differs from the reference beyond the tolerance;\n"
                    "   others: share of the CPUs that other processes used while the shape was measured)\n");
}

std::string json_string(const std::string &text) {
  std::string s = "\"";
  for (const char ch : text) {
    const auto c = static_cast<unsigned char>(ch);
    if (c == '"' || c == '\\') {
      s += '\\';
      s += ch;
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      s += buf;
    } else {
      s += ch;
    }
  }
  return s + "\"";
}

std::string json_number(double v) { return std::isfinite(v) ? format("%.9g", v) : "null"; }

bool write_csv(const std::string &path, const GemmRun &run, std::string &error) {
  std::ofstream out(path);
  if (!out) {
    error = "cannot write " + path;
    return false;
  }
  out << "prec,m,n,k,ops,group,library,threads,gflops,gflops_median,best_s,median_s,calls,max_rel_diff,check,"
         "ratio_serial,ratio_best_peer\n";
  for (const ShapeResult &r : run.shapes) {
    const std::string rs = json_number(ratio_to_serial(run, r)), rp = json_number(ratio_to_best_peer(run, r));
    for (size_t i = 0; i < run.libraries.size(); ++i) {
      const LibraryResult &l = r.libs[i];
      out << precision_letter(r.shape.prec) << ',' << r.shape.m << ',' << r.shape.n << ',' << r.shape.k << ','
          << r.shape.transa << r.shape.transb << ',' << r.shape.group << ',' << run.libraries[i].key << ',' << run.libraries[i].threads << ',';
      if (l.measured)
        out << json_number(gflops(r, i)) << ',' << json_number(gflops(r, i, true)) << ','
            << json_number(l.timing.best_s) << ',' << json_number(l.timing.median_s) << ',' << l.timing.reps << ','
            << (l.difference >= 0 ? json_number(l.difference) : "") << ',' << l.check;
      else
        out << ",,,,,,n/a";
      out << ',' << (rs == "null" ? "" : rs) << ',' << (rp == "null" ? "" : rp) << '\n';
    }
  }
  if (!out.flush()) {
    error = "error writing " + path;
    return false;
  }
  return true;
}

bool write_json(const std::string &path, const GemmRun &run, std::string &error) {
  std::ostringstream j;
  const GemmOptions &o = run.options;
  j << "{\n  \"benchmark\": \"gemm\",\n  \"date\": " << json_string(run.date)
    << ",\n  \"quick\": " << (o.quick ? "true" : "false") << ",\n  \"threads\": " << run.threads
    << ",\n  \"cpus\": " << run.cpus
    << ",\n  \"statistic\": \"best\",\n  \"ratio_statistic\": \"median of paired rounds\",\n  \"time_per_measurement_s\": " << json_number(o.target_s)
    << ",\n  \"rounds\": " << o.rounds << ",\n  \"load_start\": " << json_string(run.load_start)
    << ",\n  \"load_end\": " << json_string(run.load_end) << ",\n  \"libraries\": [";
  for (size_t i = 0; i < run.libraries.size(); ++i) {
    const GemmLibrary &lib = run.libraries[i];
    j << (i ? "," : "") << "\n    {\"key\": " << json_string(lib.key) << ", \"label\": " << json_string(lib.label)
      << ", \"available\": " << (lib.available() ? "true" : "false") << ", \"peer\": " << (lib.peer ? "true" : "false")
      << ", \"threads\": " << lib.threads << ", \"path\": " << json_string(lib.path)
      << ", \"about\": " << json_string(lib.about) << ", \"missing\": " << json_string(lib.missing)
      << ",\n     \"kernels\": " << json_string(lib.kernels.ran) << ", \"own_kernels\": " << json_string(lib.kernels.own)
      << ", \"forced\": " << json_string(lib.kernels.forced) << "}";
  }
  j << "\n  ],\n  \"results\": [";
  for (size_t s = 0; s < run.shapes.size(); ++s) {
    const ShapeResult &r = run.shapes[s];
    const int peer = best_peer(run, r);
    j << (s ? "," : "") << "\n    {\"name\": " << json_string(shape_name(r.shape)) << ", \"prec\": \""
      << precision_letter(r.shape.prec) << "\", \"m\": " << r.shape.m << ", \"n\": " << r.shape.n
      << ", \"k\": " << r.shape.k << ", \"ops\": \"" << r.shape.transa << r.shape.transb << "\", \"group\": " << json_string(r.shape.group)
      << ", \"flops\": " << json_number(gemm_flops(r.shape)) << ", \"rounds\": " << r.rounds << ", \"tolerance\": " << json_number(r.tolerance)
      << ", \"others_cpu_share\": " << (r.others_share >= 0 ? json_number(r.others_share) : "null")
      << ",\n     \"ratio_serial\": " << json_number(ratio_to_serial(run, r))
      << ", \"ratio_best_peer\": " << json_number(ratio_to_best_peer(run, r))
      << ", \"ratio_peer_serial\": " << json_number(peer_to_serial(run, r)) << ", \"best_peer\": "
      << (peer >= 0 ? json_string(run.libraries[static_cast<size_t>(peer)].key) : "null") << ",\n     \"libraries\": {";
    bool first = true;
    for (size_t i = 0; i < run.libraries.size(); ++i) {
      const LibraryResult &l = r.libs[i];
      j << (first ? "" : ",") << "\n       " << json_string(run.libraries[i].key) << ": ";
      first = false;
      if (!l.measured) {
        j << "null";
        continue;
      }
      j << "{\"gflops\": " << json_number(gflops(r, i)) << ", \"gflops_median\": " << json_number(gflops(r, i, true))
        << ", \"best_s\": " << json_number(l.timing.best_s) << ", \"median_s\": " << json_number(l.timing.median_s)
        << ", \"calls\": " << l.timing.reps << ", \"first_call_s\": " << json_number(l.first_call_s)
        << ", \"max_rel_diff\": " << (l.difference >= 0 ? json_number(l.difference) : "null")
        << ", \"check\": " << json_string(l.check) << ", \"round_best_s\": [";
      for (size_t k = 0; k < l.round_best_s.size(); ++k) j << (k ? ", " : "") << json_number(l.round_best_s[k]);
      j << "]}";
    }
    j << "}}";
  }
  j << "\n  ]\n}\n";

  std::ofstream out(path);
  if (!out || !(out << j.str()) || !out.flush()) {
    error = "cannot write " + path;
    return false;
  }
  return true;
}

}  // namespace orb::bench
