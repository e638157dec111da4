#!/usr/bin/env python3
"""check_silent.py HOST LIBPRIMECOUNT UNKNOWN: the bench host in processes in which the hooks do not work.

These are: a process that loaded libprimecount before the library; one with a libprimecount whose calls among its own
functions cannot be interposed, as after link-time optimisation; one with UNKNOWN, a version with other functions. Counts
work there, and --version and the first long count say in one line that there is no progress and no stop, and why.
"""
import os
import shutil
import struct
import subprocess
import sys
import tempfile

host, libprimecount, unknown = sys.argv[1], os.path.realpath(sys.argv[2]), sys.argv[3]
SILENT = "prime counts show no progress and cannot be stopped here: "


def run(arguments, **environment):
    done = subprocess.run([host, *arguments], env={**os.environ, **environment}, text=True, check=True,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    return done.stdout, done.stderr


def expect(condition, what):
    if not condition:
        sys.exit("failed: " + what)


def dynamic_entries(image):
    """Position, tag and value of each entry of the dynamic section (64 bits, little-endian)."""
    headers, = struct.unpack_from("<Q", image, 32)
    size, number = struct.unpack_from("<HH", image, 54)
    for header in range(headers, headers + size * number, size):
        kind, _, begin = struct.unpack_from("<IIQ", image, header)
        if kind != 2:  # PT_DYNAMIC
            continue
        while True:
            tag, value = struct.unpack_from("<QQ", image, begin)
            yield begin, tag, value
            if tag == 0:
                return
            begin += 16


def bound_to_itself(file):
    """Writes a copy of libprimecount that looks its own functions up in itself first, so that its calls arrive there."""
    with open(libprimecount, "rb") as original:
        image = bytearray(original.read())
    place = next(place for place, tag, _ in dynamic_entries(image) if tag == 0x6FFFFFF9)  # DT_RELACOUNT, a mere hint
    struct.pack_into("<QQ", image, place, 16, 0)  # DT_SYMBOLIC
    with open(file, "wb") as copy:
        copy.write(image)


def soname():
    """The name by which the library asks the loader for libprimecount."""
    needed = subprocess.run(["ldd", os.path.join(os.path.dirname(host), "libVelmoraKesh.so")], text=True, check=True,
                            stdout=subprocess.PIPE).stdout
    return next(word for word in needed.split() if word.startswith("libprimecount.so"))


def check(reason, long_count=("PrimeCount_PrimePi", "10^13", "346,065,536,839"), **environment):
    version, _ = run(["--version"], **environment)
    expect(version.count(SILENT) == 1 and reason in version, f"--version gives no reason:\n{version}")
    for name, argument, result in (long_count, ("PrimeCount_PrimePi", "100", "25")):
        output, errors = run([name, argument], **environment)
        expect(result in output, f"{name} {argument}:\n{output}")
        expect(errors == (f"kesh-host: {SILENT}{reason}\n" if argument != "100" else ""), f"{name} {argument} says:\n{errors}")


def main():
    version, _ = run(["--version"])
    expect(SILENT not in version, f"the hooks do not work:\n{version}")
    expect(run(["PrimeCount_PrimePi", "10^13"])[1] == "", "an ordinary count says something on standard error")

    check("libprimecount was loaded before the library", LD_PRELOAD=libprimecount)
    with tempfile.TemporaryDirectory() as folder:
        other = os.path.join(os.path.realpath(folder), soname())
        reason = f"{other} is of an unknown version, or calls its own functions directly"
        bound_to_itself(other)
        check(reason, LD_LIBRARY_PATH=folder)
        os.remove(other)
        shutil.copy(unknown, other)
        # Any bound that is a text is taken for a long count.
        check(reason, ("PrimeCount_ExprPrimePi", "10^6", "78,498"), LD_LIBRARY_PATH=folder)


main()
