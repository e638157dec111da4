#!/usr/bin/env bash
# memcheck.sh KESH_HOST   Calls every export under valgrind's memcheck: no error, and no block lost but the one that a string
# task leaves to the host, once for each such task of a round.
set -euo pipefail
host=$1
string_tasks=1  # in one round of `endure`; a failing one has no result

log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! valgrind --leak-check=full --show-leak-kinds=definite --errors-for-leak-kinds=definite --error-exitcode=9 \
        --suppressions="$(dirname "$0")/memcheck.supp" --log-file="$log" "$host" endure --minutes 0; then
    cat "$log"
    exit 1
fi
sed -n 's/^==[0-9]*== *//; /in use at exit/p; /total heap usage/p; /lost:/p; /suppressed:/p; /ERROR SUMMARY/p' "$log"
lost=$(sed -n 's/.* suppressed: [0-9,]* bytes in \([0-9,]*\) blocks.*/\1/p' "$log")
if [[ $lost != "$string_tasks" ]]; then
    echo "$lost results of string tasks were left, instead of $string_tasks"
    exit 1
fi
