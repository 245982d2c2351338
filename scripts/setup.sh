#!/usr/bin/env bash
# Installs every Debian package ZARK_P3D needs to build, test and run its demo. Idempotent: installs only
# what is missing. Run as root (or with sudo available) on a fresh Debian 12 machine.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git
  libfmt-dev libpugixml-dev nlohmann-json3-dev libcurl4-openssl-dev libzip-dev zlib1g-dev
  libcpp-httplib-dev libssl-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libfltk1.3-dev
  clang-14 libclang-rt-14-dev clang-format
  python3 curl
  g++-mingw-w64-x86-64-posix
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all ${#packages[@]} packages present"
  exit 0
fi

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
