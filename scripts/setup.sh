#!/usr/bin/env bash
# Installs every Debian package ZARK_P3D needs to build, test and run its demo. Idempotent: installs only
# what is missing. Run as root (or with sudo available) on a fresh Debian 12 machine.
set -euo pipefail

packages=(
  build-essential cmake pkg-config git
  libfmt-dev libpugixml-dev nlohmann-json3-dev libcurl4-openssl-dev libzip-dev zlib1g-dev
  libcpp-httplib-dev libssl-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libfltk1.3-dev xvfb xauth fonts-dejavu-core
  clang-14 libclang-rt-14-dev clang-format
  python3 curl
  g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine64 dpkg-dev zip unzip
)

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
export DEBIAN_FRONTEND=noninteractive

# The Windows build cross-compiles some libraries from Debian's source packages (apt-get source): the
# same mirrors as the machine's binary packages, as deb-src lines of their own, made from its own lists.
src_list=/etc/apt/sources.list.d/zark-deb-src.sources
if [ ! -e "$src_list" ]; then
  echo "setup: adding deb-src lines ($src_list)"
  lines=""
  for f in /etc/apt/sources.list.d/*.sources; do
    if [ -e "$f" ]; then lines+="$(sed 's/^Types: deb$/Types: deb-src/' "$f")"$'\n\n'; fi
  done
  printf '%s' "$lines" | $SUDO tee "$src_list" >/dev/null
  if [ -e /etc/apt/sources.list ]; then
    sed -n 's/^deb \(.*\)$/deb-src \1/p' /etc/apt/sources.list | $SUDO tee /etc/apt/sources.list.d/zark-deb-src.list >/dev/null
  fi
  $SUDO apt-get update -q
fi

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

echo "setup: installing ${missing[*]}"
$SUDO apt-get update -q
$SUDO apt-get install -y -q --no-install-recommends "${missing[@]}"
