#!/usr/bin/env python3
"""Runs the commands shown in the documentation and compares what they print with what is shown.

    check_console_blocks.py FOLDER-OF-KESH-HOST [--update] PAGE...
    check_console_blocks.py --shell PROGRAM PAGE...

A block that opens with ```console holds commands, each on a line that begins with "$ ", followed by what it prints.
Times differ from run to run: "(2.06 s)" equals any time, and lines of progress, which a call prints every two seconds and
a task in the background every second, are left out on both sides. A line "..." stands for any number of lines.

Without a shell only calls of kesh-host are run, also at the end of a pipe. With one every command is, as PROGRAM COMMAND,
in the order of the pages; commands other than kesh-host must succeed besides.
"""
import os
import re
import subprocess
import sys

TIME = re.compile(r"\b(\d+ h |\d+ min )?\d+(\.\d+)? (µs|us|ms|s|min|h)\b")
COUNT = re.compile(r"\b\d+ (progress report|piece)s?\b")
RATE = re.compile(r"\b\d+ a second\b")
PROGRESS = re.compile(r".* [#\-█░]* +\d+\.\d %  TIME(, .*)?|[|/\\⠋⠙⠸⠴⠦⠧⠇⠏-] .*  TIME(, .*)?|"
                      r"\[ *TIME\] task \d+ Status \d+\.\d\d %")


def normalised(line):
    return RATE.sub("N a second", COUNT.sub(r"N \1s", TIME.sub("TIME", line.rstrip())))


def lasting(lines):
    """The lines as they are on every machine: times, rates and counts of reports normalised, progress left out."""
    return [line for line in map(normalised, lines) if not PROGRESS.fullmatch(line)]


def matches(shown, seen):
    """Whether the shown lines equal the seen ones; "..." matches any number of lines."""
    if not shown:
        return not seen
    if shown[0] == "...":
        return any(matches(shown[1:], seen[skip:]) for skip in range(len(seen) + 1))
    return bool(seen) and shown[0] == seen[0] and matches(shown[1:], seen[1:])


def runner(folder):
    """Runs a command with kesh-host of that folder: (lines printed, exit status)."""
    environment = dict(os.environ, PATH=folder + os.pathsep + os.environ["PATH"])
    return lambda command: finished(["bash", "-c", command], environment, limit=3600)


def finished(words, environment, limit):
    done = subprocess.run(
        words, env=dict(environment, NO_COLOR="1", COLUMNS="100"), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT, text=True, errors="replace", timeout=limit)
    return done.stdout.splitlines(), done.returncode


def calls_host(command):
    return re.search(r"(^|\| )(\S+=\S* )*kesh-host\b", command) is not None


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
    through_shell = arguments[:1] == ["--shell"]
    if through_shell:
        arguments.pop(0)
    if len(arguments) < 2:
        sys.exit(__doc__)
    program, pages = os.path.abspath(arguments[0]), arguments[1:]
    run = (lambda command: finished([program, command], os.environ, limit=7200)) if through_shell else runner(program)
    wrong = ran = 0
    for page in pages:
        with open(page, encoding="utf-8") as file:
            lines = file.read().split("\n")
        renewed = []
        for start, block in blocks(lines):
            fresh = []
            for command, shown in commands(block):
                if not through_shell and not calls_host(command):
                    fresh += ["$ " + command, *shown]
                    continue
                ran += 1
                seen, status = run(command)
                fresh += ["$ " + command, *(seen if update and "..." not in shown else shown)]
                failed = status != 0 and not calls_host(command)
                if through_shell:
                    print(f"{page}: $ {command}", flush=True)
                if (failed or not matches(lasting(shown), lasting(seen))) and not update:
                    wrong += 1
                    print(f"{page}: $ {command}\n  shown:\n    " + "\n    ".join(shown) + f"\n  seen, with status {status}:\n    " +
                          "\n    ".join(seen[-100:]), flush=True)
            renewed.append((start, len(block), fresh))
        if update:
            for start, length, fresh in reversed(renewed):
                lines[start:start + length] = fresh
            with open(page, "w", encoding="utf-8") as file:
                file.write("\n".join(lines))
    print(f"{ran} commands run, {wrong} print something else than shown")
    sys.exit(wrong != 0)


main()
