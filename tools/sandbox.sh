#!/usr/bin/env bash
# Runs a command in a private root and network: its own loopback (so port 10158 is free), empty /Vdbglog, /var and /tmp;
# the rest of the machine is read-only, except this project's folder. Nothing outlives the command.
#
#   tools/sandbox.sh COMMAND [ARG ...]
#
# KORVANE_SANDBOX_BIND=DIR keeps one more folder writable (a build folder outside the project, say).
set -euo pipefail

if [ "${KORVANE_SANDBOX:-}" = inside ]; then
    exec "$@"
fi

explain() {
    cat >&2 <<END
sandbox.sh: $1
The tests and the demo use port 10158, /Vdbglog, /var and /tmp, and must not touch yours; they need bubblewrap:
  not installed:              apt-get install bubblewrap
  "No permissions" or similar (unprivileged user namespaces are off), one of
                              sysctl -w kernel.unprivileged_userns_clone=1
                              sysctl -w kernel.apparmor_restrict_unprivileged_userns=0   (Ubuntu 24.04 and later)
                              or run the same command as root
  inside a container:         start it with --security-opt seccomp=unconfined, or --privileged
END
    exit 125
}

command -v bwrap >/dev/null || explain 'bwrap (bubblewrap) is not installed'

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
args=(--unshare-all --die-with-parent)
for entry in /*; do
    case $entry in
    /proc | /dev | /tmp | /var | /Vdbglog | /lost+found) ;;
    *)
        if [ -L "$entry" ]; then
            args+=(--symlink "$(readlink "$entry")" "$entry")
        elif [ -d "$entry" ]; then
            args+=(--ro-bind "$entry" "$entry")
        fi
        ;;
    esac
done
args+=(--proc /proc --dev /dev --tmpfs /tmp --tmpfs /var --dir /Vdbglog --bind "$project" "$project")
if [ -n "${KORVANE_SANDBOX_BIND:-}" ]; then
    args+=(--bind "$KORVANE_SANDBOX_BIND" "$KORVANE_SANDBOX_BIND")
fi
case $PWD/ in
"$project"/* | "${KORVANE_SANDBOX_BIND:-$project}"/*) args+=(--chdir "$PWD") ;;
*) args+=(--chdir "$project") ;;
esac
args+=(--setenv KORVANE_SANDBOX inside)

error=$(bwrap "${args[@]}" true 2>&1) || explain "$error"
exec bwrap "${args[@]}" "$@"
