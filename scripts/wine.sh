# Wine as scripts/windows uses it: an installation of its own in build/wine, without a screen. Sourced, not run.

# wine_start FOLDER...: makes the installation if there is none and starts its server. Programs find their DLLs in the folders.
wine_start() {
    export WINEPREFIX=$root/build/wine WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='
    unset DISPLAY WAYLAND_DISPLAY
    wineserver -k 2>/dev/null || true
    if [ ! -e "$WINEPREFIX/.complete" ]; then
        rm -rf "$WINEPREFIX"
        mkdir -p build
        wineboot -i >build/wine.log 2>&1 </dev/null || true # its status says nothing
        wineserver -w
        wine_settings >>build/wine.log 2>&1 </dev/null || fail "wine does not start; build/wine.log has its messages"
        wineserver -k || true
        wineserver -w
        touch "$WINEPREFIX/.complete"
    fi
    # One server for all programs: without it each program boots Windows. The first program also starts services, which
    # inherit its streams and would keep the pipes of a test open, hence the nulls.
    wineserver -p >/dev/null 2>&1 </dev/null
    wine cmd /c exit >/dev/null 2>&1 </dev/null
    trap 'wineserver -k 2>/dev/null || true' EXIT

    wine_path "$@"
}

# wine_path [FOLDER...]: where programs find their DLLs, besides their own folder.
wine_path() {
    local folder
    WINEPATH=
    for folder in "$@"; do WINEPATH+=${WINEPATH:+;}$(windows_path "$folder"); done
    export WINEPATH
}

# windows_path PATH: as programs for Windows name an absolute path of this machine.
windows_path() { printf 'Z:%s' "${1//\//\\}"; }

wine_settings() {
    # A fault ends the program at once; wine's debugger would print a page and take its time.
    wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /t REG_SZ /d false /f &&
        wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Auto /t REG_SZ /d 0 /f &&
        # Wine passes no variables on that begin with QT_.
        wine reg add 'HKCU\Environment' /v QT_QPA_PLATFORM /d offscreen /f &&
        wine winecfg -v win10
}
