#!/usr/bin/env bash
# The main job: builds orb, shows what it sees on this machine, and measures
# its threaded matrix product, a batch of small products, level-1 routines,
# dtrsm, dtrmm, dsyrk, dsyr2k, dsymm, dgemmt, the level-2 routines and the LU
# factorization against the serial provider and the threaded peers, and its
# sparse product against its sequential kernel and the sparse peers
# (short runs; bench/run.sh is the full gemm one).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/bench/setup.sh"
"$root/scripts/build.sh" -DORB_BUILD_TESTS=OFF
bdir=${ORB_BUILD_DIR:-$root/build}
"$bdir/tools/orb-info"
echo
"$bdir/bench/orb-bench" gemm --quick
echo
"$bdir/bench/orb-bench" batch --quick
echo
"$bdir/bench/orb-bench" level1 --quick
echo
"$bdir/bench/orb-bench" level3 --quick
echo
"$bdir/bench/orb-bench" level2 --quick
"$bdir/bench/orb-bench" getrf --quick
"$bdir/bench/orb-bench" spmv --quick
"$bdir/bench/orb-bench" trsv --quick
"$bdir/bench/orb-bench" syrkd --quick
echo
"$bdir/bench/orb-bench" vm --quick
