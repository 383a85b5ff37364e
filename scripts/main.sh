#!/usr/bin/env bash
# The main job: builds orb and shows what the threaded library does on this machine.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
"$root/scripts/build.sh" -DORB_BUILD_TESTS=OFF
bdir=${ORB_BUILD_DIR:-$root/build}
"$bdir/tools/orb-info"
