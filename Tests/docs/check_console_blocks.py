#!/usr/bin/env python3
"""Runs the commands shown in the documentation and compares what they print with what is shown.

    check_console_blocks.py FOLDER-OF-KESH-HOST [--update] PAGE...

A block that opens with ```console holds commands, each on a line that begins with "$ ", followed by what it prints.
Only commands of kesh-host and ./run, also at the end of a pipe, are run. Times differ from run to run, so "(2.06 s)" equals any time; a line "..."
stands for any number of lines.
"""
import os
import re
import subprocess
import sys

TIME = re.compile(r"\b\d+(\.\d+)? (µs|us|ms|s|min|h)\b")
COUNT = re.compile(r"\b\d+ (progress reports|pieces)\b")


def normalised(line):
    return COUNT.sub(r"N \1", TIME.sub("TIME", line.rstrip()))


def matches(shown, seen):
    """Whether the shown lines equal the seen ones, "..." standing for any number of lines."""
    if not shown:
        return not seen
    if shown[0] == "...":
        return any(matches(shown[1:], seen[skip:]) for skip in range(len(seen) + 1))
    return bool(seen) and normalised(shown[0]) == normalised(seen[0]) and matches(shown[1:], seen[1:])


def run(command, folder):
    environment = dict(os.environ, PATH=folder + os.pathsep + os.environ["PATH"], NO_COLOR="1", COLUMNS="100")
    command = re.sub(r"^\./run\b", "kesh-host", command)
    done = subprocess.run(
        ["bash", "-c", command], env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT, text=True, timeout=300)
    return done.stdout.splitlines()


def blocks(lines):
    """(index of the first line, lines) of every console block."""
    start = None
    for i, line in enumerate(lines):
        if start is None and line.strip() == "```console":
            start = i + 1
        elif start is not None and line.strip() == "```":
            yield start, lines[start:i]
            start = None


def commands(block):
    """(command, shown lines) in order."""
    found = []
    for line in block:
        if line.startswith("$ "):
            found.append((line[2:], []))
        elif found:
            found[-1][1].append(line)
    for command, shown in found:
        while shown and not shown[-1].strip():
            shown.pop()
    return found


def main():
    arguments = sys.argv[1:]
    update = "--update" in arguments
    if update:
        arguments.remove("--update")
    if len(arguments) < 2:
        sys.exit(__doc__)
    folder, pages = os.path.abspath(arguments[0]), arguments[1:]
    wrong = ran = 0
    for page in pages:
        with open(page, encoding="utf-8") as file:
            lines = file.read().split("\n")
        for start, block in reversed(list(blocks(lines))):
            fresh = []
            for command, shown in commands(block):
                if not re.search(r"(^|\| )(\S+=\S* )*(kesh-host|\./run)\b", command):
                    fresh += ["$ " + command, *shown]
                    continue
                ran += 1
                seen = run(command, folder)
                fresh += ["$ " + command, *(seen if update and "..." not in shown else shown)]
                if not matches(shown, seen) and not update:
                    wrong += 1
                    print(f"{page}: $ {command}\n  shown:\n    " + "\n    ".join(shown) + "\n  seen:\n    " +
                          "\n    ".join(seen))
            if update:
                lines[start:start + len(block)] = fresh
        if update:
            with open(page, "w", encoding="utf-8") as file:
                file.write("\n".join(lines))
    print(f"{ran} commands run, {wrong} print something else than shown")
    sys.exit(wrong != 0)


main()
