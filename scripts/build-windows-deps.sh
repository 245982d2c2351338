#!/usr/bin/env bash
# Cross-builds the libraries of the Windows build from Debian's own sources, at the versions Debian ships
# for Linux (the version of the installed -dev package), into one prefix:
#   pugixml, libzip     static, from their source packages (apt-get source)
#   curl                static, Schannel for TLS (the system's own: no OpenSSL to ship), HTTP(S) only
#   googletest          static gtest and gmock, from /usr/src/googletest (libgtest-dev)
#   cpp-httplib         its header-only httplib.h, from the source package (only the test double uses it)
# and copies Debian's header-only fmt (used in header-only mode) and nlohmann json beside them.
# zlib is Debian's libz-mingw-w64-dev. Each library is rebuilt only when its version or its recipe in
# this file changes: a stamp per library records both.
#
#   scripts/build-windows-deps.sh            prefix: $ZARK_WIN_DEPS or ~/.cache/zark-p3d/mingw-deps
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
prefix=${ZARK_WIN_DEPS:-$HOME/.cache/zark-p3d/mingw-deps}
work=$prefix/.work
toolchain=$root/cmake/mingw-w64-x86_64.cmake
jobs=$(nproc 2>/dev/null || echo 2)
mkdir -p "$prefix/include" "$prefix/stamps" "$work"

# The Debian version of the source package behind an installed binary package.
lf_version() { dpkg-query -W -f='${source:Version}' "$1"; }

# A stamp names the library, its version and the hash of its recipe (the function that builds it).
lf_stamp() { echo "$prefix/stamps/$1-$2-$(declare -f "build_$1" | sha1sum | cut -c1-12)"; }

lf_cmake() {  # source dir, build dir, extra args...
    local src=$1 bld=$2
    shift 2
    cmake -S "$src" -B "$bld" -G "Unix Makefiles" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
        -DZARK_WIN_DEPS="$prefix" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
        -DBUILD_SHARED_LIBS=OFF "$@" >"$bld.configure.log" 2>&1 || {
        tail -40 "$bld.configure.log" >&2
        return 1
    }
    cmake --build "$bld" -j"$jobs" >"$bld.build.log" 2>&1 || {
        tail -40 "$bld.build.log" >&2
        return 1
    }
    cmake --install "$bld" >/dev/null
}

# Unpacks Debian's source package at one version into $work/<name>-src (patches applied).
lf_source() {
    local name=$1 version=$2
    rm -rf "$work/$name-src" "$work/$name-dl"
    mkdir -p "$work/$name-dl"
    (cd "$work/$name-dl" && apt-get source -q "$name=$version" >/dev/null) || {
        echo "windows-deps: apt-get source $name=$version failed (deb-src lines: scripts/setup.sh)" >&2
        return 1
    }
    local dir
    dir=$(find "$work/$name-dl" -mindepth 1 -maxdepth 1 -type d | head -1)
    mv "$dir" "$work/$name-src"
    rm -rf "$work/$name-dl"
}

build_pugixml() {
    lf_source pugixml "$1"
    lf_cmake "$work/pugixml-src" "$work/pugixml-build" -DPUGIXML_BUILD_TESTS=OFF
}

build_libzip() {
    lf_source libzip "$1"
    # No bzip2, lzma, zstd or crypto libraries: the program reads and writes deflated archives only.
    lf_cmake "$work/libzip-src" "$work/libzip-build" -DBUILD_TOOLS=OFF -DBUILD_REGRESS=OFF \
        -DBUILD_EXAMPLES=OFF -DBUILD_DOC=OFF -DENABLE_BZIP2=OFF -DENABLE_LZMA=OFF -DENABLE_ZSTD=OFF \
        -DENABLE_OPENSSL=OFF -DENABLE_GNUTLS=OFF -DENABLE_MBEDTLS=OFF -DENABLE_COMMONCRYPTO=OFF \
        -DENABLE_WINDOWS_CRYPTO=OFF
}

build_curl() {
    lf_source curl "$1"
    # Schannel is the TLS of Windows itself, with its certificate store: nothing to ship, nothing to
    # update beside the system. HTTP and HTTPS are all the program speaks.
    lf_cmake "$work/curl-src" "$work/curl-build" -DCURL_USE_SCHANNEL=ON -DCURL_USE_OPENSSL=OFF \
        -DCURL_USE_LIBSSH2=OFF -DUSE_LIBIDN2=OFF -DUSE_NGHTTP2=OFF -DCURL_USE_LIBPSL=OFF \
        -DCURL_BROTLI=OFF -DCURL_ZSTD=OFF -DCURL_ZLIB=ON -DHTTP_ONLY=ON -DBUILD_CURL_EXE=OFF \
        -DBUILD_TESTING=OFF -DENABLE_MANUAL=OFF -DCURL_DISABLE_LDAP=ON -DENABLE_UNICODE=ON
}

build_cpp_httplib() {
    # Debian's binary package is split into a header and a shared library; its source keeps the upstream
    # header-only httplib.h (with Debian's patches), which is all a Windows build needs.
    lf_source cpp-httplib "$1"
    cp "$work/cpp-httplib-src/httplib.h" "$prefix/include/httplib.h"
}

build_googletest() {
    # libgtest-dev installs the source package's tree under /usr/src/googletest.
    lf_cmake /usr/src/googletest "$work/googletest-build" -Dgtest_disable_pthreads=OFF -DINSTALL_GTEST=ON
}

lf_one() {  # name, Debian binary package that carries the version
    local name=$1 recipe=${1//-/_} version stamp
    version=$(lf_version "$2")
    stamp=$(lf_stamp "$recipe" "$version")
    if [ -e "$stamp" ]; then
        echo "windows-deps: $name $version (cached)"
        return
    fi
    echo "windows-deps: building $name $version for Windows"
    local t0=$SECONDS
    "build_$recipe" "$version"
    rm -f "$prefix/stamps/$recipe-"*
    touch "$stamp"
    echo "windows-deps: $name $version built in $((SECONDS - t0)) s"
}

lf_one pugixml libpugixml-dev
lf_one libzip libzip-dev
lf_one curl libcurl4-openssl-dev
lf_one googletest libgtest-dev
lf_one cpp-httplib libcpp-httplib-dev

# Header-only libraries: Debian's headers, copied so that the cross compiler never sees /usr/include.
for h in fmt nlohmann; do
    rm -rf "${prefix:?}/include/$h"
    cp -a "/usr/include/$h" "$prefix/include/$h"  # the dates too: no rebuild when nothing changed
done
rm -rf "$work"
echo "windows-deps: ready in $prefix"
