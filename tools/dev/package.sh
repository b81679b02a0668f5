# ./dev package: the library as Debian packages, checked by lintian.

package_tools=(dpkg-dev file gzip lintian)

# Makes the packages in directory $1, with the flags that Debian gives its own.
make_packages() {
    local directory=$1 flags=(env DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --get)
    local log=$directory/package.log
    mkdir -p "$directory"
    {
        CXXFLAGS="$("${flags[@]}" CXXFLAGS) $("${flags[@]}" CPPFLAGS)" LDFLAGS=$("${flags[@]}" LDFLAGS) \
            cmake --preset package -B "$directory" -D ORVA_STATIC=OFF -U 'CMAKE_INSTALL_*DIR' \
            && cmake --build "$directory" -j "$jobs" \
            && rm -f "$directory"/*.deb \
            && (umask 022 && cd "$directory" && cpack -G DEB)
    } >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
}

# What lintian has to say about the packages in directory $1. Errors and warnings count.
check_packages() {
    lintian --allow-root --fail-on error,warning "$1"/*.deb
}

command_package() {
    ensure_compiler "${package_tools[@]}"
    make_packages build/package
    check_packages build/package
    ls build/package/*.deb
}
