#!/usr/bin/env bash
# Checks that the library's objects for macOS in the build directory $1 export what the shared library for Linux $2 exports,
# but for the differences of the processor $3 that the file $4 names. Both directions count, and a named difference that
# is none any more fails too.
#
# What the compiler exports with Boost and the C++ library is left out: it depends on how each of them is built.
set -euo pipefail

build=$1 linux_library=$2 processor=$3 differences=$4
not_ours='^_Z(GV|T[VIST]|T[hv][0-9n_]*)?Z*(N[rVKRO]*)?(St|5boost)'
lists=$(mktemp -d)
trap 'rm -r "$lists"' EXIT

# The names of the library's own, one line for each symbol, so that constructors and destructors, which have several
# symbols of one name, count as often as they are there. `std::__1` is where that C++ library keeps its names.
demangled() {
    sort -u | grep -vE "$not_ours" | c++filt | sed 's/std::__1::/std::/g' | LC_ALL=C sort
}

nm -D --defined-only "$linux_library" | awk '{ print $3 }' | demangled >"$lists/linux"
mapfile -t files < <(find "$build"/CMakeFiles/orva_{,platform_}objects.dir -name '*.o')
[ ${#files[@]} -gt 0 ] || { echo "no objects in $build"; exit 1; }
# Of a macOS object, "private external" names are hidden, and "automatically hidden" ones the linker hides.
llvm-nm-14 -m "${files[@]}" | sed -nE '/\(undefined\)|private external|automatically hidden/d; s/.* external _//p' |
    demangled >"$lists/macos"
[ "$(wc -l <"$lists/linux")" -gt 100 ] || { echo "$2 does not export the library"; exit 1; }

# A named difference is the line "SIDE PROCESSOR NAME".
sed -nE "s/^(linux|macos) ($processor|both) (.*)/\1 \3/p" "$differences" | LC_ALL=C sort >"$lists/named"
{
    LC_ALL=C comm -23 "$lists/linux" "$lists/macos" | sed 's/^/linux /'
    LC_ALL=C comm -13 "$lists/linux" "$lists/macos" | sed 's/^/macos /'
} | LC_ALL=C sort >"$lists/found"
status=0
if ! diff "$lists/named" "$lists/found" >"$lists/difference"; then
    echo "The exported names for macOS on $processor are not those for Linux; > is a difference that is not named in"
    echo "$differences, < one that is named there and is none:"
    grep '^[<>]' "$lists/difference"
    status=1
fi
echo "macos: $processor exports $(wc -l <"$lists/macos") names of the library, Linux $(wc -l <"$lists/linux");" \
    "$(wc -l <"$lists/named") named differences"
exit $status
