# ./dev fuzz: the harnesses of fuzz/ under libFuzzer.

# Runs one harness for a time, and tells what came of it in one line. The corpus it makes, its log and what it finds are
# kept; the seeds in fuzz/corpus are only read.
fuzz_one() {
    local harness=$1 seconds=$2 runs="build/fuzz/runs/$1" options=() status=0 executions coverage
    mkdir -p "$runs/corpus" "$runs/findings"
    [ ! -f "fuzz/$harness.dict" ] || options+=("-dict=fuzz/$harness.dict")
    ASAN_OPTIONS=detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1 \
        "build/fuzz/fuzz/${harness}_fuzz" -max_total_time="$seconds" -timeout=20 -print_final_stats=1 \
        -artifact_prefix="$runs/findings/" "${options[@]}" "$runs/corpus" "fuzz/corpus/$harness" \
        >"$runs/log" 2>&1 || status=$?
    executions=$(sed -nE 's/^stat::number_of_executed_units: *//p' "$runs/log" | tail -n 1)
    coverage=$(sed -nE 's/^#[0-9]+.* cov: ([0-9]+) .* corp: ([0-9]+)\/.*/\1 \2/p' "$runs/log" | tail -n 1)
    printf '%-14s %12s %8s %8s\n' "$harness" "${executions:--}" ${coverage:-- -}
    [ "$status" -eq 0 ] || echo "$harness" >>build/fuzz/runs/failed
}

command_fuzz() {
    local seconds=${1:-} harness
    if [[ ! $seconds =~ ^[1-9][0-9]*$ ]]; then
        echo "dev: fuzz needs a number of seconds" >&2 && exit 2
    fi
    shift
    if [ $# -eq 0 ]; then
        set -- fuzz/*_fuzz.cpp
        set -- "${@#fuzz/}"
        set -- "${@%_fuzz.cpp}"
    fi
    for harness in "$@"; do
        [ -f "fuzz/${harness}_fuzz.cpp" ] || { echo "dev: there is no harness $harness" >&2 && exit 2; }
    done
    ensure_compiler && ensure clang libclang-rt-14-dev
    build fuzz --target fuzzers
    mkdir -p build/fuzz/runs
    rm -f build/fuzz/runs/failed
    printf '%-14s %12s %8s %8s\n' harness executions edges corpus
    for harness in "$@"; do
        while [ "$(jobs -rp | wc -l)" -ge 2 ]; do
            wait -n || true
        done
        fuzz_one "$harness" "$seconds" &
    done
    wait
    [ -f build/fuzz/runs/failed ] || return 0
    while read -r harness; do
        echo "dev: $harness has a finding; its log is build/fuzz/runs/$harness/log, the inputs are:" >&2
        ls "build/fuzz/runs/$harness/findings"/* >&2 || true
        tail -n 40 "build/fuzz/runs/$harness/log" >&2
    done <build/fuzz/runs/failed
    return 1
}
