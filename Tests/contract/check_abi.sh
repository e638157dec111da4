#!/usr/bin/env bash
# check_abi.sh LIBRARY BASELINE            Compares the binary interface of a library that has debug information, its
#                                          functions with their types, with the committed one.
# check_abi.sh --update LIBRARY BASELINE   Renews the baseline: the test's target is contract_abi.
set -euo pipefail

update=false
if [[ $1 == --update ]]; then update=true; shift; fi
library=$1 baseline=$2

if ! command -v abidiff >/dev/null; then
    echo "skipped: abidiff is not installed (Debian package abigail-tools)"
    exit 77
fi

if $update; then
    abidw --exported-interfaces-only --no-show-locs --no-corpus-path --no-comp-dir-path --no-elf-needed "$library" |
        sed "s|path='[^']*/CSource/|path='CSource/|" >"$baseline"
elif abidiff --exported-interfaces-only --no-show-locs "$baseline" "$library"; then
    echo "the binary interface is that of $(basename "$baseline")"
else
    echo "To make this the interface: $0 --update $library $baseline"
    exit 1
fi
