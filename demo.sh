#!/usr/bin/env bash
# Builds korvane, starts a development store, sends real reports through the library and asks for them again. Installs
# what is missing (with sudo when not root). Everything runs in a private root and network: nothing of yours is touched.
# The picture and the plot it draws are left in demo-out/.
#
#   ./demo.sh
set -euo pipefail
project=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
cd "$project"
build=$project/build/demo

if [ "${KORVANE_SANDBOX:-}" != inside ]; then
    tools/install-packages.sh build
    if [ ! -f "$build/build.ninja" ]; then
        echo 'Building (a minute or two, the first time)'
        cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKORVANE_TESTS=OFF
    fi
    cmake --build "$build"
    mkdir -p demo-out
    exec tools/sandbox.sh "$project/demo.sh"
fi

export PATH=$build/tools/korvane:$build/tools/store:$PATH
export TZ=UTC # so that the times below are the ones in the reports, wherever you are
street=c0ffee00c0ffee00c0ffee00c0ffee01
stairs=c0ffee00c0ffee00c0ffee00c0ffee12

headline() {
    if [ -t 1 ]; then
        printf '\n\033[1m%s\033[0m\n' "$1"
    else
        printf '\n%s\n' "$1"
    fi
}

# The command as one would type it.
typed() {
    local word
    printf '$'
    for word in "$@"; do
        case $word in
        *[!A-Za-z0-9_./,:=-]*) printf " '%s'" "$word" ;;
        *) printf ' %s' "$word" ;;
        esac
    done
    printf '\n'
}

# Says what the next command shows, shows it, and runs it. The exit status must be $expected, 0 unless set.
step() {
    local status=0
    headline "$1"
    shift
    typed "$@"
    "$@" || status=$?
    if [ "$status" != "${expected:-0}" ]; then
        echo "demo.sh: the command above ended with exit status $status, expected ${expected:-0}" >&2
        exit 1
    fi
}

store=
stop_store() {
    if [ -n "$store" ]; then
        kill "$store" 2>/dev/null || true
        wait "$store" || true
        store=
    fi
}
trap stop_store EXIT

wait_for_store() {
    for _ in $(seq 100); do
        grep -q '^korvane-store listening' /tmp/store.out && return
        kill -0 "$store" 2>/dev/null || break
        sleep 0.05
    done
    echo 'demo.sh: the store did not start:' >&2
    cat /tmp/store.out >&2
    exit 1
}

headline 'A store for development, with a fresh database file'
echo '$ korvane-store --db /tmp/demo.db &'
korvane-store --db /tmp/demo.db >/tmp/store.out 2>&1 &
store=$!
wait_for_store
cat /tmp/store.out

step 'Reports of all four kinds: people, objects and counts of public street footage, and faces that are made up' \
    korvane insert examples/people.jsonl examples/objects.jsonl examples/counts.jsonl examples/faces.jsonl
expected=1 step 'Reports that are refused, each in another way: where, which code, and what the library logged' \
    korvane insert examples/refused.jsonl
step 'What a result code means, and what to do about it' \
    korvane explain 0xC4080004

step 'People: the newest that this camera saw' \
    korvane query --channel $street --limit 3
step 'By time: five seconds, oldest first' \
    korvane query --from '2023-11-14 22:13:30' --to '2023-11-14 22:13:35' --sort asc --limit 5
step 'By place: who was in the left quarter of the picture' \
    korvane query --polygon 0,0,0.25,0,0.25,1,0,1 --limit 5
step 'The same as JSON, as the library answers an application' \
    korvane query --polygon 0,0,0.25,0,0.25,1,0,1 --limit 1 --json
step 'Everything in one picture: open it with a browser' \
    korvane query --channel $street --svg demo-out/people.svg --aspect 768:576
step 'Objects: of one class, each with how sure the detector was' \
    korvane query --kind object --object-name person --limit 3
step 'Faces: the newest, registered persons and strangers' \
    korvane query --kind face --limit 5
step 'Faces of one person, by a part of the name' \
    korvane query --kind face --name Ann --partial
step 'The persons seen, each once' \
    korvane groups
step 'When the newest result of each kind was seen' \
    korvane latest
step "The store's vault for analytics" \
    korvane vault

headline 'Counts: a made-up week of four more channels, a report a quarter hour'
echo '$ examples/make_counts.py --until 2023-11-14 | korvane insert -'
examples/make_counts.py --until 2023-11-14 | korvane insert -
step 'The week of each channel' \
    korvane stats --type day --day 2023-11-14
step 'The hours of one day at the station stairs' \
    korvane stats --type hour --day 2023-11-14 --channel $stairs
step 'The week as a plot: open it with a browser' \
    korvane stats --type day --day 2023-11-14 --svg demo-out/week.svg
step 'That day in quarter hours, as a plot' \
    korvane stats --type 15-min --day 2023-11-14 --channel $stairs --svg demo-out/stairs.svg
step 'From which day on counts would be kept' \
    korvane delete-counts 2023-11-16 --dry-run
step 'Deleting the older ones' \
    korvane delete-counts 2023-11-16

headline 'The store, stopped, says what it holds'
echo '$ kill %1'
stop_store
tail -n 1 /tmp/store.out
echo
echo 'Done. The pictures are demo-out/people.svg, week.svg and stairs.svg; on with your own reports:'
echo '    build/demo/tools/korvane/korvane --help'
