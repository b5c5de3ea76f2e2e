#!/usr/bin/env bash
# Installs the Debian or Ubuntu packages that are missing, and nothing when none is. Asks for sudo only then.
#
#   tools/install-packages.sh GROUP...        build: to compile and run; test: what ./test.sh needs besides;
#                                             bench: what ./bench.sh can do without, but then counts less
#   tools/install-packages.sh --list GROUP... only prints what is missing
set -euo pipefail

# a|b: either will do; the first is installed when none is there.
build=(g++ cmake ninja-build 'pkg-config|pkgconf' libjson-c-dev 'libcurl4-openssl-dev|libcurl4-gnutls-dev' libcli11-dev
    libevent-dev libsqlite3-dev libgeos-dev bubblewrap python3)
test=(clang clang-format clang-tidy libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev gcovr abigail-tools locales
    strace)
bench=(valgrind)

usage() {
    sed -n '2,/^set/{s/^# \{0,1\}//;/^set/!p}' "$0" >&2
    exit 2
}

installed() {
    [ "$(dpkg-query -W -f '${db:Status-Abbrev}' "$1" 2>/dev/null)" = 'ii ' ]
}

missing_of() {
    local choice name
    for choice in "$@"; do
        for name in ${choice//|/ }; do
            installed "$name" && continue 2
        done
        echo "${choice%%|*}"
    done
}

# The sanitizers' and the fuzzer's runtime goes by clang's version, and older releases have it in another package.
clang_runtime() {
    local runtime version
    if command -v clang >/dev/null; then
        runtime=$(clang -print-resource-dir)/lib/linux
        compgen -G "$runtime/libclang_rt.fuzzer-*.a" >/dev/null && return
    fi
    version=$(apt-cache depends clang | sed -n 's/.*Depends: clang-\([0-9]*\)$/\1/p' | head -n 1)
    if apt-cache show "libclang-rt-$version-dev" >/dev/null 2>&1; then
        echo "libclang-rt-$version-dev"
    else
        echo "libclang-common-$version-dev"
    fi
}

known_to_apt() {
    local name
    for name in "$@"; do
        apt-cache show "$name" >/dev/null 2>&1 || return 1
    done
}

as_root() {
    if [ "$(id -u)" = 0 ]; then
        DEBIAN_FRONTEND=noninteractive "$@"
    elif command -v sudo >/dev/null; then
        sudo DEBIAN_FRONTEND=noninteractive "$@"
    else
        echo "install-packages.sh: not root, and no sudo here. As root, run:  $*" >&2
        exit 1
    fi
}

command -v dpkg-query >/dev/null || {
    echo 'install-packages.sh: this is no Debian or Ubuntu; install what corresponds to:' "${build[@]}" >&2
    exit 1
}
list_only=no
if [ "${1:-}" = --list ]; then
    list_only=yes
    shift
fi
[ $# -gt 0 ] || usage
wanted=()
for group in "$@"; do
    case $group in
    build) wanted+=("${build[@]}") ;;
    test) wanted+=("${test[@]}") ;;
    bench) wanted+=("${bench[@]}") ;;
    *) usage ;;
    esac
done

mapfile -t missing < <(missing_of "${wanted[@]}")
updated=no
update_once() {
    [ $updated = yes ] || as_root apt-get update -q
    updated=yes
}
if [[ " $* " = *' test '* ]]; then
    if [ $list_only = no ] && ! command -v clang >/dev/null && ! known_to_apt clang; then
        update_once
    fi
    mapfile -t -O "${#missing[@]}" missing < <(clang_runtime)
fi
[ ${#missing[@]} -gt 0 ] || exit 0
if [ $list_only = yes ]; then
    printf '%s\n' "${missing[@]}"
    exit 0
fi

echo "Installing: ${missing[*]}"
known_to_apt "${missing[@]}" || update_once
# A stale list names versions that the mirror no longer has.
as_root apt-get install -q -y --no-install-recommends "${missing[@]}" || {
    update_once
    as_root apt-get install -q -y --no-install-recommends "${missing[@]}"
} || {
    echo 'install-packages.sh: could not install all of them. On Ubuntu some are in "universe": add-apt-repository universe' >&2
    exit 1
}
