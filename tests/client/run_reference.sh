#!/usr/bin/env bash
# Runs one of the reference BLAS test programs with orb preloaded, testing
# only the routines orb serves (the input's other routines are switched off).
#   run_reference.sh PROGRAM INPUT LIBORB
# INPUT "none" runs a level-1 program, which reads no input, tests every
# routine it knows and reports PASS or FAIL for each.
# Exits 77 (skipped) when the program is not installed (package libblas-test).
set -u
program=$1 input=$2 liborb=$3
level1=0
[ "$input" = none ] && level1=1 input=/dev/null
[ -x "$program" ] && [ -r "$input" ] || { echo "skipped: $program not installed"; exit 77; }
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"
# Routine lines read "DGEMM  T PUT F FOR NO TEST..." or "cblas_dgemm  T ...".
awk 'tolower($1) ~ /^(cblas_)?[sdcz][a-z0-9]+$/ && tolower($1) !~ /(gem[mv]|tr[sm]m|syr2?k|her2?k|symm|hemm)$/ && $2 == "T" { sub(/ T /, " F ") } { print }' \
  "$input" > input
ORB_VERBOSE=1 ORB_VERBOSE_OUTPUT_FILE="$dir/verbose.log" LD_PRELOAD="$liborb" "$program" < input > stdout 2>&1
rc=$?
# Fortran programs write their summary to the file the input names, C programs to stdout.
cat stdout ./*.out 2>/dev/null > summary
grep -E "PASS|FAIL|SUSPECT|\*\*\*" summary
[ $rc -eq 0 ] || { echo "FAIL: exit status $rc"; exit 1; }
if [ $level1 -eq 1 ]; then
  grep -q "FAIL" summary && { echo "FAIL: see above"; exit 1; }
  grep -q "PASS" summary || { echo "FAIL: no routine tested"; exit 1; }
  # Every line after the header is a call orb served.
  calls=$(grep -c "^ORB_VERBOSE [A-Za-z_0-9]*(" verbose.log 2>/dev/null)
  [ "${calls:-0}" -gt 0 ] || { echo "FAIL: orb served no call"; exit 1; }
  echo "orb served $calls calls"
  exit 0
fi
grep -qE "FAIL|SUSPECT|\*\*\*\*\*" summary && { echo "FAIL: see above"; exit 1; }
grep -q "PASSED THE .*COMPUTATIONAL TESTS" summary || { echo "FAIL: no computational test ran"; exit 1; }
grep -q "PASSED THE TESTS OF ERROR-EXITS" summary || { echo "FAIL: error exits not tested"; exit 1; }
calls=$(grep -ci "^ORB_VERBOSE [^ ]*gem[mv](" verbose.log 2>/dev/null)
[ "${calls:-0}" -gt 0 ] || { echo "FAIL: orb served no call"; exit 1; }
echo "orb served $calls calls"
