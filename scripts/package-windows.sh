#!/usr/bin/env bash
# The zip a Windows user installs from: ZARK_P3D.exe, the DLLs it needs beyond the system's own (none: the
# build links everything statically; checked below), the input/ data the build generates, an example
# SimConnect.cfg, an empty docs/ folder and README.txt. Before it is written, the executable must start
# from the unpacked folder in a clean Wine prefix that holds nothing else, and close on WM_CLOSE.
#   scripts/package-windows.sh       needs build-windows/ (scripts/test-windows.sh) and build/install/input
set -euo pipefail
cd "$(dirname "$0")/.."
root=$(pwd)
build=${ZARK_WINDOWS_BUILD:-build-windows}
version=$(sed -n 's/^project(ZARK_P3D VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
exe=$build/ZARK_P3D.exe
input=$build/install/input
for need in "$exe" "$input/dbase.xml" "$build/tools/closewindow/closewindow.exe"; do
    if [ ! -e "$need" ]; then
        echo "package-windows: $need missing (build the Windows build first)" >&2
        exit 1
    fi
done

stage=$build/package/ZARK_P3D
rm -rf "$build/package"
mkdir -p "$stage/docs"
# Without its debug information: 58 MB become a few.
x86_64-w64-mingw32-strip --strip-debug -o "$stage/ZARK_P3D.exe" "$exe"
cp -r "$input" "$stage/input"
cp packaging/windows/SimConnect.cfg.example "$stage/"
sed "s/@VERSION@/$version/" packaging/windows/README.txt | sed 's/$/\r/' >"$stage/README.txt"

# The DLLs it imports must all be the system's own: a DLL of the build (libstdc++, winpthread, curl, ...)
# would be missing on the user's machine.
system_dlls='^(kernel32|user32|gdi32|advapi32|shell32|ws2_32|winmm|crypt32|secur32|bcrypt|ncrypt|wldap32|msvcrt|ole32|shlwapi|iphlpapi|normaliz|api-ms-win-.*)\.dll$'
imports=$(x86_64-w64-mingw32-objdump -p "$exe" | sed -n 's/^\s*DLL Name: //p' | tr 'A-Z' 'a-z' | sort -u)
for dll in $imports; do
    if ! [[ $dll =~ $system_dlls ]]; then
        echo "package-windows: ZARK_P3D.exe needs $dll, which is no system DLL" >&2
        exit 1
    fi
done
echo "package-windows: imports only system DLLs: $(echo "$imports" | tr '\n' ' ')"

# The real check: a clean prefix, the unpacked folder alone, a start and a close by WM_CLOSE.
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LANG=C.UTF-8
export WINEPREFIX
WINEPREFIX=$(cd "$build" && pwd)/package/clean-prefix
wine=/usr/lib/wine/wine64
"$wine" wineboot -i >/dev/null 2>&1
"$wine" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null 2>&1
# The desktop wineboot started knows no display driver yet: a fresh server takes the null one.
/usr/lib/wine/wineserver -k || true
/usr/lib/wine/wineserver -w
(cd "$stage" && ZARK_RT_URL=http://127.0.0.1:9 "$wine" ZARK_P3D.exe >/dev/null 2>&1) &
runner=$!
"$wine" "$build/tools/closewindow/closewindow.exe" --wait 60 >/dev/null
for _ in $(seq 1 300); do
    kill -0 "$runner" 2>/dev/null || break
    sleep 0.1
done
if kill -0 "$runner" 2>/dev/null; then
    echo "package-windows: ZARK_P3D.exe did not end after WM_CLOSE" >&2
    kill "$runner" 2>/dev/null || true
    /usr/lib/wine/wineserver -k 2>/dev/null || true
    exit 1
fi
wait "$runner" || {
    echo "package-windows: ZARK_P3D.exe ended with an error in a clean prefix" >&2
    exit 1
}
if ! grep -q "ZARK_P3D ends at " "$stage/Log.txt"; then
    echo "package-windows: no clean end in the log of the clean start:" >&2
    cat "$stage/Log.txt" >&2
    exit 1
fi
/usr/lib/wine/wineserver -k 2>/dev/null || true
rm -rf "$WINEPREFIX"
# What the trial start left behind is not part of the package.
rm -f "$stage"/Log*.txt "$stage/RealTrafficKey.json"
rm -rf "$stage/output" "$stage/airports" "$stage/input/my_regcodes"

zip_file=$root/$build/ZARK_P3D-$version-windows-x64.zip
rm -f "$zip_file"
(cd "$build/package" && zip -q -r -X "$zip_file" ZARK_P3D)
echo "package-windows: $zip_file ($(du -h "$zip_file" | cut -f1))"
