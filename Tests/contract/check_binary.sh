#!/usr/bin/env bash
# check_binary.sh LIBRARY LIST...   Reads the built library: its dynamic symbol table holds exactly the listed names,
# its soname is the documented one, it needs the documented libraries and no others, and the loader gets it hardened.
set -euo pipefail
library=$1
shift

wanted=$(cat "$@" 2>/dev/null | grep -E '^[A-Za-z_]' | sort)
present=$(nm -D --defined-only "$library" | awk '{print $NF}' | sort)
if [[ $wanted != "$present" ]]; then
    echo "exports differ (< documented, > in the library):"
    diff <(echo "$wanted") <(echo "$present") || true
    exit 1
fi

soname=$(readelf -d "$library" | sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p')
[[ $soname == libVelmoraKesh.so ]] || { echo "soname is '$soname'"; exit 1; }

# Sanitizer builds add the runtimes of their sanitizers.
allowed='^(libprimesieve|libprimecount|libstdc\+\+|libm|libgcc_s|libc|libpthread|lib[a-z]*san|ld-linux-x86-64)\.so'
others=$(readelf -d "$library" | sed -n 's/.*NEEDED.*\[\(.*\)\]/\1/p' | grep -Ev "$allowed" || true)
[[ -z $others ]] || { echo "the library needs more than documented: $others"; exit 1; }

dynamic=$(readelf -dW "$library")
segments=$(readelf -lW "$library")
! grep -q TEXTREL <<<"$dynamic" || { echo "text relocations"; exit 1; }
grep -q BIND_NOW <<<"$dynamic" && grep -q GNU_RELRO <<<"$segments" || { echo "no full RELRO"; exit 1; }
! grep -q "GNU_STACK.*RWE" <<<"$segments" || { echo "executable stack"; exit 1; }
echo "exports, soname, needed libraries and hardening are as documented"
