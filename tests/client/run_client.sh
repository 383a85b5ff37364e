#!/usr/bin/env bash
# Runs a program built against the system BLAS and checks who served it.
#   run_client.sh system  PROGRAM LIBORB   as linked: right result, no orb line
#   run_client.sh preload PROGRAM LIBORB   LD_PRELOAD=LIBORB: right result, orb's lines
#   run_client.sh soname  PROGRAM LIBORB   LIBORB found as libblas.so.3: the same
# A fourth argument names the start of the one verbose line that shows orb
# served the program (a routine and its first arguments); without it, the
# DGEMM client's two products are looked for.
set -u
mode=$1 program=$2 liborb=$3 expect=${4:-}
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
case $mode in
  system) out=$(ORB_VERBOSE=1 "$program" 2>&1) ;;
  preload) out=$(ORB_VERBOSE=1 LD_PRELOAD="$liborb" "$program" 2>&1) ;;
  soname)
    ln -s "$liborb" "$dir/libblas.so.3"
    out=$(ORB_VERBOSE=1 LD_LIBRARY_PATH="$dir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}" "$program" 2>&1) ;;
  *) echo "unknown mode $mode"; exit 2 ;;
esac
rc=$?
echo "$out"
[ $rc -eq 0 ] && grep -qx "client ok" <<<"$out" || { echo "FAIL: wrong result or exit status $rc"; exit 1; }
served=0
if [ -n "$expect" ]; then
  grep -qF "ORB_VERBOSE $expect" <<<"$out" && served=1
else
  grep -q "^ORB_VERBOSE DGEMM(N,N,2,2,2,1," <<<"$out" && grep -q "^ORB_VERBOSE cblas_dgemm(CblasRowMajor," <<<"$out" &&
    served=1
fi
if [ "$mode" = system ]; then
  [ $served -eq 0 ] || { echo "FAIL: orb served a program that was not pointed at it"; exit 1; }
else
  [ $served -eq 1 ] || { echo "FAIL: orb did not serve both calls"; exit 1; }
fi
exit 0
