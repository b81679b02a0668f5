# ./dev memcheck: all tests once under valgrind's memcheck, two programs at a time. VALGRIND_OPTS is valgrind's own
# variable for more options, such as --track-origins=yes.

runs=build/dev/memcheck

# Tests of a program, as GoogleTest's filter names them, that cannot pass here; each with the reason.
memcheck_left_out() {
    case "$1" in
    # A signal every 50 microseconds: memcheck does nothing but deliver them, until the test's time is over.
    numerics_tests) echo '*/SharedMTRandomStress.EveryWordIsDrawnOnceByThreadsThatAreHeldUpAnywhere/*' ;;
    esac
}

# Runs a program under memcheck, and each one that it starts, but for those of the system. Each process has a log. What
# takes half an hour hangs. Operators new of a program's own stay in place, since there are tests that make them fail.
under_memcheck() {
    timeout 1800 valgrind --error-exitcode=99 --leak-check=full --fair-sched=yes --num-callers=20 \
        --soname-synonyms=somalloc=nouserintercepts \
        --suppressions="$PWD/tools/valgrind.supp" --log-file="$PWD/$runs/$memcheck_name/%p.log" \
        --trace-children=yes --trace-children-skip='/bin/*,/usr/bin/*' "$@"
}

# Runs one test: its name, and the command that ctest has for it. Its output is kept.
memcheck_test() {
    local memcheck_name=$1 left_out
    shift
    left_out=$(memcheck_left_out "$memcheck_name")
    if [ ! -x "${1:-}" ]; then
        echo "there is no such program" && return 1
    elif [[ ${2:-} == */check_output.sh ]]; then
        under_memcheck "$3" 2>&1 | diff -u "$4" -
    elif [[ $memcheck_name == fuzz_* ]]; then
        # Fewer changes of the seeds than without memcheck: they are for reads of what was never written.
        under_memcheck "$1" "$2" "$3" $(($4 / 50))
    else
        under_memcheck "$@" ${left_out:+"--gtest_filter=-$left_out"}
    fi
}

# The same, with what came of it in one line: the test, the tests in it, memcheck's errors, the time it took.
memcheck_one() {
    local name=$1 output="$runs/$1/output" start=$SECONDS outcome=passed tests errors
    mkdir -p "$runs/$name"
    memcheck_test "$@" >"$output" 2>&1 </dev/null || outcome=failed
    tests=$(sed -nE 's/^\[=+\] ([0-9]+) tests? from .* ran\..*/\1/p' "$output")
    errors=$(find "$runs/$name" -name '*.log' -exec cat {} + | sed -nE 's/^==[0-9]+== ERROR SUMMARY: ([0-9,]+) errors.*/\1/p' | tr -d , | paste -sd+)
    printf '%-20s %6d %6d  %s %4d s\n' "$name" "${tests:-1}" $((${errors:-0})) "$outcome" $((SECONDS - start)) |
        tee -a "$runs/summary"
}

# The tests that ctest knows, each in a line: its name, and the words of its command. ctest has quoted the words behind the
# first; none has a blank in it.
memcheck_list() {
    local line command=''
    while read -r line; do
        case "$line" in
        *': Test command:'*)
            command=${line#*': Test command:'}
            command=${command//\"/}
            ;;
        'Test '*'#'*': '*)
            # Programs from elsewhere look at files of the build, and run nothing of it, but for one.
            if [[ $command != ' /'* || $command == " $PWD/build/"* || $command == */check_output.sh* ]]; then
                echo "${line##*: }$command"
            fi
            command=''
            ;;
        esac
    done < <(ctest --test-dir build/dev -N -V 2>/dev/null)
}

command_memcheck() {
    ensure_compiler && ensure libgtest-dev libgmock-dev valgrind libc6-dbg
    build dev
    rm -rf "$runs" && mkdir -p "$runs"
    local test wanted=" $* " started=0
    printf '%-20s %6s %6s\n' test tests errors
    while read -r -a test; do
        [ $# -eq 0 ] || [[ $wanted == *" ${test[0]} "* ]] || continue
        while [ "$(jobs -rp | wc -l)" -ge 2 ]; do
            wait -n || true
        done
        started=$((started + 1))
        memcheck_one "${test[@]}" &
    done < <(memcheck_list)
    wait
    if [ $# -gt 0 ] && [ "$started" -ne $# ]; then
        echo "dev: not each of the tests named is one that ctest knows" >&2
        return 1
    fi
    local programs tests errors failed
    read -r programs tests errors failed < <(awk '{ ++programs; tests += $2; errors += $3; failed += $4 == "failed" }
        END { print programs + 0, tests + 0, errors + 0, failed + 0 }' "$runs/summary")
    echo "memcheck: $programs programs, $tests tests run, $errors errors, $failed programs failed; logs are in $runs"
    [ "$programs" -eq "$started" ] || echo "dev: $started programs were started, and not each told how it ended" >&2
    [ "$programs" -gt 0 ] && [ "$programs" -eq "$started" ] && [ "$errors" -eq 0 ] && [ "$failed" -eq 0 ]
}
