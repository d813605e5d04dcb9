#!/usr/bin/env bash
# A file of lines through the command line by GNU parallel, on this machine or on several:
#
#     with_parallel.sh LINES [SSHLOGIN]... > answers
#
# Each line of LINES is a key, a tab and a certificate in base64. The file is cut where lines end, as many parts at a
# time as there are cores, and the answers come in its order. With SSHLOGINs, as parallel's --sshlogin has them
# ("4/user@host"), the parts go there, where velmora-x509 has to be on the path.
#
# What is killed is done again here, three times, on the part that --cat keeps in a file, and a part is only put out
# whole. Parallel's own --retries and --resume-failed are not for --pipepart: version 20221122 gives what is tried again
# the octets of another part, which examples/scale/check_scale.py would tell. When a whole machine goes away the run ends
# with a status that is not 0, and is to be started again.
set -euo pipefail
[ $# -gt 0 ] || { echo "with_parallel.sh LINES [SSHLOGIN]..." >&2; exit 2; }
lines=$1
shift
logins=()
for login in "$@"; do logins+=(--sshlogin "$login"); done
# Status 3: some lines hold no certificate. The objects in their places say so, and trying again would not help.
# shellcheck disable=SC2016
exec parallel --pipepart --cat --arg-file "$lines" --block "${BLOCK:-32M}" --keep-order --halt now,fail=1 --will-cite \
  "${logins[@]}" '
    for try in 1 2 3; do
      velmora-x509 show --json --lines --quiet < {} > {}.answers
      case $? in 0 | 3) cat {}.answers; rm {}.answers; exit 0 ;; esac
    done
    rm -f {}.answers
    exit 1'
