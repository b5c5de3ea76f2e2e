#!/usr/bin/env bash
# Builds the fuzz targets (fuzz/README.md) and runs them one after the other, each on all cores, in a private root and
# network. Inputs that a run finds interesting are kept in build/fuzz/corpus/, those that break something in
# build/fuzz/findings/. Ends with status 1 when there are any.
#
#   ./fuzz.sh MINUTES [TARGET ...]      each target for so long
#   ./fuzz.sh --runs N [TARGET ...]     each target for N executions
#   ./fuzz.sh --replay [TARGET ...]     the inputs kept in fuzz/corpus/ once more, then 5 seconds of each target
#   ./fuzz.sh --minimise [TARGET ...]   replaces fuzz/corpus/ by the fewest inputs that cover as much as all there are
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

all_targets=(insert query replies session transport log helpers)
build=build/fuzz
cores=$(nproc)
workers=$((cores > 1 ? cores : 2)) # one of each length
# Bytes of an input. Short ones run fast; the limits of the library's fields and work areas need long ones, which take three
# times as long. Every second worker takes long ones, and of a number of executions a third of its neighbour's.
short=1024
long=16384
short_share=3
long_share=1

usage() {
    sed -n '2,9s/^# \{0,1\}//p' "$0"
}

complain() {
    echo "fuzz.sh: $1" >&2
    usage >&2
    exit 2
}

is_number() {
    [[ $1 =~ ^[1-9][0-9]*$ ]]
}

build_targets() {
    tools/install-packages.sh build test
    mkdir -p "$build"
    echo "building, see $build.log"
    { cmake --preset fuzz && cmake --build "$build" --parallel "$cores" --target fuzz_targets; } >"$build.log" 2>&1 ||
        { cat "$build.log" >&2; exit 1; }
    rm -rf "$build/seeds"
    tools/sandbox.sh "$build/fuzz/fuzz_seeds" tests/wire "$build/seeds"
}

# Runs a target's program in the sandbox; further arguments are libFuzzer's.
run_program() {
    local target=$1
    shift
    tools/sandbox.sh "$build/fuzz/${target}_fuzzer" -timeout=60 -rss_limit_mb=3000 "$@"
}

folders_of() {
    local folder
    for folder in "$build/corpus/$1" "fuzz/corpus/$1" "$build/seeds/$1"; do
        if [ -d "$folder" ]; then
            echo "$folder"
        fi
    done
}

# The last number behind a word in a log: "cov: 123".
last_number() {
    { grep -o -E "$1 *[0-9]+" "$2" || echo "$1 0"; } | tail -n 1 | grep -o -E '[0-9]+$'
}

executions() {
    local log=$1
    local done
    done=$(last_number 'stat::number_of_executed_units:' "$log")
    [ "$done" -gt 0 ] || done=$({ grep -o -E '^#[0-9]+' "$log" || echo '#0'; } | tail -n 1 | tr -d '#')
    echo "$done"
}

# Adds up the executions of the workers whose logs are given.
all_executions() {
    local log
    local sum=0
    for log in "$@"; do
        sum=$((sum + $(executions "$log")))
    done
    echo "$sum"
}

watch_workers() {
    local target=$1
    shift
    while [ -n "$(jobs -rp)" ]; do
        sleep 1
        if [ -t 1 ]; then
            printf '\r%-10s %12d executions ...' "$target" "$(all_executions "$@")"
        fi
    done
    if [ -t 1 ]; then
        printf '\r%60s\r' ''
    fi
}

# Prints a target's row of the table: its workers' executions together, and the best coverage that one of them reached.
report_target() {
    local target=$1 seconds=$2
    shift 2
    local log coverage features edges sum
    coverage=0 features=0
    for log in "$@"; do
        edges=$(last_number 'cov:' "$log")
        if [ "$edges" -ge "$coverage" ]; then
            coverage=$edges
            features=$(last_number 'ft:' "$log")
        fi
    done
    edges=$(grep -m 1 -o -E '[0-9]+ inline 8-bit counters' "$1" | cut -d ' ' -f 1 || echo 0)
    sum=$(all_executions "$@")
    local findings=0
    findings=$(find "$build/findings/$target" -type f -newer "$build/run/started" ! -name 'slow-unit-*' | wc -l)
    found=$((found + findings))
    local slow
    slow=$(find "$build/findings/$target" -type f -newer "$build/run/started" -name 'slow-unit-*' | wc -l)
    printf '%-10s %12d %10d %12s %9d %9d %6d\n' \
        "$target" "$sum" $((sum / (seconds > 0 ? seconds : 1))) "$coverage/$edges" "$features" "$findings" "$slow"
    if [ "$findings" -gt 0 ]; then
        find "$build/findings/$target" -type f -newer "$build/run/started" ! -name 'slow-unit-*' \
            -printf "    tools/sandbox.sh $build/fuzz/${target}_fuzzer %p\n"
    fi
}

