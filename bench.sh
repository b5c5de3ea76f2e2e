#!/usr/bin/env bash
# Builds the optimised library, times it side by side with stand-ins, and prints the ratios.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

usage() {
    cat <<'END'
usage: ./bench.sh [--quick]

Installs what is missing, builds the preset "release" and runs the benchmarks in a private root and network.
Prints tables of ratios (library / stand-in) and leaves every round as JSON in build/bench/.

  --quick   few short rounds, about 15 seconds: to see that all runs, not for figures to quote (full: about 2 minutes)
  --help    this text
END
}

# The shortest time of the library's side in a round, and the number of rounds.
round_s=0.1
rounds=15
case ${1:-} in
'') ;;
--quick) round_s=0.02 rounds=5 ;;
-h | --help) usage && exit 0 ;;
*) echo "bench.sh: unknown option '$1'" >&2 && usage >&2 && exit 2 ;;
esac

if [ -x tools/install-packages.sh ]; then
    tools/install-packages.sh build test
fi

build=build/release
out=build/bench
mkdir -p "$out"
echo "building, see $out/build.log"
if ! { cmake --preset release && cmake --build "$build" --target korvane_benchmarks; } >"$out/build.log" 2>&1; then
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

# $1: program, $2: title
run() {
    echo
    echo "$2: medians of $rounds rounds, ratio = library / against"
    echo
    tools/sandbox.sh "$build/bench/$1_bench" \
        --benchmark_min_time="$round_s" --benchmark_repetitions="$rounds" \
        --benchmark_enable_random_interleaving=true \
        --benchmark_context="cpu=${cpu//,/ },kernel=$kernel,compiler=${compiler//,/ }" \
        --benchmark_out="$out/$1.json" --benchmark_out_format=json
}
run codec "Record texts"
run call "Whole calls"

echo
echo "System calls of one insert of one record:"
echo
if command -v strace >/dev/null; then
    # Of the inserting thread alone, and of what it does between the two lines that the program writes.
    tools/sandbox.sh strace -o "$out/insert_once.strace" "$build/bench/insert_once" >/dev/null
    sed '1,/"insert begins/d; /"insert ends/,$d' "$out/insert_once.strace" | tee "$out/insert_calls.txt"
    echo "= $(wc -l <"$out/insert_calls.txt") calls"
else
    echo "not counted: strace is not installed (apt-get install strace)" >&2
fi
echo
echo "All rounds: $out/codec.json, $out/call.json"
