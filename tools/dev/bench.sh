# ./dev bench: the library beside its peers, and the guard of the instructions that key operations take.

# Results that are meant to last, and those of a try.
results=bench/results
try_results=build/bench/results

ensure_bench() {
    ensure_compiler
    ensure libbenchmark-dev libboost-dev libabsl-dev libglib2.0-dev liblzma-dev libicu-dev libxxhash-dev \
        pkg-config valgrind wamerican
}

ensure_report() {
    ensure python3 python3-matplotlib
}

# Debian's python, which has Debian's packages.
report() {
    PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 bench/report/report.py bench "$@"
}

# Runs the program of a name, at length or for a try, and puts what it measured into the results. A run of a benchmark is
# long enough for the caches that it finds cold not to count.
measure() {
    local how=$1 name=$2 written=build/bench/written/$2.json log=build/bench/written/$2.log
    local directory=$results repetitions=9 seconds=0.2 most_strings=10000000
    if [ "$how" = quick ]; then
        directory=$try_results repetitions=3 seconds=0.05 most_strings=10000
    elif [ "$name" = codecs ]; then
        seconds=0.05 # of microseconds at most each, and there are many
    fi
    echo "== $name" >&2
    mkdir -p "$directory" build/bench/written
    if [ "$name" = scale ]; then
        build/bench/bench/scale "$most_strings" >"$written" 2>"$log" || { cat "$log" >&2; return 1; }
    else
        "build/bench/bench/$(target_of "$name")" --benchmark_repetitions="$repetitions" --benchmark_min_time="$seconds" \
            --benchmark_enable_random_interleaving=true --benchmark_out="$written" --benchmark_out_format=json \
            >"$log" 2>&1 || { cat "$log" >&2; return 1; }
    fi
    python3 bench/report/keep.py "$written" build/bench/CMakeCache.txt "$directory/$name.json"
}

# The same for all names, and the report: on all results there are, or for a try on those of the names.
measure_all() {
    local how=$1 name
    shift
    ensure_report
    for name in "$@"; do
        measure "$how" "$name"
    done
    if [ "$how" = quick ]; then
        report "$try_results" "$@"
    else
        report "$results"
    fi
}

# Counts the instructions of the key operations, and compares them with the record, or makes them the record.
count_instructions() {
    local place=build/bench/instructions
    build bench --target operations
    rm -rf "$place" && mkdir -p "$place"
    valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$place/dump" --log-file="$place/valgrind.log" \
        build/bench/bench/operations >"$place/counted" || { cat "$place/valgrind.log" >&2; return 1; }
    python3 bench/report/instructions.py "$@" "$place/counted" "$place/dump" bench/instructions.txt
}

# The target of a name: its program of Google Benchmark, or bench/scale.cpp, which measures the pool by number of strings.
target_of() {
    if [ "$1" = scale ]; then echo scale; else echo "$1_bench"; fi
}

# The names of all programs.
benchmark_names() {
    local file
    for file in bench/*_bench.cpp bench/scale.cpp; do
        [ ! -f "$file" ] || basename "${file%_bench.cpp}" .cpp
    done
}

command_bench() {
    local how=long all name names=() targets=()
    case "${1:-}" in
    --check | --record)
        [ $# -eq 1 ] || { echo "dev: bench $1 takes nothing more" >&2; exit 2; }
        ensure_bench
        if [ "$1" = --record ]; then count_instructions --record; else count_instructions; fi
        return
        ;;
    --report)
        [ $# -eq 1 ] || { echo "dev: bench --report takes nothing more" >&2; exit 2; }
        ensure_report
        report "$results"
        return
        ;;
    --quick)
        how=quick
        shift
        ;;
    esac
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        names+=("$1")
        shift
    done
    all=$(benchmark_names | paste -s -d ' ')
    for name in "${names[@]}"; do
        [[ " $all " == *" $name "* ]] || { echo "dev: there is no benchmark $name" >&2; exit 2; }
    done
    if [ $# -gt 0 ] && { [ ${#names[@]} -ne 1 ] || [ "$how" = quick ]; }; then
        echo "dev: arguments of Google Benchmark go to one benchmark: ./dev bench NAME -- ARGUMENTS" >&2
        exit 2
    fi
    [ ${#names[@]} -gt 0 ] || mapfile -t names < <(benchmark_names)
    ensure_bench
    for name in "${names[@]}"; do
        targets+=("$(target_of "$name")")
    done
    build bench --target "${targets[@]}"
    if [ $# -gt 0 ]; then
        shift
        "build/bench/bench/${targets[0]}" "$@"
    else
        measure_all "$how" "${names[@]}"
    fi
}
