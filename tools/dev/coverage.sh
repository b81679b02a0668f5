# ./dev coverage: which lines and branches of the library the tests run.

command_coverage() {
    ensure_compiler && ensure gcovr libgtest-dev libgmock-dev
    build coverage
    # What earlier runs and objects that are no longer built have counted does not count.
    find build/coverage -name '*.gcda' -delete
    local result=build/coverage/coverage.json log=build/coverage/ctest.log
    ctest --test-dir build/coverage --output-on-failure -j "$jobs" </dev/null >"$log" 2>&1 || { cat "$log" >&2; exit 1; }
    # Lines that only count calls are no matter here, and the counts of a process that was forked may say -1 in them.
    # One job: with more, gcovr stays for ever when one of them fails.
    gcovr --root . --object-directory build/coverage --filter xplat/ --filter include/ --no-markers \
        --exclude-throw-branches --exclude-unreachable-branches --gcov-ignore-parse-errors \
        --json "$result" build/coverage 2>build/coverage/gcovr.log || { cat build/coverage/gcovr.log >&2; exit 1; }
    python3 tools/dev/coverage_report.py "$result" 95 85
}
