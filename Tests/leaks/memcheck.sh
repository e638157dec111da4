#!/usr/bin/env bash
# memcheck.sh KESH_HOST   Calls every export under valgrind's memcheck, and makes calls that faults of the host end early:
# there must be no error, and no lost block except one for each result of a string task.
set -euo pipefail
host=$1

log=$(mktemp)
trap 'rm -f "$log"' EXIT

# check STATUS RESULTS ARGUMENT...   Runs kesh-host, which must end with the status and leave RESULTS results of string
# tasks.
check() {
    local wanted=$1 results=$2 status=0
    shift 2
    valgrind --leak-check=full --show-leak-kinds=definite --errors-for-leak-kinds=definite --error-exitcode=99 \
        --suppressions="$(dirname "$0")/memcheck.supp" --log-file="$log" "$host" "$@" || status=$?
    sed -n 's/^==[0-9]*== *//; /in use at exit/p; /total heap usage/p; /lost:/p; /suppressed:/p; /ERROR SUMMARY/p' "$log"
    local lost
    lost=$(sed -n 's/.* suppressed: [0-9,]* bytes in \([0-9,]*\) blocks.*/\1/p' "$log")
    if [[ $status != "$wanted" || $lost != "$results" ]]; then
        echo "status $status instead of $wanted, $lost results of string tasks left instead of $results"
        cat "$log"
        exit 1
    fi
}

check 0 1 endure --minutes 0

check 1 1 -q 2>/dev/null <<'EOF'
PrimeSieve_ListPrimes 0 1000 --fail MTensor_new=5
PrimeSieve_ListPrimes 0 1000 --fail MTensor_new=throw
PrimeSieve_ListNPrimes 1000 --fail MTensor_getIntegerData=throw-int
KESH_RT_PrimeQ 7 --fail MTensor_getInteger=3
KESH_RT_PrimeQ 7 --fail MTensor_getInteger=throw
PrimeCount_PrimePi 10^13 --bare --fail AbortQ=1@2
PrimeCount_PrimePi 10^13 --bare --fail AbortQ=throw
PrimeCount_ExprPrimePi 10000000000000 --bare --fail AbortQ=throw-int
PrimeCount_ExprPrimePi 100 --bare --fail UTF8String_disown=throw
PrimeCount_SubmitExprPrimePi new 100 --fail UTF8String_disown=throw
PrimeCount_LMO 10^12 --fail createDataStore=throw@2
PrimeCount_PrimePi 10^13 --progress --fail DataStore_addReal=throw@2
PrimeCount_Prime 1000 --progress --fail raiseAsyncEvent:Result=throw
PrimeCount_ExprPrimePi 100 --progress --fail DataStore_addString=throw@1
EOF
