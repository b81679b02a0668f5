# ./dev installed: the library in each form that it can be installed in, and the examples built and run with it.

. tools/dev/package.sh

# Compiled once, each form is linked of the same objects. All forms come to one place in turn, so that what a user compiles with
# the headers of one is, if nothing has changed, only linked again with the next.
installed=$PWD/build/installed
library=$installed/library
root=$installed/root

# Runs a command quietly; what it printed is shown if it fails.
quietly() {
    "$@" >"$installed/last.log" 2>&1 </dev/null || { echo "dev: failed: $*" >&2 && cat "$installed/last.log" >&2 && exit 1; }
}

# Installs what the library's build tree has, to one place, and moves it to another: nothing may depend on where it was.
install_by_cmake() {
    rm -rf "$root" "$installed/first"
    quietly cmake --install "$library" --prefix "$installed/first/usr"
    mv "$installed/first" "$root"
}

install_packages() {
    rm -rf "$root"
    local package
    for package in "$library"/*.deb; do
        dpkg-deb --extract "$package" "$root"
    done
}

# The programs in directory $1 do what they are there for. $2 is before the name of each example's directory.
run_programs() {
    local at=$1/$2
    quietly "$at"catalog/catalog --watch 0 README.md docs
    quietly "$at"fractions/fractions
    quietly "$at"host/host "$at"host/components README.md
    quietly "$at"housekeeping/housekeeping
    quietly "$at"notes/notes
    quietly "$at"waiting/waiting
    quietly "$1/version"
    quietly diff "$PWD/tests/boundary/lifetime_output.txt" <("$1/lifetime" 2>&1)
}

# Builds and runs all examples with what is installed: its name, and what make has to know of it.
use_installed() {
    local form=$1 start=$SECONDS
    quietly cmake -S tests/installed -B "$installed/with-cmake" -G Ninja -D CMAKE_PREFIX_PATH="$root/usr" \
        -D CMAKE_CXX_FLAGS=-O0 -U '*_DIR'
    quietly cmake --build "$installed/with-cmake" -j "$jobs"
    run_programs "$installed/with-cmake" ''
    mkdir -p "$installed/with-pkg-config"
    PKG_CONFIG_PATH=$(dirname "$root"/usr/lib/*/pkgconfig/orva.pc) \
        quietly make -C "$installed/with-pkg-config" -f "$PWD/tests/installed/Makefile" -j "$jobs" SOURCES="$PWD" "${@:2}"
    LD_LIBRARY_PATH=$(echo "$root"/usr/lib/*/) run_programs "$installed/with-pkg-config" examples/
    echo "installed: $form: all examples are built and run with CMake and with pkg-config ($((SECONDS - start)) s)"
}

# Where library and headers have places of their own, which are given as absolute: one program by each way.
use_absolute_places() {
    # CMake takes no absolute place of headers that is in the sources.
    odd=$(mktemp -d)
    trap 'rm -rf "$odd"' EXIT
    rm -rf "$root"
    quietly cmake -B "$library" -D CMAKE_INSTALL_LIBDIR="$odd/libraries" -D CMAKE_INSTALL_INCLUDEDIR="$odd/headers"
    quietly cmake --build "$library" -j "$jobs"
    quietly cmake --install "$library" --prefix "$odd/usr"
    quietly cmake -S examples/waiting -B "$odd/with-cmake" -G Ninja -D ORVA_DIR="$odd/libraries/cmake/ORVA"
    quietly cmake --build "$odd/with-cmake"
    quietly "$odd/with-cmake/waiting"
    local flags
    flags=$(PKG_CONFIG_PATH="$odd/libraries/pkgconfig" pkg-config --cflags --libs orva)
    # shellcheck disable=SC2086
    quietly g++ -std=c++17 examples/waiting/main.cpp $flags -o "$odd/waiting"
    LD_LIBRARY_PATH="$odd/libraries" quietly "$odd/waiting"
    echo "installed: absolute places of libraries and headers are found"
}

# The files below the place, but for those that packages have for themselves. The place of gdb's script tells where the library
# was installed.
installed_files() {
    (cd "$root" && find . ! -type d ! -path '*/share/doc/*' | sed 's#/auto-load/.*/lib/#/auto-load/.../lib/#' | LC_ALL=C sort)
}

command_installed() {
    ensure_compiler "${package_tools[@]}" make pkg-config
    local files start=$SECONDS
    make_packages "$library"
    check_packages "$library"
    echo "installed: the library and its packages are built ($((SECONDS - start)) s)"

    install_by_cmake
    files=$(installed_files)
    use_installed "shared library"

    install_packages
    diff <(echo "$files") <(installed_files) \
        || { echo "dev: the packages do not have the same files" >&2 && exit 1; }
    use_installed "Debian packages"

    quietly cmake -B "$library" -D ORVA_STATIC=ON
    quietly cmake --build "$library" -j "$jobs"
    install_by_cmake
    use_installed "archive" ARCHIVE=1

    quietly cmake -B "$library" -D ORVA_STATIC=OFF
    use_absolute_places
}