complain_of_worker() {
    echo "fuzz.sh: $1 failed without a finding, see $2" >&2
    exit 1
}

# Prints libFuzzer's limit for a worker: the minutes, or its share of the executions.
limit_of() {
    local worker=$1
    if [ -z "${runs:-}" ]; then
        echo "-max_total_time=$seconds"
        return
    fi
    local shares=$(((workers + 1) / 2 * short_share + workers / 2 * long_share))
    local share=$((worker % 2 == 0 ? short_share : long_share))
    echo "-runs=$(((runs * share + shares - 1) / shares))"
}

fuzz_target() {
    local target=$1
    mkdir -p "$build/corpus/$target" "$build/findings/$target" "$build/run"
    local folders
    mapfile -t folders < <(folders_of "$target")
    local logs=()
    local pids=()
    local began=$SECONDS
    local worker largest
    for ((worker = 0; worker < workers; worker++)); do
        logs+=("$build/run/$target.$worker.log")
        largest=$((worker % 2 == 0 ? short : long))
        run_program "$target" -max_len=$largest -dict=fuzz/dictionary.txt -artifact_prefix="$build/findings/$target/" \
            -print_final_stats=1 -reload=5 "$(limit_of "$worker")" "${folders[@]}" >"${logs[worker]}" 2>&1 &
        pids+=($!)
    done
    watch_workers "$target" "${logs[@]}"
    local before=$found
    report_target "$target" $((SECONDS - began)) "${logs[@]}"
    for worker in "${!pids[@]}"; do
        if ! wait "${pids[worker]}" && [ "$found" -eq "$before" ]; then
            tail -n 20 "${logs[worker]}" >&2
            complain_of_worker "$target" "${logs[worker]}"
        fi
    done
}

minimise_target() {
    local target=$1
    local folders
    mapfile -t folders < <(folders_of "$target")
    rm -rf "$build/minimised/$target"
    mkdir -p "$build/minimised/$target"
    # By edges alone, not by how often each is passed: that would keep four times as many.
    run_program "$target" -max_len=$long -use_counters=0 -merge=1 "$build/minimised/$target" "${folders[@]}" >"$build/run/$target.merge.log" 2>&1 ||
        { tail -n 30 "$build/run/$target.merge.log" >&2; exit 1; }
    mkdir -p "fuzz/corpus/$target"
    # A name by contents is libFuzzer's; any other was given to a finding and stays.
    find "fuzz/corpus/$target" -type f -regextype posix-extended -regex '.*/[0-9a-f]{40}' -delete
    cp "$build/minimised/$target/"* "fuzz/corpus/$target/"
    printf '%-10s %5d inputs, %7d bytes\n' "$target" "$(find "fuzz/corpus/$target" -type f | wc -l)" \
        "$(find "fuzz/corpus/$target" -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum + 0 }')"
}

mode=${1:-}
case $mode in
'') complain 'for how long?' ;;
-h | --help) usage; exit ;;
--replay | --minimise) shift ;;
--runs)
    is_number "${2:-}" || complain "--runs needs a number of executions, not '${2:-}'"
    runs=$2
    shift 2
    ;;
-*) complain "unknown option '$mode'" ;;
*)
    is_number "$mode" || complain "a number of minutes, not '$mode'"
    shift
    ;;
esac
targets=("$@")
[ $# -gt 0 ] || targets=("${all_targets[@]}")
for target in "${targets[@]}"; do
    [[ " ${all_targets[*]} " = *" $target "* ]] || complain "unknown target '$target'; expected one of ${all_targets[*]}"
done

build_targets
case $mode in
--replay) seconds=5 ;;
--runs) ;;
--minimise)
    mkdir -p "$build/run"
    for target in "${targets[@]}"; do
        minimise_target "$target"
    done
    exit
    ;;
*) seconds=$((mode * 60)) ;;
esac

found=0
mkdir -p "$build/run"
touch "$build/run/started"
printf '\n%-10s %12s %10s %12s %9s %9s %6s\n' target executions 'a second' 'edges' features findings slow
for target in "${targets[@]}"; do
    fuzz_target "$target"
done
if [ "$found" -gt 0 ]; then
    echo "$found findings; how to go on: fuzz/README.md"
    exit 1
fi
