#!/usr/bin/env bash
# Installs dependencies, builds, and runs the whole test suite.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh" libblas-dev liblapack-test libblas-test
"$root/scripts/build.sh" -DORB_BUILD_TESTS=ON "$@"
bdir=${ORB_BUILD_DIR:-$root/build}
cd "$bdir" && ctest --output-on-failure -j 2
