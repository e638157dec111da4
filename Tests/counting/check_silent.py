#!/usr/bin/env python3
"""check_silent.py HOST LIBPRIMECOUNT: the bench host in processes in which the hooks do not reach libprimecount.

Counts work there, and --version and the first long count say in one line that there is no progress and no stop, and why.
"""
import os
import struct
import subprocess
import sys
import tempfile

host, libprimecount = sys.argv[1], os.path.realpath(sys.argv[2])
SILENT = "prime counts have no progress and no stop here: "


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


def bound_to_itself(folder):
    """A copy of libprimecount that looks its own functions up in itself first, so that its calls arrive there."""
    with open(libprimecount, "rb") as file:
        image = bytearray(file.read())
    place = next(place for place, tag, _ in dynamic_entries(image) if tag == 0x6FFFFFF9)  # DT_RELACOUNT, a mere hint
    struct.pack_into("<QQ", image, place, 16, 0)  # DT_SYMBOLIC
    needed = subprocess.run(["ldd", os.path.join(os.path.dirname(host), "libVelmoraKesh.so")], text=True, check=True,
                            stdout=subprocess.PIPE).stdout
    soname = next(word for word in needed.split() if word.startswith("libprimecount.so"))
    with open(os.path.join(folder, soname), "wb") as file:
        file.write(image)


def check(reason, **environment):
    version, _ = run(["--version"], **environment)
    expect(version.count(SILENT) == 1 and reason in version, f"--version gives no reason:\n{version}")
    for name, argument, result in (("PrimeCount_PrimePi", "10^13", "346,065,536,839"), ("PrimeCount_PrimePi", "100", "25")):
        output, errors = run([name, argument], **environment)
        expect(result in output, f"{name} {argument}:\n{output}")
        long = argument == "10^13"
        expect(errors == (f"kesh-host: {SILENT}{reason}\n" if long else ""), f"{name} {argument} says:\n{errors}")


def main():
    version, _ = run(["--version"])
    expect(SILENT not in version, f"the hooks do not work:\n{version}")
    expect(run(["PrimeCount_PrimePi", "10^13"])[1] == "", "an ordinary count says something on standard error")

    check("libprimecount was loaded before the library", LD_PRELOAD=libprimecount)
    with tempfile.TemporaryDirectory() as folder:
        bound_to_itself(folder)
        copy = next(os.scandir(folder)).path
        check(f"{os.path.realpath(copy)} is of an unknown version, or calls its own functions directly",
              LD_LIBRARY_PATH=folder)


main()
