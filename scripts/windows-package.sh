# The package for users of Windows. Sourced by scripts/windows, not run.

# dll_names FILE: the DLLs that a program or DLL loads at its start.
dll_names() { x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/^\s*DLL Name: //p'; }

# copy_dlls PREFIX BIN: copies to BIN what its files need and PREFIX has; the rest belongs to Windows.
copy_dlls() {
    local prefix=$1 bin=$2 file name found=true
    while $found; do
        found=false
        while read -r file; do
            for name in $(dll_names "$file"); do
                if [ ! -e "$bin/$name" ] && [ -e "$prefix/bin/$name" ]; then
                    cp "$prefix/bin/$name" "$bin/"
                    found=true
                fi
            done
        done < <(find "$bin" -name '*.dll' -o -name '*.exe')
    done
}

# separate_debug_information FILE DEBUG-FILE: the build has done that for Common.dll already.
separate_debug_information() {
    local separated
    separated=build/windows-release/debug/$(basename "$2")
    if [ -e "$separated" ]; then
        cp "$separated" "$2"
        return
    fi
    x86_64-w64-mingw32-objcopy --only-keep-debug "$1" "$2"
    x86_64-w64-mingw32-strip "$1"
    x86_64-w64-mingw32-objcopy --add-gnu-debuglink="$2" "$1"
}

# make_package PREFIX: builds, installs, adds the libraries, separates the debug information, and tries the result where
# nothing else is.
make_package() {
    local prefix=$1 version name file out=$root/build/windows-package
    configure_and_build windows-release
    version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' build/windows-release/CMakeCache.txt)
    name=kiln-$version-windows-x64
    rm -rf "$out"
    cmake --install build/windows-release --prefix "$out/$name" >/dev/null
    mkdir -p "$out/$name-debug" "$out/$name/bin/platforms" "$out/$name/bin/imageformats"
    cp "$prefix/plugins/platforms/qwindows.dll" "$out/$name/bin/platforms/"
    cp "$prefix"/plugins/imageformats/*.dll "$out/$name/bin/imageformats/"
    for file in "$out/$name"/bin/*.{exe,dll}; do
        separate_debug_information "$file" "$out/$name-debug/$(basename "$file").debug"
    done
    copy_dlls "$prefix" "$out/$name/bin"
    cp README.md CHANGELOG.md "$out/$name/"
    (cd "$out" && cmake -E tar cf "$name.zip" --format=zip "$name" && cmake -E tar cf "$name-debug.zip" --format=zip "$name-debug")

    step "The package where nothing else is"
    wine_path
    mkdir -p "$out/a new machine"
    (
        cd "$out/a new machine"
        cmake -E tar xf "../$name.zip"
        wine "$name/bin/kiln.exe" import "$(windows_path "$root/tests/Data/images/cell.png")" cell.tif --pixel-size '107 nm'
        wine "$name/bin/kiln.exe" validate cell.tif
        wine "$name/bin/kiln.exe" info cell.tif | grep -q '550 x 660' || fail "the packaged tool reads something else"
        cmake -DPACKAGE="$PWD/$name" -DSOURCE_DIR="$root" -DWORK_DIR="$PWD/consumer" -DGENERATOR=Ninja -DEXE_SUFFIX=.exe \
            -DEMULATOR=wine -DTOOLCHAIN="$prefix/mingw.cmake" -P "$root/tests/Consumer/Run.cmake"
    )
    scripts/windows-picture "$out/a new machine/$name/bin/viewer.exe" build/windows/cell.tif "$out/viewer.png"
    rm -rf "$out/a new machine"
    printf '%s\n' "$out/$name.zip"
}
