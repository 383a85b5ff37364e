#!/bin/sh
# check_exports.sh MAP LIBRARY OBJECTS
#
# A library's exported names, three ways, which must agree:
#   listed    the global names of its version script MAP (names, no patterns);
#   exported  the dynamic symbols LIBRARY defines;
#   public    the C names its objects (OBJECTS, separated by ';') define with
#             default visibility: what a public header declares, or what a
#             source marks for export.
# A name listed but not exported was renamed or removed in the sources; a
# public name not listed would be hidden from every program that calls it.
set -eu
map=$1 lib=$2 objects=$3
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT

# Between "global:" and "local:", without comments: every "name;".
sed -e 's#/\*.*\*/##g' "$map" |
  awk '/^[[:space:]]*\/?\*/ { next } /global:/ { on = 1; next } /local:/ { on = 0 } on' |
  tr ';' '\n' | tr -d ' \t' | sed '/^$/d' | sort >"$tmp/listed"
if grep -n '[][*?]' "$tmp/listed"; then
  echo "$map: the version script lists patterns; list every name"
  exit 1
fi
if [ -n "$(uniq -d "$tmp/listed")" ]; then
  echo "$map lists names twice:"; uniq -d "$tmp/listed"; exit 1
fi

# The version node itself is an absolute symbol (type A), not a name.
nm -D --defined-only "$lib" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | sort -u >"$tmp/exported"

# Sanitizer builds add default-visibility helpers of their own (__odr_asan...);
# C++ names (_Z...) are the standard library's inline templates.
echo "$objects" | tr ';' '\n' | sed '/^$/d' | xargs readelf -sW |
  awk '($5 == "GLOBAL" || $5 == "WEAK") && $6 == "DEFAULT" && $7 != "UND" && $8 !~ /^(_Z|__)/ { print $8 }' |
  sort -u >"$tmp/public"

status=0
report() {  # report TEXT FILE: prints the names of FILE under TEXT, if any
  if [ -s "$2" ]; then
    echo "$1"; sed 's/^/  /' "$2"; status=1
  fi
}
comm -23 "$tmp/listed" "$tmp/exported" >"$tmp/a"
report "listed in $map but not exported by $lib:" "$tmp/a"
comm -13 "$tmp/listed" "$tmp/exported" >"$tmp/a"
report "exported by $lib but not listed in $map:" "$tmp/a"
comm -13 "$tmp/listed" "$tmp/public" >"$tmp/a"
report "public in the sources of $lib but not listed in $map:" "$tmp/a"
[ $status -eq 0 ] && echo "$(wc -l <"$tmp/listed") names listed, exported and public alike"
exit $status
