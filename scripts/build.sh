#!/usr/bin/env bash
# Configures and builds orb (Release) into build/ (or $ORB_BUILD_DIR).
# Extra arguments go to CMake's configure step, e.g. -DORB_SANITIZE=thread.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
bdir=${ORB_BUILD_DIR:-$root/build}
jobs=${ORB_JOBS:-$(nproc)}
cmake -S "$root" -B "$bdir" -G Ninja -DCMAKE_BUILD_TYPE=Release "$@" >/dev/null
cmake --build "$bdir" -j "$jobs"
