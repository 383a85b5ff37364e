#!/usr/bin/env bash
# Installs what orb needs to build and test, from Debian's packages.
# Idempotent: packages already present are not installed again.
# Usage: scripts/setup.sh [extra-package ...]
set -euo pipefail
pkgs=(cmake ninja-build g++ gfortran pkg-config libtbb-dev libopenblas64-serial-dev
      libopenblas64-0-pthread libblis64-4-serial
      libsleef-dev libgtest-dev libbenchmark-dev libmetis-dev "$@")
missing=()
for p in "${pkgs[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""; [ "$(id -u)" -ne 0 ] && sudo="sudo"
  echo "installing: ${missing[*]}"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
