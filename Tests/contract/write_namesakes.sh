#!/usr/bin/env bash
# write_namesakes.sh ARCHIVE OUTPUT   Writes an assembler file that defines every global symbol of the archive again:
# functions that trap when called, data with a meaningless pattern, and the list of their names, which ends with an
# empty one. Instances of templates of the standard library are left out: the program that is linked with this file uses
# them too, and so do the libraries that it loads.
set -euo pipefail

symbols=$(nm --defined-only --extern-only "$1" | awk 'NF == 3 {print $2, $3}' | sort -u |
    grep -vE ' (_ZN?K?St|_ZT[ISV]N?K?St|_ZN10primesieve|_ZGVN?K?St|DW\.ref)')
{
    echo '.text'
    awk '$1 ~ /[TWi]/ {printf ".globl %s\n.type %s, @function\n%s:\n", $2, $2, $2}' <<<"$symbols"
    echo 'ud2'
    echo '.data'
    echo '.balign 64'
    awk '$1 !~ /[TWi]/ {printf ".globl %s\n.type %s, @object\n%s:\n", $2, $2, $2}' <<<"$symbols"
    echo '.fill 4096, 1, 0xA5'
    echo '.section .rodata'
    echo '.globl namesakes'
    echo 'namesakes:'
    awk '{printf ".asciz \"%s\"\n", $2}' <<<"$symbols"
    echo '.byte 0'
    echo '.section .note.GNU-stack, "", @progbits'
} >"$2"
