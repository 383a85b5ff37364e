#!/usr/bin/env bash
# Measures orb's gemm against the serial provider and the threaded peers.
#
#   bench/run.sh [--quick] [--note TEXT]
#
# The full run (a few minutes) writes docs/performance.md, docs/gemm_gflops.png
# and docs/gemm_results.json.  --quick measures a few shapes in well under a
# minute and writes the same three files under the build directory
# (build/bench/report/), leaving the committed report alone.
#
# Take the figures on an otherwise idle machine: the report names the shapes
# during which other processes used the CPUs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bdir=${ORB_BUILD_DIR:-$root/build}
out=$root/docs
for arg in "$@"; do
  [ "$arg" = "--quick" ] && out=$bdir/bench/report
done
"$root/bench/setup.sh"
"$root/scripts/build.sh"
# Debian's interpreter, which is the one python3-matplotlib installs into.
/usr/bin/python3 "$root/bench/report.py" --run "$bdir/bench/orb-bench" --out "$out" "$@"
