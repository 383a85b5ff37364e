#!/usr/bin/env bash
# Measures orb's gemm against the serial provider and the threaded peers and
# writes docs/performance.md, docs/gemm_gflops.png and docs/gemm_results.json.
#
#   bench/run.sh [--quick] [--note TEXT]
#
# Take the figures on an otherwise idle machine: the report marks a run that
# started under load as provisional.  The full run takes a few minutes.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/bench/setup.sh"
"$root/scripts/build.sh"
bdir=${ORB_BUILD_DIR:-$root/build}
# Debian's interpreter, which is the one python3-matplotlib installs into.
/usr/bin/python3 "$root/bench/report.py" --run "$bdir/bench/orb-bench" --out "$root/docs" "$@"
