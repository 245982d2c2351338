#!/usr/bin/env bash
# The Windows-only sources (platform/win32, the named pipe transport) must at least compile.
# Checked with the MinGW-w64 cross compiler, syntax only: no Windows machine is needed.
set -euo pipefail
cd "$(dirname "$0")/.."

cxx=x86_64-w64-mingw32-g++-posix
if ! command -v "$cxx" >/dev/null; then
  echo "check-windows: $cxx not found (scripts/setup.sh installs it)" >&2
  exit 1
fi
shopt -s nullglob
sources=(platform/win32/*.cpp simlink/transport/win32/*.cpp)
for src in "${sources[@]}"; do
  "$cxx" -std=c++20 -fsyntax-only -Wall -Wextra -Werror -D_WIN32_WINNT=0x0A00 -I. "$src"
  echo "check-windows: $src compiles for Windows"
done
