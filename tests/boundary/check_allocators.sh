#!/usr/bin/env bash
# Checks that the shared library $1 takes memory by malloc, realloc and new alone, and opens directories: these are what
# the tests in faults/ can make fail.
set -euo pipefail

undefined=$(nm -D --undefined-only "$1" | awk '{ sub(/@.*/, "", $2); print $2 }')
grep -qx malloc <<<"$undefined" || { echo "$1 does not call malloc: is it the library?"; exit 1; }
others=$(grep -E 'alloc|^_Zn[aw]|dup|asprintf|getline|open_memstream|memalign|mmap|sbrk|scandir|opendir|getcwd|realpath' \
    <<<"$undefined" | grep -vxE 'malloc|realloc|_Znwm|opendir|__cxa_allocate_exception' || true)
if [ -n "$others" ]; then
    echo "called, but no test makes it fail:"
    echo "$others"
    exit 1
fi
