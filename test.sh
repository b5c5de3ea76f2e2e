#!/usr/bin/env bash
# Builds and checks everything, from a bare Debian 12 or Ubuntu machine: installs what is missing (with sudo where needed),
# then format, compilers, tests, sanitizers, binary interface and static analysis. Nothing outside this folder is touched.
#
#   ./test.sh              everything (15 to 22 minutes on two cores)
#   ./test.sh --quick      format, the tests by g++ without sanitizers, and the binary interface
#   ./test.sh --coverage   line and branch coverage of the library, as build/coverage/report/index.html
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

jobs=$(nproc)
passed=0
failed=0

usage() {
    sed -n '2,9s/^# \{0,1\}//p' "$0"
}

stage() {
    printf '\n== %s (%d min %02d s)\n' "$1" $((SECONDS / 60)) $((SECONDS % 60))
}

# Configures and builds a preset; further arguments are targets.
build() {
    local preset=$1
    shift
    cmake --preset "$preset" >"build/$preset.log" 2>&1 || { cat "build/$preset.log"; exit 1; }
    cmake --build "build/$preset" --parallel "$jobs" ${1:+--target "$@"} >"build/$preset.log" 2>&1 ||
        { cat "build/$preset.log"; exit 1; }
}

# Runs a preset's tests and adds up its closing line; further arguments are ctest's.
run_tests() {
    local preset=$1
    shift
    local log=build/$preset-tests.log
    local status=0
    ctest --test-dir "build/$preset" --parallel "$jobs" --output-on-failure --no-tests=error "$@" 2>&1 | tee "$log" || status=1
    local closing
    closing=$(grep -E '[0-9]+ tests failed out of [0-9]+' "$log" | tail -n 1)
    local bad all
    bad=$(sed -E 's/.* ([0-9]+) tests failed out of ([0-9]+).*/\1/' <<<"$closing")
    all=$(sed -E 's/.* ([0-9]+) tests failed out of ([0-9]+).*/\2/' <<<"$closing")
    failed=$((failed + ${bad:-1}))
    passed=$((passed + ${all:-0} - ${bad:-0}))
    [ "$status" -eq 0 ] || finish
}

finish() {
    printf '\n%d min %02d s\n%d passed, %d failed\n' $((SECONDS / 60)) $((SECONDS % 60)) "$passed" "$failed"
    [ "$failed" -eq 0 ]
    exit
}

sources() {
    git ls-files '*.h' '*.cpp'
}

check_format() {
    stage 'format (clang-format)'
    sources | xargs clang-format --dry-run -Werror
}

# $1: the folders, by regular expression; further arguments are clang-tidy's.
tidy() {
    local folders=$1
    shift
    sources | grep -E "^($folders)/.*\.cpp$" |
        xargs -P "$jobs" -n 1 clang-tidy --quiet -p build/release "$@" 2>build/clang-tidy.log ||
        { grep -vE 'warnings? generated|Suppressed|Use -header-filter' build/clang-tidy.log; exit 1; }
}

check_static() {
    stage 'static analysis (clang-tidy)'
    tidy 'dispatch|store|codec|util|log|platform'
    # These two take minutes over the header library of the command line's options.
    tidy tools '--checks=-clang-analyzer-*,-performance-unnecessary-value-param'
}

check_fuzz() {
    stage 'fuzzing: the kept inputs, and five seconds of each target'
    ./fuzz.sh --replay || { failed=$((failed + 1)); finish; }
    passed=$((passed + 1))
}

coverage() {
    stage 'coverage'
    build coverage
    find build/coverage -name '*.gcda' -delete
    run_tests coverage
    mkdir -p build/coverage/report
    gcovr --root . --object-directory build/coverage --exclude-unreachable-branches --exclude-throw-branches \
        --filter 'dispatch/' --filter 'store/' --filter 'codec/' --filter 'util/' --filter 'log/' --filter 'platform/' \
        --fail-under-line 99 --fail-under-branch 95 \
        --html-details build/coverage/report/index.html --txt build/coverage/report/summary.txt --print-summary
    echo 'The report is build/coverage/report/index.html'
}

everything() {
    check_format
    stage 'tests: g++, optimised'
    build release
    run_tests release
    stage 'binary interface (libabigail)'
    abi/check.sh build/release
    stage 'tests: clang++, AddressSanitizer, LeakSanitizer, UndefinedBehaviorSanitizer'
    build asan-ubsan
    run_tests asan-ubsan
    stage 'tests: ThreadSanitizer over the concurrent ones'
    build tsan threaded_tests
    run_tests tsan --label-regex threads
    stage 'tests: the host supplies the session'
    build host-session
    run_tests host-session --tests-regex host_session
    check_fuzz
    check_static
}

case ${1:-} in
'' | --quick | --coverage) ;;
-h | --help) usage; exit ;;
*) usage >&2; exit 2 ;;
esac

tools/install-packages.sh build test
tools/sandbox.sh true
mkdir -p build
case ${1:-} in
--quick)
    check_format
    stage 'tests: g++, optimised'
    build release
    run_tests release
    stage 'binary interface (libabigail)'
    abi/check.sh build/release
    ;;
--coverage) coverage ;;
*) everything ;;
esac
finish
