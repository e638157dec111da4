#!/usr/bin/env python3
"""Tests integers of up to 1024 bits with libVelmoraKesh, through ctypes.

usage: prime_check.py LIBRARY EXPRESSION...     as in: prime_check.py libVelmoraKesh.so 2**521-1 2**128+1
"""

import ctypes
import sys


class PrimalityEngine:
    """The library's KESH_PrimeQ for Python integers."""

    def __init__(self, path):
        self.function = ctypes.CDLL(path).KESH_PrimeQ
        self.function.argtypes = [ctypes.c_char_p, ctypes.c_int64, ctypes.POINTER(ctypes.c_int)]
        self.function.restype = ctypes.c_int

    def is_prime(self, n):
        """True for a prime. Raises ValueError for negative integers and those of more than 1024 bits."""
        if n < 0:
            raise ValueError("a negative number")
        count = max(1, (n.bit_length() + 63) // 64)
        limbs = n.to_bytes(8 * count, "little")  # on a little-endian machine the limbs, least significant first
        prime = ctypes.c_int()
        if self.function(limbs, count, ctypes.byref(prime)) == 0:
            raise ValueError("more than 1024 bits")
        return prime.value != 0


def evaluate(expression):
    """An integer from digits and the operators + - * **, as in 2**521-1."""
    if not set(expression) <= set("0123456789+-* ()"):
        raise ValueError(f"not an arithmetic expression: {expression}")
    return eval(expression, {"__builtins__": {}})  # only digits and operators get here


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    engine = PrimalityEngine(sys.argv[1])
    for expression in sys.argv[2:]:
        print(f"{expression}: {'prime' if engine.is_prime(evaluate(expression)) else 'not prime'}")


if __name__ == "__main__":
    main()
