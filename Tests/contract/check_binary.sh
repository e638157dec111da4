#!/usr/bin/env bash
# check_binary.sh LIBRARY LIST...   Reads the built library: its dynamic symbol table holds exactly the listed names, its
# soname is the documented one, it needs exactly the documented libraries, and it is hardened.
set -euo pipefail
library=$1
shift

dynamic=$(readelf -dW "$library")
segments=$(readelf -lW "$library")
failures=0
fail() { echo "$*"; failures=1; }

# same TITLE WANTED FOUND: two lists, one name a line, in any order.
same() {
    local differences
    differences=$(diff <(sort <<<"$2") <(sort <<<"$3")) || fail "$1 differ (< documented, > in the library):"$'\n'"$differences"
}

# --- names
same exports "$(cat "$@" 2>/dev/null | grep -E '^[A-Za-z_]' | sort -u)" "$(nm -D --defined-only "$library" | awk '{print $NF}')"
# A weak or unique name could be taken from another library, and a unique one would keep this one from being unloaded.
kinds=$(nm -D --defined-only "$library" | awk '$2 != "T"')
[[ -z $kinds ]] || fail "exports that are no plain functions: $kinds"
allocators=$(nm --defined-only "$library" | awk '$NF ~ /^(_Zn[wa]|_Zd[la])|^(malloc|calloc|realloc|free)$/' || true)
[[ -z $allocators ]] || fail "allocation functions defined: $allocators"

# --- what the loader does
soname=$(sed -n 's/.*SONAME.*\[\(.*\)\]/\1/p' <<<"$dynamic")
[[ $soname == libVelmoraKesh.so ]] || fail "soname is '$soname'"
! grep -qE '\((RPATH|RUNPATH)\)' <<<"$dynamic" || fail "a search path for libraries is built in"

# primecount, primesieve and the standard library; the others are parts of the compiler's and the C library's runtime.
needed=$(sed -n 's/.*NEEDED.*\[\(.*\)\.so.*\]/\1/p' <<<"$dynamic")
if grep -qE '(a|t|ub|l)san' <<<"$needed" || nm "$library" | grep -qE '__(a|t|ub|l)san_'; then
    needed=$(grep -vE '^lib[a-z]*san$|^ld-linux-x86-64$|^lib(m|gcc_s|pthread|rt|dl|resolv)$' <<<"$needed")
    same "needed libraries" $'libc\nlibprimecount\nlibprimesieve\nlibstdc++' "$needed"
else
    same "needed libraries" $'ld-linux-x86-64\nlibc\nlibgcc_s\nlibm\nlibprimecount\nlibprimesieve\nlibstdc++' "$needed"
fi

# --- hardening
! grep -q TEXTREL <<<"$dynamic" || fail "text relocations"
grep -q BIND_NOW <<<"$dynamic" && grep -q GNU_RELRO <<<"$segments" || fail "no full RELRO"
grep -q GNU_STACK <<<"$segments" && ! grep -qE "GNU_STACK.*RWE" <<<"$segments" || fail "executable stack"
! grep -qE "LOAD.* RWE " <<<"$segments" || fail "memory that is both writable and executable"
! grep -q STATIC_TLS <<<"$dynamic" || fail "static thread-local storage, which a library loaded later may not get"

[[ $failures == 0 ]] || exit 1
echo "exports, soname, needed libraries and hardening are as documented"
