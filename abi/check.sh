#!/usr/bin/env bash
# Compares the built library with abi/libkorvane.abi: the exported functions, the types of their parameters and the layout
# of the records that they take. Any difference is a failure until the baseline is changed with it, on purpose.
#
#   abi/check.sh BUILD_DIR             compare; BUILD_DIR holds a build with debug information (RelWithDebInfo)
#   abi/check.sh --update BUILD_DIR    write the baseline anew; look at `git diff abi/`, commit it, and tell the hosts
#
# The baseline is of g++ 12 and libabigail 2.2 on x86-64 (Debian 12). Other compilers describe the library alike, as far as
# is known; should one not, the check says what differs and that it is skipped. The list of exported names, the
# static_asserts of codec/record_layout.cpp and the tests hold everywhere.
#
# Types of the standard library are left out of the description: as parameters they are part of the exported name, and
# where "positions" lies in a record is asserted in codec/record_layout.cpp.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
baseline=$here/libkorvane.abi
reference='g++ 12 and libabigail 2.2'

fail() {
    printf 'abi/check.sh: %s\n' "$@" >&2
    exit 1
}

skip() {
    printf 'abi/check.sh: skipped: %s\n' "$@"
    exit 0
}

update=no
if [ "${1:-}" = --update ]; then
    update=yes
    shift
fi
if [ $# -ne 1 ]; then
    sed -n '2,/^set/{s/^# \{0,1\}//;/^set/!p}' "$0" >&2
    exit 2
fi
library=$1/libkorvane.so.0
[ -e "$library" ] || fail "$library does not exist; build the target korvane in $1 first"
command -v abidw >/dev/null && command -v abidiff >/dev/null ||
    fail 'abidw and abidiff are not installed: apt-get install abigail-tools'

machine=$(readelf --file-header "$library" | sed -n 's/ *Machine: *//p')
[ "$machine" = 'Advanced Micro Devices X86-64' ] ||
    skip "the library is for $machine, the baseline for x86-64"
producer=$(grep -m 1 -o -E '(GNU C\+\+|([A-Z][a-z]+ )?clang).*' <(readelf --debug-dump=info --dwarf-depth=1 "$library") || true)
[ -n "$producer" ] ||
    fail "$library has no debug information; configure with -DCMAKE_BUILD_TYPE=RelWithDebInfo"
tool=$(abidw --version)
is_reference=no
[[ $producer = 'GNU C++17 12.'* && $tool = *' 2.2.'* ]] && is_reference=yes

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Only what a host can see, and nothing of the machine that it was built on.
cat >"$work/left_out" <<'END'
[suppress_type]
  name_regexp = ^(std|__gnu_cxx|korvane)::
  drop = yes
[suppress_function]
  name_regexp = ^std::
  drop = yes
END
abidw --exported-interfaces-only --suppressions "$work/left_out" \
    --no-show-locs --no-comp-dir-path --no-corpus-path --no-elf-needed --no-parameter-names --no-write-default-sizes \
    --out-file "$work/described" "$library"
sed -E "s#( path=')[^']*/([a-z]+/[a-zA-Z_]+\.cpp')#\1\2#" "$work/described" >"$work/libkorvane.abi"
grep -q "name='_Z18insert_ai_metadataPv'" "$work/libkorvane.abi" || fail "$tool found no entry point in $library"
grep -q "class-decl name='face_recognition_metadata_information' size-in-bits" "$work/libkorvane.abi" ||
    fail "$tool found no record in $library"

if [ $update = yes ]; then
    [ $is_reference = yes ] ||
        fail "the baseline is made by $reference (Debian 12), not by $producer and $tool"
    cp "$work/libkorvane.abi" "$baseline"
    echo "abi/check.sh: wrote $baseline; look at the difference before you commit it"
    exit 0
fi

[ -e "$baseline" ] || fail "$baseline does not exist; abi/check.sh --update BUILD_DIR makes it"
status=0
abidiff --harmless "$baseline" "$work/libkorvane.abi" >"$work/report" 2>&1 || status=$?
if [ $((status & 3)) -ne 0 ]; then
    cat "$work/report" >&2
    fail 'abidiff could not compare'
elif [ $status -eq 0 ]; then
    echo 'abi/check.sh: the exported functions and their types are those of the baseline'
elif [ $is_reference = no ]; then
    cat "$work/report"
    skip "built by $producer and read by $tool, which describe the library otherwise (above) than $reference, of which the baseline is"
else
    cat "$work/report" >&2
    fail 'the binary interface has changed (above): hosts built before may break' \
        'If that is meant: change abi/exported_names.txt and codec/record_layout.cpp too where names or layouts changed,' \
        'then abi/check.sh --update BUILD_DIR'
fi
