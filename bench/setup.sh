#!/usr/bin/env bash
# Installs what the benchmarks need on top of the build's own packages, from
# Debian: the threaded peers (librsb, threaded, and the Eigen headers for the
# sparse product), and the plotting library of bench/report.py.
# Idempotent: packages already present are not installed again.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh" libopenblas0-pthread libblis4-pthread python3-matplotlib librsb-dev libeigen3-dev
