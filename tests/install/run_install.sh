#!/usr/bin/env bash
# Installs orb as a user does, then uses the installed copy and nothing else.
#   run_install.sh prefix BUILD SOURCE   cmake --install BUILD under a prefix the loader does not search
#   run_install.sh staged BUILD SOURCE   a tree of its own configured for /usr with the library directory
#                                        lib/x86_64-linux-gnu, installed with DESTDIR into a staging directory
# In each: orb-info runs without LD_LIBRARY_PATH; README's C program builds with
# pkg-config and prints the right product; so does a CMake project that uses
# find_package(orb).  Every program must load the installed libraries.
# CMAKE, GENERATOR, CC and CXX name the tools of the build under test.
set -u
mode=$1 build=$2 source=$3
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
unset LD_LIBRARY_PATH PKG_CONFIG_PATH PKG_CONFIG_SYSROOT_DIR CMAKE_PREFIX_PATH
fail() { echo "FAIL: $*"; exit 1; }

case $mode in
  prefix)
    prefix=$tmp/xyz/opt/orb root=$prefix
    "$CMAKE" --install "$build" --prefix "$prefix" >/dev/null || fail "install into $prefix"
    libdir=$(cd "$build" && sed -n 's/^CMAKE_INSTALL_LIBDIR:PATH=//p' CMakeCache.txt)
    ;;
  staged)
    # The layout is fixed when a tree is configured, so this case configures
    # one.  Only paths are under test: it builds unoptimised, and only what
    # is installed.
    prefix=/usr libdir=lib/x86_64-linux-gnu root=$tmp/stage/usr
    "$CMAKE" -S "$source" -B "$tmp/build" -G "$GENERATOR" -DCMAKE_C_COMPILER="$CC" -DCMAKE_CXX_COMPILER="$CXX" \
      -DCMAKE_BUILD_TYPE=None -DORB_BUILD_TESTS=OFF -DORB_BUILD_BENCH=OFF \
      -DCMAKE_INSTALL_PREFIX=$prefix -DCMAKE_INSTALL_LIBDIR=$libdir >"$tmp/configure.log" 2>&1 ||
      { cat "$tmp/configure.log"; fail "configure for $prefix"; }
    "$CMAKE" --build "$tmp/build" -j "${ORB_JOBS:-2}" --target orb orb-info >"$tmp/build.log" 2>&1 ||
      { cat "$tmp/build.log"; fail "build for $prefix"; }
    DESTDIR=$tmp/stage "$CMAKE" --install "$tmp/build" >/dev/null || fail "install staged in $tmp/stage"
    ;;
  *) echo "unknown mode $mode"; exit 2 ;;
esac
lib=$root/$libdir
[ -e "$lib/liborb.so.2" ] || fail "no liborb.so.2 in $lib"
[ -e "$root/include/orb/orb_cblas.h" ] || fail "no headers in $root/include/orb"
[ ! -e "$root/include/orb/internal" ] || fail "the libraries' internal headers were installed"

# Runs PROGRAM: it must succeed, and the loader must take liborb_core.so.2
# (and liborb.so.2, where the program needs it) from the installed library
# directory, not from the build tree or a copy installed elsewhere.
runs_installed() {
  local program=$1 out loaded
  out=$("$program" 2>&1) || fail "$program: exit status $?: $out"
  for name in liborb_core.so.2 liborb.so.2; do
    loaded=$(ldd "$program" | sed -n "s|^[[:space:]]*$name => \(.*\) (0x.*|\1|p")
    [ -n "$loaded" ] || { [ $name = liborb.so.2 ] && continue; fail "$program does not find $name"; }
    [ "$(readlink -f "$loaded")" = "$(readlink -f "$lib/$name")" ] || fail "$program loads $loaded"
  done
  printf '%s\n' "$out"
}

out=$(runs_installed "$root/bin/orb-info") || { echo "$out"; exit 1; }
grep -q '^orb [0-9]' <<<"$out" || fail "orb-info printed: $out"

expected=$'19 22\n43 50'
awk '/^```c$/ {inside = 1; next} inside && /^```$/ {exit} inside' "$source/README.md" >"$tmp/demo.c"

# pkg-config sees only the installed orb.pc.  A staging directory is where a
# packager or a cross build finds it with a system root set; the flags must
# be the same as without one.
export PKG_CONFIG_LIBDIR=$lib/pkgconfig
flags=$(pkg-config --cflags --libs orb) || fail "pkg-config does not know orb"
if [ "$mode" = staged ]; then
  [ "$(PKG_CONFIG_SYSROOT_DIR=$tmp/stage pkg-config --cflags --libs orb)" = "$flags" ] ||
    fail "with the staging directory as system root pkg-config gives other flags"
fi
[ "$(readlink -f "$(pkg-config --variable=prefix orb)")" = "$(readlink -f "$root")" ] ||
  fail "orb.pc names prefix $(pkg-config --variable=prefix orb), not $root"
# shellcheck disable=SC2086  # the flags are words
"$CC" "$tmp/demo.c" -o "$tmp/demo_pkgconfig" $flags -Wl,-rpath,"$(pkg-config --variable=libdir orb)" ||
  fail "README's program does not build with: $flags"
out=$(runs_installed "$tmp/demo_pkgconfig") || { echo "$out"; exit 1; }
[ "$out" = "$expected" ] || fail "README's program printed: $out"

"$CMAKE" -S "$(dirname "$0")/consumer" -B "$tmp/consumer" -G "$GENERATOR" -DCMAKE_C_COMPILER="$CC" \
  -DCMAKE_PREFIX_PATH="$root" -DORB_DEMO_SOURCE="$tmp/demo.c" >"$tmp/consumer.log" 2>&1 &&
  "$CMAKE" --build "$tmp/consumer" >>"$tmp/consumer.log" 2>&1 ||
  { cat "$tmp/consumer.log"; fail "find_package(orb) consumer"; }
out=$(runs_installed "$tmp/consumer/demo") || { echo "$out"; exit 1; }
[ "$out" = "$expected" ] || fail "find_package(orb) consumer printed: $out"
echo "install $mode ok: $root"
