# ./dev fuzz: the harnesses of fuzz/ under libFuzzer.

# What --merge adds to the seeds of a harness at the most, and what it may bring those of all harnesses to.
most_new_seeds=8
most_seeds=400
most_seed_bytes=$((1024 * 1024))

# Runs one harness for a time, and tells what came of it in one line. The corpus it makes, its log and what it finds are
# kept; the seeds in fuzz/corpus are only read. The file "clean" says that it ran to its end and found nothing.
fuzz_one() {
    local harness=$1 seconds=$2 runs="build/fuzz/runs/$1" options=() status=0 executions coverage
    mkdir -p "$runs/corpus" "$runs/findings"
    rm -f "$runs/clean"
    [ ! -f "fuzz/$harness.dict" ] || options+=("-dict=fuzz/$harness.dict")
    ASAN_OPTIONS=detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1 \
        "build/fuzz/fuzz/${harness}_fuzz" -max_total_time="$seconds" -timeout=20 -print_final_stats=1 \
        -artifact_prefix="$runs/findings/" "${options[@]}" "$runs/corpus" "fuzz/corpus/$harness" \
        >"$runs/log" 2>&1 || status=$?
    executions=$(sed -nE 's/^stat::number_of_executed_units: *//p' "$runs/log" | tail -n 1)
    coverage=$(sed -nE 's/^#[0-9]+.* cov: ([0-9]+) .* corp: ([0-9]+)\/.*/\1 \2/p' "$runs/log" | tail -n 1)
    printf '%-16s %12s %8s %8s\n' "$harness" "${executions:--}" ${coverage:-- -}
    [ "$status" -ne 0 ] || touch "$runs/clean"
}

fuzz_all() {
    local seconds=$1 harness status=0
    shift
    build fuzz --target fuzzers
    printf '%-16s %12s %8s %8s\n' harness executions edges corpus
    for harness in "$@"; do
        while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do
            wait -n || true
        done
        fuzz_one "$harness" "$seconds" &
    done
    wait
    for harness in "$@"; do
        [ ! -f "build/fuzz/runs/$harness/clean" ] || continue
        status=1
        echo "dev: $harness has a finding; its log is build/fuzz/runs/$harness/log, the inputs are:" >&2
        ls "build/fuzz/runs/$harness/findings"/* >&2 || true
        tail -n 40 "build/fuzz/runs/$harness/log" >&2 || true
    done
    return "$status"
}

# Runs the seeds of one harness and what fuzzing has made of them, once each, and tells in one line how much of the
# sources that it is meant for they reach. The report beside shows these sources line by line.
measure_one() {
    local harness=$1 tools=$2 result="build/fuzz-coverage/results/$1" corpora=("fuzz/corpus/$1") sources executions
    local program="build/fuzz-coverage/fuzz/${harness}_fuzz" found="build/fuzz/runs/$1/corpus"
    [ ! -d "$found" ] || corpora+=("$found")
    mapfile -t sources < <(sed -nE "s/^$harness +//p" fuzz/targets.txt)
    if [ ${#sources[@]} -eq 0 ]; then
        echo "dev: fuzz/targets.txt does not tell what $harness is for" >&2
        return 1
    fi
    if ! LLVM_PROFILE_FILE="$result.profraw" "$program" -runs=0 -print_final_stats=1 -artifact_prefix="$result-" \
        "${corpora[@]}" >"$result.log" 2>&1; then
        echo "dev: $harness has a finding:" >&2
        tail -n 20 "$result.log" >&2
        return 1
    fi
    "$tools/llvm-profdata" merge -sparse "$result.profraw" -o "$result.profdata"
    rm -f "$result.profraw"
    "$tools/llvm-cov" show "$program" -instr-profile="$result.profdata" -show-branches=count "${sources[@]}" \
        >"$result.txt"
    executions=$(sed -nE 's/^stat::number_of_executed_units: *//p' "$result.log")
    "$tools/llvm-cov" report "$program" -instr-profile="$result.profdata" "${sources[@]}" |
        awk -v harness="$harness" -v executions="$executions" '$1 == "TOTAL" {
            printf "%-16s %10s %7d %8s %9d %9s\n", harness, executions, $8, $10, $11, $13
        }'
}

measure_all() {
    local harness tools status=0
    ensure llvm-14
    build fuzz-coverage --target fuzzers
    mkdir -p build/fuzz-coverage/results
    # The tools have to be those of the compiler.
    tools=$(dirname "$(readlink -f "$(command -v clang++)")")
    printf '%-16s %10s %7s %8s %9s %9s\n' harness executions lines reached branches reached
    for harness in "$@"; do
        measure_one "$harness" "$tools" || status=1
    done
    echo "line by line: build/fuzz-coverage/results/HARNESS.txt"
    return "$status"
}

# Adds to the seeds what fuzzing has found that reaches a part of the program that they do not reach, in inputs of at
# most 600 bytes, as the tests take them. Counts of passes are not looked at, which would add ten times as many; and of
# what is left the largest ones are taken, which reach most.
merge_all() {
    local harness merged=build/fuzz/merged files bytes seeds new
    build fuzz --target fuzzers
    rm -rf "$merged"
    for harness in "$@"; do
        [ -d "build/fuzz/runs/$harness/corpus" ] || continue
        mkdir -p "$merged/$harness"
        cp "fuzz/corpus/$harness"/* "$merged/$harness/"
        if ! "build/fuzz/fuzz/${harness}_fuzz" -merge=1 -use_counters=0 -max_len=600 -timeout=20 \
            "$merged/$harness" "build/fuzz/runs/$harness/corpus" >"$merged/$harness.log" 2>&1; then
            tail -n 20 "$merged/$harness.log" >&2
            return 1
        fi
        mapfile -t seeds < <(ls "fuzz/corpus/$harness")
        mapfile -t new < <(ls -S "$merged/$harness" | grep -vxF -f <(printf '%s\n' "${seeds[@]}"))
        (cd "$merged/$harness" && rm -f -- "${new[@]:most_new_seeds}")
        printf '%-16s %4d seeds, %4d others reach more\n' "$harness" "${#seeds[@]}" "${#new[@]}"
    done
    # Those of harnesses that are not merged now count too.
    for harness in fuzz/corpus/*; do
        [ -d "$merged/${harness##*/}" ] || cp -r "$harness" "$merged/"
    done
    files=$(find "$merged" -type f ! -name '*.log' | wc -l)
    bytes=$(find "$merged" -type f ! -name '*.log' -printf '%s\n' | awk '{ sum += $1 } END { print sum + 0 }')
    if [ "$files" -gt "$most_seeds" ] || [ "$bytes" -gt "$most_seed_bytes" ]; then
        echo "dev: $files seeds of $bytes bytes are more than $most_seeds of $most_seed_bytes: none is added" >&2
        echo "dev: see $merged, and merge some harnesses only" >&2
        return 1
    fi
    find "$merged" -name '*.log' -delete
    cp -r "$merged"/. fuzz/corpus/
    echo "$files seeds, $bytes bytes"
}

command_fuzz() {
    local what=${1:-} harness
    if [[ ! $what =~ ^([1-9][0-9]*|--coverage|--merge)$ ]]; then
        echo "dev: fuzz needs a number of seconds, --coverage or --merge" >&2 && exit 2
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
    case "$what" in
    --coverage) measure_all "$@" ;;
    --merge) merge_all "$@" ;;
    *) fuzz_all "$what" "$@" ;;
    esac
}
