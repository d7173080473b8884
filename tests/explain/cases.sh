#!/bin/sh
# cases.sh KURA CASES: runs the cases on a set of their own, in memory where there is room.
set -eu
kura=$1
cases=$2
count=${KURA_EXPLAIN_CASES:-200}
seed=${KURA_EXPLAIN_SEED:-1}
[ -d /dev/shm ] && [ -w /dev/shm ] && TMPDIR=/dev/shm
folder=$(mktemp -d "${TMPDIR:-/tmp}/kura-explain-XXXXXX")
trap 'rm -rf "$folder"' EXIT INT TERM
"$kura" --set "$folder/set" set new > /dev/null
"$kura" --set "$folder/set" set put agent.commands '["true"]' > /dev/null
"$kura" --set "$folder/set" run "$cases" -- "$count" "$seed"
