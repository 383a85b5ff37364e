#!/usr/bin/env bash
# Runs one of the reference BLAS test programs on orb and checks that orb
# served every routine the program calls.
#   run_reference.sh PROGRAM INPUT LIBORB [threaded BUDGET_LIBRARY]
# INPUT "none" runs a level-1 program, which reads no input, tests every
# routine it knows and reports PASS or FAIL for each.  "threaded" preloads
# BUDGET_LIBRARY, which gives the program's thread a budget of 4, and lowers
# every threading threshold to its least (ORB_THRESHOLD_SCALE=0), so that the
# threaded paths run on the programs' small sizes.
#
# The routines the program calls are the BLAS names it imports.  When liborb
# exports all of them, the program runs with liborb found as libblas.so.3 (a
# private directory on the library path), so nothing else could serve a
# call; otherwise it runs with liborb preloaded over the system BLAS, the
# routines orb lacks are switched off in the input, and each must be on the
# list of routines still to come (ORB_REFERENCE_PENDING), else the run fails.
# Every routine orb serves must then show at least one verbose line of its
# own.  Exits 77 (skipped) when the program is not installed (libblas-test).
set -u
program=$1 input=$2 liborb=$3 threaded=${4:-} budget_lib=${5:-}
pending=${ORB_REFERENCE_PENDING-}
level1=0
[ "$input" = none ] && level1=1 input=/dev/null
[ -x "$program" ] && [ -r "$input" ] || { echo "skipped: $program not installed"; exit 77; }
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir"

# The BLAS routines the program imports, and those liborb defines.
system_blas=$(ldconfig -p | awk '$1 == "libblas.so.3" && /x86-64/ { print $NF; exit }')
nm -D --defined-only "$(readlink -f "${system_blas:-/usr/lib/x86_64-linux-gnu/libblas.so.3}")" |
  awk '{ print $3 }' | sort -u > blas_names
nm -D --undefined-only "$program" | awk '{ sub(/@.*/, "", $2); print $2 }' | sort -u | comm -12 - blas_names > called
nm -D --defined-only "$liborb" | awk '{ sub(/@.*/, "", $3); print $3 }' | sort -u > orb_names
comm -23 called orb_names > missing
comm -12 called orb_names > served

# The routine's family without precision or name form: cblas_dtrmm, dtrmm_ -> trmm.
family() { sed -E 's/^cblas_//; s/_$//; s/^[sdcz]//'; }
status=0
off=""
while read -r name; do
  f=$(echo "$name" | family)
  if [[ " $pending " == *" $f "* ]]; then
    off="$off|$f"
    echo "not served yet (pending): $name"
  else
    echo "FAIL: orb does not export $name"; status=1
  fi
done < missing
[ $status -eq 0 ] || exit 1

# Routine lines read "DGEMM  T PUT F FOR NO TEST..." or "cblas_dgemm  T ...".
if [ -n "$off" ]; then
  awk -v off="^(cblas_)?[sdcz](${off#|})\$" 'tolower($1) ~ off && $2 == "T" { sub(/ T /, " F ") } { print }' \
    "$input" > input
else
  cp "$input" input
fi

env=(ORB_VERBOSE=1 ORB_VERBOSE_OUTPUT_FILE="$dir/verbose.log")
preload=""
if [ "$threaded" = threaded ]; then
  env+=(ORB_THRESHOLD_SCALE=0)
  preload=$budget_lib
fi
if [ -s missing ]; then
  echo "mode: preloaded over the system BLAS"
  preload="$liborb $preload"
else
  echo "mode: liborb found as libblas.so.3"
  mkdir lib && ln -s "$liborb" lib/libblas.so.3
  env+=(LD_LIBRARY_PATH="$dir/lib${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}")
fi
[ -n "$preload" ] && env+=(LD_PRELOAD="$preload")
env "${env[@]}" "$program" < input > stdout 2>&1
rc=$?
# Fortran programs write their summary to the file the input names, C programs to stdout.
cat stdout ./*.out 2>/dev/null > summary
grep -E "PASS|FAIL|SUSPECT|\*\*\*" summary
[ $rc -eq 0 ] || { echo "FAIL: exit status $rc"; tail -5 stdout; exit 1; }
if [ $level1 -eq 1 ]; then
  grep -q "FAIL" summary && { echo "FAIL: see above"; exit 1; }
  grep -q "PASS" summary || { echo "FAIL: no routine tested"; exit 1; }
else
  grep -qE "FAIL|SUSPECT|\*\*\*\*\*" summary && { echo "FAIL: see above"; exit 1; }
  grep -q "PASSED THE .*COMPUTATIONAL TESTS" summary || { echo "FAIL: no computational test ran"; exit 1; }
  grep -q "PASSED THE TESTS OF ERROR-EXITS" summary || { echo "FAIL: error exits not tested"; exit 1; }
fi

# Which of the routines the program imports reached orb: DGBMV(...) lines for
# dgbmv_, cblas_dgbmv(...) for cblas_dgbmv.  With liborb as libblas.so.3 no
# other library could have served one; preloaded, only the routines orb lacks
# (all pending, above) could, and they were switched off.  A program may
# import a routine it does not call in a run (the level-1 programs import
# the other precisions' names); at least one call must reach orb.
total=0
while read -r name; do
  case $name in
    cblas_*) line=$name ;;
    *) line=$(echo "${name%_}" | tr '[:lower:]' '[:upper:]') ;;
  esac
  calls=$(grep -c "^ORB_VERBOSE $line(" verbose.log 2>/dev/null)
  if [ "${calls:-0}" -eq 0 ]; then
    echo "imported, not called: $name"
  else
    echo "served by orb: $name ($calls calls)"
    total=$((total + calls))
  fi
done < served
[ $total -gt 0 ] || { echo "FAIL: orb served no call"; exit 1; }
echo "orb served $total calls"
exit $status
