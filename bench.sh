#!/usr/bin/env bash
# Builds the optimised library, measures it side by side with stand-ins, and prints the tables.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

usage() {
    cat <<'END'
usage: ./bench.sh [--quick | --store]

Installs what is missing, builds the preset "release" and runs the benchmarks in a private root and network.
Prints tables and leaves every round as JSON in build/bench/.

  --quick   few short rounds, about 30 seconds: to see that all runs, not for figures to quote (full: about 5 minutes)
  --store   instead, 100,000 reports through korvane insert and korvane-store, in turns, about 3 minutes
  --help    this text
END
}

# The shortest time of the library's side in a round, the number of rounds, of single inserts, the largest query whose
# memory is measured, and the runs in which instructions are counted.
round_s=0.1 rounds=15 inserts=3000 largest=100000 runs=3
run_store=no
case ${1:-} in
'') ;;
--quick) round_s=0.02 rounds=3 inserts=500 largest=10000 runs=1 ;;
--store) run_store=yes ;;
-h | --help) usage && exit 0 ;;
*) echo "bench.sh: unknown option '$1'" >&2 && usage >&2 && exit 2 ;;
esac

tools/install-packages.sh build test
tools/install-packages.sh bench || echo "bench.sh: going on without what is missing" >&2

build=build/release
out=build/bench
mkdir -p "$out"
echo "building, see $out/build.log"
if ! { cmake --preset release &&
    cmake --build "$build" --target korvane_benchmarks korvane-cli korvane-store; } >"$out/build.log" 2>&1; then
    cat "$out/build.log" >&2
    echo "bench.sh: the benchmarks could not be built, see above" >&2
    exit 1
fi

cpu=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -n 1)
compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$build/CMakeCache.txt")
compiler=$("$compiler" --version | head -n 1)
kernel=$(uname -sr)
echo "machine:  ${cpu:-unknown processor}, $(nproc) cores; $kernel; $compiler"
echo "load:     $(cut -d ' ' -f 1-3 /proc/loadavg) (the ratios hold best on an idle machine)"

title() {
    printf '\n%s\n' "$1"
}

# $1: program, $2: title
run_pairs() {
    title "$2: medians of $rounds rounds, ratio = library / against"
    tools/sandbox.sh "$build/bench/$1_bench" \
        --benchmark_min_time="$round_s" --benchmark_repetitions="$rounds" \
        --benchmark_enable_random_interleaving=true \
        --benchmark_context="cpu=${cpu//,/ },kernel=$kernel,compiler=${compiler//,/ }" \
        --benchmark_out="$out/$1.json" --benchmark_out_format=json
}

if [ "$run_store" = yes ]; then
    tools/sandbox.sh bench/store_run.py "$build" "$out" 100000
    exit
fi
run_pairs codec "Record texts"
run_pairs statistics "Statistics of people counting"
run_pairs insert "Inserts"
run_pairs query "Queries"
run_pairs thread "Inserts by several threads; the peer has eight, and all share the cores"
run_pairs log "Debug log"
title "Latency: single inserts in turns with the bare calls"
tools/sandbox.sh "$build/bench/latency_bench" "$out/latency.json" "$inserts"
title "Memory of queries; the heap's figures are the same in every run"
tools/sandbox.sh "$build/bench/memory_bench" query "$out/memory_query.json" "$largest"
title "Heap at most of the statistics decoder, the same in every run"
tools/sandbox.sh "$build/bench/memory_bench" statistics "$out/memory_statistics.json"
title "Counts of single calls: exact but for recv, whose pieces the kernel cuts, and 1 % of the instructions"
tools/sandbox.sh bench/counts.py "$build/bench/one_call" "$out" "$runs"
echo
echo "All rounds: $out/*.json"
