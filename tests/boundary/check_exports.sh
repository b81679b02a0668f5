#!/usr/bin/env bash
# Checks that the shared library $1 exports names of the library's own namespace, its few global names, and what the
# compiler exports with exceptions of its dependencies, so that they can be caught outside; and nothing else.
set -euo pipefail

exported=$(nm -D --defined-only --demangle "$1" | cut -d' ' -f3-)
[ -n "$exported" ] || { echo "no exported names in $1"; exit 1; }
grep -q '^ORVA::Buffers::CPObjectMemory::Alloc(' <<<"$exported" || { echo "$1 does not export the library"; exit 1; }
others=$(grep -vE \
    -e '^((vtable|typeinfo|typeinfo name|guard variable|non-virtual thunk|VTT) (for|to) )?(ORVA|boost|std)::' \
    -e '^isDebuggerPresent\(\)$' \
    -e '^_nqfUID const& __nqf_uuidof<' \
    -e '^(vtable|typeinfo|typeinfo name) for INQF(Unknown|ClassFactory)$' \
    <<<"$exported" || true)
if [ -n "$others" ]; then
    echo "exported, but not part of the boundary:"
    echo "$others"
    exit 1
fi
