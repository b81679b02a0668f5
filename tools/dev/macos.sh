# ./dev macos: the library for 64-bit macOS, compiled and linked on this system.

# Ends the command where something that it needs cannot be had. 77 is the code for "could not run", which is no failure.
cannot_run_macos() {
    echo "dev: macos cannot run here: $1" >&2
    exit 77
}

# The compiler, from npm: the version and the checksums are those in tools/macos.
ensure_zig() {
    local place=build/tools/zig
    if ! cmp -s tools/macos/package-lock.json "$place/installed-lock.json"; then
        command -v npm >/dev/null || cannot_run_macos "the compiler is an npm package, and there is no npm"
        echo "dev: installing the compiler from npm" >&2
        rm -rf "$place"
        mkdir -p "$place"
        cp tools/macos/package.json tools/macos/package-lock.json "$place"
        (cd "$place" && npm install --no-audit --no-fund --ignore-scripts >npm.log 2>&1) \
            || {
                cat "$place/npm.log" >&2
                ! grep -q EINTEGRITY "$place/npm.log" || exit 1
                cannot_run_macos "npm did not install the compiler; is its registry in reach?"
            }
        cp tools/macos/package-lock.json "$place/installed-lock.json"
    fi
    export ZIG_GLOBAL_CACHE_DIR=$PWD/$place/cache ZIG_LOCAL_CACHE_DIR=$PWD/$place/cache
    "$place/node_modules/.bin/zig" version >/dev/null || cannot_run_macos "the compiler does not run on this machine"
}

# What the library leaves to the loader is of Boost and the C++ library, or of the compiler's runtime, which the one used
# here does not have whole; everything else has a definition.
check_undefined() {
    local undefined others
    undefined=$(llvm-nm-14 -m "$1" | sed -nE 's/.*\(undefined\).* external _(.*) \(dynamically looked up\)$/\1/p')
    grep -q '^_ZN5boost6thread' <<<"$undefined" || { echo "dev: $1 does not look like the library" >&2; return 1; }
    others=$(grep -vE -e '^_Z(T[VIS])?N?K?(St|5boost|10__cxxabiv1)' -e '^_Z(nw|na|dl|da)' -e '^__(cxa|gxx)_' \
        -e '^__cpu_(model|features2|indicator_init)$' <<<"$undefined" | c++filt || true)
    [ -z "$others" ] || { echo "dev: $1 needs what nobody defines:" >&2; echo "$others" >&2; return 1; }
}

# Each file that asserts something while it is compiled was compiled.
check_assertions() {
    local missing
    missing=$(comm -23 \
        <(grep -rlE --include='*.h' --include='*.cpp' 'static_assert\(' include xplat tests \
            | grep -vE '/linux/|^tests/support/macos/' | LC_ALL=C sort) \
        <(ninja -C "$1" -t deps | sed -nE "s#^ +$(pwd -P)/(.*)#\1#p" | LC_ALL=C sort -u))
    [ -z "$missing" ] || { echo "dev: asserts that were not compiled for macOS are in" >&2; echo "$missing" >&2; return 1; }
}

command_macos() {
    local processor preset start status=0
    (ensure_compiler && ensure llvm-14 libboost-dev libgtest-dev libgmock-dev) \
        || cannot_run_macos "packages are missing and cannot be installed"
    ensure_zig
    build dev --target ORVA
    for processor in arm64 x86_64; do
        preset=macos-$processor start=$SECONDS
        build "$preset"
        check_undefined "build/$preset/libORVA.dylib" || status=1
        check_assertions "build/$preset" || status=1
        bash tools/macos/compare_symbols.sh "build/$preset" build/dev/libORVA.so "$processor" \
            tools/macos/symbol_differences.txt || status=1
        echo "macos: $processor is compiled and linked ($((SECONDS - start)) s)"
    done
    return $status
}
