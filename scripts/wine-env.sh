# Sourced: the Wine of the Windows stage. Sets WINE (Debian's wine64 loader), WINESERVER, a private
# WINEPREFIX under the Windows build folder (created on first use, with the null display driver so that
# windows exist without an X server), its user, and quiet Wine logging.
#   source scripts/wine-env.sh build-windows
zark_wine_build=${1:-build-windows}
export WINE=/usr/lib/wine/wine64 WINESERVER=/usr/lib/wine/wineserver
if [ ! -x "$WINE" ]; then
    echo "wine-env: $WINE not found (scripts/setup.sh installs wine64)" >&2
    return 1
fi
mkdir -p "$zark_wine_build"
export WINEPREFIX
WINEPREFIX=$(cd "$zark_wine_build" && pwd)/wineprefix
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" LANG=C.UTF-8
# Wine names the prefix's user after $USER: a name in letters outside every code page, as many users'
# names are, puts them into every folder of the profile the program and the tests use (app data,
# documents, temp).
export USER=$'Wang \xe7\x8e\x8b \xc5\x81ukasz'
if [ -e "$WINEPREFIX/system.reg" ] && [ ! -d "$WINEPREFIX/drive_c/users/$USER" ]; then
    echo "wine-env: the Wine prefix $WINEPREFIX belongs to another user, made anew"
    rm -rf "$WINEPREFIX"
fi
if [ ! -e "$WINEPREFIX/system.reg" ]; then
    echo "wine-env: creating the Wine prefix $WINEPREFIX"
    "$WINE" wineboot -i >/dev/null 2>&1
    "$WINE" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null 2>&1
    "$WINE" reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null 2>&1
    # A fresh server takes the null driver, and the registry reaches its files when the server ends.
    "$WINESERVER" -k || true
    "$WINESERVER" -w
fi
