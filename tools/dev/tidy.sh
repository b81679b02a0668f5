# ./dev tidy: clang-tidy with the checks of .clang-tidy over the library and the examples, or over the sources named.

command_tidy() {
    ensure_compiler && ensure clang clang-tidy libgtest-dev libgmock-dev
    # With the flags of clang++, as the sources are now.
    cmake --preset asan -B build/tidy >&2
    local files=("$@") log=build/tidy/findings.log
    # The largest first, so that no process is left alone with them at the end.
    [ $# -gt 0 ] || mapfile -t files < <(find xplat examples -name '*.cpp' -printf '%s %p\n' | sort -rn | cut -d ' ' -f 2)
    # shellcheck disable=SC2154 # jobs is the one of ./dev
    if ! printf '%s\0' "${files[@]}" |
        xargs -0 -n 1 -P "$jobs" clang-tidy -p build/tidy --quiet >"$log" 2>"$log.rest"; then
        # Where it ended without one, the last that it said tells why.
        grep -qh 'error: ' "$log" "$log.rest" || tail -n 20 "$log.rest" >&2
        # A finding in a header comes once for each source that includes it.
        sed -nE "s|^($PWD/)?(.*error: .*)|\\2|p" "$log" "$log.rest" | sort -u >&2
        echo "dev: clang-tidy has findings; all that it says is in $log" >&2
        return 1
    fi
    echo "tidy: no findings in ${#files[@]} sources"
}
