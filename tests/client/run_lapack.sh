#!/usr/bin/env bash
# Runs Debian's reference LAPACK test program for linear equations with orb
# preloaded, on the general-matrix path alone (factorization, solves,
# drivers and their error exits), and checks that orb factored the matrices.
#   run_lapack.sh PROGRAM INPUT PATH LIBORB      (PATH: SGE, DGE, CGE or ZGE)
# Exits 77 (skipped) when the program is not installed (package liblapack-test).
set -u
program=$1 input=$2 path=$3 liborb=$4
[ -x "$program" ] && [ -r "$input" ] || { echo "skipped: $program not installed"; exit 77; }
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
# The input's first 16 lines are its sizes, block sizes, threshold and
# switches; the paths to test follow, one a line.
{ head -16 "$input"; echo "$path   11"; } > input
ORB_VERBOSE=1 ORB_VERBOSE_OUTPUT_FILE="$dir/verbose.log" LD_PRELOAD="$liborb" "$program" < input > summary 2>&1
rc=$?
grep -iE "passed|failed|error" summary
[ $rc -eq 0 ] || { echo "FAIL: exit status $rc"; exit 1; }
grep -qi "fail" summary && { echo "FAIL: see above"; exit 1; }
for what in "All tests for $path routines passed the threshold" "All tests for $path drivers *passed the threshold" \
            "$path routines passed the tests of the error exits"; do
  grep -q "$what" summary || { echo "FAIL: missing \"$what\""; exit 1; }
done
calls=$(grep -c "^ORB_VERBOSE ${path:0:1}GETRF(" verbose.log 2>/dev/null)
[ "${calls:-0}" -gt 0 ] || { echo "FAIL: orb factored nothing"; exit 1; }
echo "orb served $calls factorizations"
