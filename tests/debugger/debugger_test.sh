#!/usr/bin/env bash
# debugger_test.sh KIND PROGRAM EXPECTED BUILD_DIRECTORY: lets a debugger show what is in the program, and compares that
# with the file EXPECTED. Ends with 77 where the debugger is missing, has no Python, or may not trace a process. KIND is
# - all:        every printer, at several places of the program,
# - optimised:  the same, where the compiler may have left values out,
# - pool:       the command about the pool, of a process and of a core file,
# - stripped:   a library without debug information, with the script that is loaded by hand,
# - installed:  the first lines of `all`, with a library that is installed from the build directory,
# - lldb:       what lldb shows with tools/lldb/orva.py.
# All but the last ask gdb.
set -euo pipefail

kind=$1 program=$2 expected=$3 build=$4
here=$(dirname "$0")
unset DEBUGINFOD_URLS
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

skip() {
    echo "skipped: $1"
    exit 77
}

# The lines that the scripts print, with those numbers made alike that change by the run or the library's build.
lines_of() {
    sed -nE 's/^@ //; T; s/0x[0-9a-f]{9,}/ADDRESS/g; s/LWP [0-9]+/LWP N/g; s/(_c[A-Z][A-Za-z]+ \()[0-9]+ bytes/\1N bytes/g; p' \
        "$1"
}

if [ "$kind" = lldb ]; then
    command -v lldb >/dev/null || skip "there is no lldb"
    # Debian 12 puts the modules of lldb where its lldb does not look for them.
    llvm=$(dirname "$(dirname "$(readlink -f "$(command -v lldb)")")")
    for modules in "$llvm"/lib/python3.*/dist-packages; do
        PYTHONPATH=${PYTHONPATH:+$PYTHONPATH:}$modules:$llvm/lib/python3/dist-packages/lldb
    done
    export PYTHONPATH
    trial=$(timeout 60 lldb -x -b -o 'process launch --stop-at-entry' -o 'process status' \
        -o 'script print("Python:", lldb.SBDebugger.IsValid is not None)' -o 'process kill' "$program" </dev/null 2>&1) || true
    [[ $trial == *"Python: True"* ]] || skip "lldb has no Python: $trial"
    [[ $trial == *"stopped"* ]] || skip "lldb may not trace a process: $trial"
    timeout 120 lldb -x -b -o "command script import $here/../../tools/lldb/orva.py" \
        -o "command script import $here/look_lldb.py" "$program" >"$scratch/output" 2>&1 </dev/null || true
    if grep -q Traceback "$scratch/output" || ! grep -q '^@ ' "$scratch/output"; then
        cat "$scratch/output" >&2 && exit 1
    fi
    diff -u "$expected" <(lines_of "$scratch/output")
    exit 0
fi

command -v gdb >/dev/null || skip "there is no gdb"
trial=$(gdb -nx -batch -ex starti -ex 'python print("traced:", gdb.selected_inferior().pid != 0)' "$program" \
    </dev/null 2>&1) || true
[[ $trial == *"traced: True"* ]] || skip "gdb may not trace a process, or has no Python: $trial"

# What look.py prints.
look() {
    local what=$1
    shift
    ORVA_LOOK_AT=$what ORVA_CORE_FILE=$scratch/core timeout 120 gdb -nx -batch "$@" -x "$here/look.py" \
        >"$scratch/output" 2>&1 </dev/null || { cat "$scratch/output" >&2 && exit 1; }
    if grep -qE 'Python Exception|Traceback|Error in sourced' "$scratch/output"; then
        cat "$scratch/output" >&2 && exit 1
    fi
    lines_of "$scratch/output"
}

trusted=(-iex "add-auto-load-safe-path $build")
case "$kind" in
all)
    diff -u "$expected" <(look all "${trusted[@]}" "$program")
    ;;
optimised)
    # Each value is there as it should be or left out, and most are there.
    look all "${trusted[@]}" "$program" >"$scratch/shown"
    paste -d '\n' "$expected" "$scratch/shown" | awk '
        NR % 2 { expected = $0; next }
        $0 == expected { same++; next }
        /= <optimized out>$/ || / = <(error: )?value has been optimized out>$/ { out++; next }
        { print "expected: " expected "\nshown:    " $0; bad = 1 }
        END { print same + 0 " shown, " out + 0 " optimised out"; exit bad || same < 4 * out }'
    ;;
pool)
    {
        look pool "${trusted[@]}" "$program"
        look core "${trusted[@]}" "$program" -ex "core-file $scratch/core"
    } >"$scratch/shown"
    diff -u "$expected" "$scratch/shown"
    ;;
stripped)
    objcopy --strip-debug "$(readlink -f "$build/libORVA.so")" "$scratch/libORVA.so.1"
    diff -u "$expected" <(look stripped -x "$here/../../tools/gdb/load.py" -ex "set environment LD_LIBRARY_PATH $scratch" \
        "$program")
    ;;
installed)
    cmake --install "$build" --prefix "$scratch/prefix" >"$scratch/install" || { cat "$scratch/install" && exit 1; }
    library=$(find "$scratch/prefix" -name 'libORVA.so.*.*' ! -name '*.py' -printf '%h\n' | sort -u)
    lines=$(look all -iex "add-auto-load-scripts-directory $scratch/prefix/share/gdb/auto-load" \
        -iex "add-auto-load-safe-path $scratch/prefix" -ex "set environment LD_LIBRARY_PATH $library" "$program")
    diff -u <(head -12 "$expected") <(head -12 <<<"$lines")
    ;;
esac
