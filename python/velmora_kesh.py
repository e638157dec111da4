"""Primality of integers of up to 1024 bits, one or many per call, and the next and previous prime, by libVelmoraKesh.

    >>> import velmora_kesh
    >>> velmora_kesh.is_prime(2**521 - 1)
    True
    >>> velmora_kesh.are_prime([7, 8, 2**64 + 13])
    [True, False, True]
    >>> velmora_kesh.next_prime(10**18)
    1000000000000000003

Below 2^64 every result is exact; from 2^64 up the Baillie-PSW test decides. Arguments outside 0 ... 2^1024 - 1 raise
ValueError, and so does a prime that does not exist. The environment variable VELMORA_KESH_LIBRARY names the library; if
it is not set, the system's linker finds it.
"""

import ctypes
import os

__all__ = ["are_prime", "is_prime", "next_prime", "next_primes", "previous_prime"]

BITS = 1024
_LIMB_BYTES = 8
_DONE, _STOPPED, _NO_PRIME = 1, 2, 3
_PROGRESS = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_int64, ctypes.c_int64)

_library = None


def _load():
    """The library, opened at the first call, so that the module can be imported without it."""
    global _library
    if _library is None:
        library = ctypes.CDLL(os.environ.get("VELMORA_KESH_LIBRARY", "libVelmoraKesh.so"))
        size, data, progress = ctypes.c_int64, ctypes.c_char_p, ctypes.c_void_p
        library.KESH_PrimeQ.argtypes = [data, size, ctypes.POINTER(ctypes.c_int)]
        library.KESH_ArePrimeOnThreads.argtypes = [data, size, size, data, ctypes.c_int, progress, ctypes.c_void_p]
        library.KESH_NextPrime.argtypes = [data, size, data]
        library.KESH_PreviousPrime.argtypes = [data, size, data]
        library.KESH_NextPrimes.argtypes = [data, size, size, data, ctypes.POINTER(size), progress, ctypes.c_void_p]
        _library = library
    return _library


def _limb_count(n):
    """The number of limbs of n. Raises ValueError when n is negative or has more than 1024 bits."""
    if isinstance(n, bool) or not isinstance(n, int):
        raise TypeError(f"the number must be an integer, not {type(n).__name__}")
    if n < 0:
        raise ValueError("the number is negative")
    if n.bit_length() > BITS:
        raise ValueError(f"the number has {n.bit_length()} bits; at most {BITS} are possible")
    return max(1, -(-n.bit_length() // 64))


def _to_bytes(n, limbs):
    return n.to_bytes(limbs * _LIMB_BYTES, "little")


class _Progress:
    """A Python function f(done, total) as the library's callback. Its exceptions stop the call and are raised again."""

    def __init__(self, function):
        self.error = None
        self.function = function
        self.callback = _PROGRESS(self._call) if function else None

    def _call(self, _, done, total):
        try:
            return 1 if self.function(done, total) else 0
        except BaseException as error:  # also for KeyboardInterrupt: no exception may pass through the library
            self.error = error
            return 1

    def pointer(self):
        return ctypes.cast(self.callback, ctypes.c_void_p) if self.callback else None

    def finish(self):
        if self.error is not None:
            raise self.error


def is_prime(n):
    """Whether the integer n is prime."""
    limbs = _limb_count(n)
    prime = ctypes.c_int()
    _load().KESH_PrimeQ(_to_bytes(n, limbs), limbs, ctypes.byref(prime))
    return prime.value != 0


def are_prime(numbers, threads=1, progress=None):
    """A list of booleans: whether each of the integers is prime. Much faster than one call per number.

    threads is the number of threads; 0 means one per processor. progress(done, total) is called from time to time; if it
    returns a true value, the test stops and the result is None.
    """
    numbers = list(numbers)
    if threads < 0:
        raise ValueError("the number of threads is negative")
    limbs = max(map(_limb_count, numbers), default=1)
    given = b"".join(_to_bytes(n, limbs) for n in numbers)
    verdicts = ctypes.create_string_buffer(len(numbers) + 1)
    watcher = _Progress(progress)
    code = _load().KESH_ArePrimeOnThreads(given, limbs, len(numbers), verdicts, threads, watcher.pointer(), None)
    watcher.finish()
    return None if code == _STOPPED else [verdict != 0 for verdict in verdicts.raw[: len(numbers)]]


def next_prime(n):
    """The smallest prime above n. Raises ValueError if it has more than 1024 bits."""
    limbs = min(_limb_count(n) + 1, BITS // 64)
    result = ctypes.create_string_buffer(limbs * _LIMB_BYTES)
    if _load().KESH_NextPrime(_to_bytes(n, limbs), limbs, result) == _NO_PRIME:
        raise ValueError(f"the next prime has more than {BITS} bits")
    return int.from_bytes(result.raw, "little")


def previous_prime(n):
    """The largest prime below n. Raises ValueError if n is 2 or less."""
    limbs = _limb_count(n)
    result = ctypes.create_string_buffer(limbs * _LIMB_BYTES)
    if _load().KESH_PreviousPrime(_to_bytes(n, limbs), limbs, result) == _NO_PRIME:
        raise ValueError("there is no prime below 2")
    return int.from_bytes(result.raw, "little")


def next_primes(n, count, progress=None):
    """A list of the count smallest primes above n, or of fewer if the next one has more than 1024 bits.

    progress(found, count) is called as in are_prime; if it stops the walk, the primes found so far are returned.
    """
    if count < 0:
        raise ValueError("the count is negative")
    limbs = min(_limb_count(n) + 1, BITS // 64)
    size = limbs * _LIMB_BYTES
    result = ctypes.create_string_buffer(max(1, count * size))
    found = ctypes.c_int64()
    watcher = _Progress(progress)
    _load().KESH_NextPrimes(_to_bytes(n, limbs), limbs, count, result, ctypes.byref(found), watcher.pointer(), None)
    watcher.finish()
    raw = result.raw
    return [int.from_bytes(raw[i * size : (i + 1) * size], "little") for i in range(found.value)]
