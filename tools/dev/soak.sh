# ./dev soak: the library in use by eight threads for a long time.

command_soak() {
    local minutes=${1:-} preset=${2:-dev}
    if [[ ! $minutes =~ ^[0-9]*\.?[0-9]+$ ]]; then
        echo "dev: soak needs a number of minutes" >&2 && exit 2
    fi
    case "$preset" in
    dev) ensure_compiler && ensure libgtest-dev libgmock-dev ;;
    asan | tsan) ensure_compiler && ensure clang libclang-rt-14-dev libgtest-dev libgmock-dev ;;
    *) echo "dev: no such preset for the soak: $preset" >&2 && exit 2 ;;
    esac
    build "$preset" --target soak
    ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1 \
        UBSAN_OPTIONS=print_stacktrace=1 \
        TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
        "build/$preset/tests/soak/soak" "$(awk "BEGIN { print $minutes * 60 }")"
}
