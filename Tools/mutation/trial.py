"""Builds the test programs once, and then tells of one mutation after the other whether the tests notice.

Each worker has a copy of the sources, and compiles only the objects that read the changed file, into a folder of its
own, so that nothing has to be rebuilt when the change is taken back. The sources of a test program are linked and run
one at a time, first the quick tests of all, and the first failure ends it. An object that comes out the same, byte for
byte, is not linked at all: if all do, the compiler has proven that the mutation changes nothing.
"""
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import threading
import time
from collections import Counter

# The programs that test a file, the quickest to find something first.
PROGRAMS = [
    (r"Tools/kesh\.", ["contract_test", "sieve_test"]),
    (r"Prime/prime_data\.h", ["tables_test", "primality64_test"]),
    (r"Prime/prime_sieve\.cpp", ["contract_test", "sieve_test", "kesh-host"]),
    (r"Prime/prime_count\.cpp", ["contract_test", "counting_test", "kesh-host"]),
    (r"Prime/small_primes\.", ["primality_first_call_test", "primality_test"]),
    (r"Prime/prime_testing\.", ["primality64_test", "primality_test"]),
    (r"Shared/jacobi\.h", ["primality_test"]),
    (r"Shared/fastdiv\.h", ["engine_test", "primality_test"]),
    (r"Shared/mont\.h", ["engine_mont64_test", "engine_test", "primality_test"]),
    (r"Shared/isqrt\.h|Shared/intx/", ["engine_test"]),
    (r"Shared/kernel/(product|columns|adx_rows)\.h", ["engine_test", "kernels_test"]),
    (r"Shared/kernel/(strong_word\.h|trial\.cpp)", ["primality64_test", "kernels_test"]),
    (r"Shared/kernel/", ["kernels_test", "kernels_model_test", "primality_test"]),
]
ENGINE = ("engine_test", "engine_mont64_test", "tables_test")  # have nothing of the library
UNITS = {  # which sources of these are worth a run
    "tables_test": r"prime_data_test",
}
LIBRARY = "libVelmoraKesh.so"
QUICK_MS = 300
CAMPAIGN = "kesh-host"  # no GoogleTest program: what it does with every fault is compared with a page


def programs_for(path):
    return next((names for pattern, names in PROGRAMS if re.search(pattern, path)), [])


class Program:
    """A test program: its sources with tests, the objects that go with each, and its link command."""

    def __init__(self, build, name):
        self.name = name
        self.link = subprocess.run(["ninja", "-C", build, "-t", "commands", name], check=True, text=True,
                                   stdout=subprocess.PIPE).stdout.strip().splitlines()[-1]
        objects = re.findall(r"(?<= )(?!-)\S+\.o(?= )", self.link)
        self.units = [o for o in objects if "_test.cpp" in o or len(objects) == 1]
        self.units = [o for o in self.units if re.search(UNITS.get(name, ""), o)]
        self.helpers = [o for o in objects if "_test.cpp" not in o and len(objects) > 1]
        self.objects = objects
        self.output = re.search(r" -o (\S+) ", self.link).group(1)
        self.opens_library = "libkesh_static.a" not in self.link and name not in ENGINE


class Build:
    """What all workers share: the build of the unchanged sources."""

    def __init__(self, root, folder, jobs, paths):
        self.folder = folder
        self.tree = os.path.join(folder, "tree")
        self.build = os.path.join(folder, "build")
        self.library = os.path.join(self.build, LIBRARY)
        self.library_lock = threading.Lock()  # for the tests that open it where they know it
        self.kills = Counter()  # by file and unit: what found most goes first
        copy_tree(root, self.tree)
        if os.path.exists(self.library + ".good"):  # an earlier run was cut off
            os.replace(self.library + ".good", self.library)
        subprocess.run(["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DKESH_BENCHMARKS=OFF",
                        "-DCMAKE_BUILD_TYPE=None", "-DCMAKE_CXX_FLAGS=-O1 -DNDEBUG"], check=True, stdout=subprocess.DEVNULL)
        names = sorted({name for path in paths for name in programs_for(path)})
        subprocess.run(["ninja", "-C", self.build, "-j", str(jobs), "VelmoraKesh", *names], check=True,
                       stdout=subprocess.DEVNULL)
        self.programs = {name: Program(self.build, name) for name in names}
        self.link_library = subprocess.run(["ninja", "-C", self.build, "-t", "commands", "VelmoraKesh"], check=True,
                                           text=True, stdout=subprocess.PIPE).stdout.strip().splitlines()[-1]
        with open(os.path.join(self.build, "compile_commands.json"), encoding="utf-8") as file:
            self.commands = {re.search(r" -o (\S+\.o) ", c["command"]).group(1): c["command"] for c in json.load(file)}
        self._read_dependencies()
        self._measure()

    def _read_dependencies(self):
        """Which objects read a file of the tree."""
        self.readers = {}
        text = subprocess.run(["ninja", "-C", self.build, "-t", "deps"], check=True, text=True,
                              stdout=subprocess.PIPE).stdout
        current = None
        for line in text.splitlines():
            if line.startswith("    "):
                path = os.path.relpath(os.path.join(self.build, line.strip()), self.tree)
                self.readers.setdefault(path, set()).add(current)
            elif ":" in line:
                current = line.split(":")[0]

    def _measure(self):
        """Runs every unit once, unchanged: which of its tests are slow, and how long they take."""
        cache = os.path.join(self.build, "durations.json")
        known = {}
        if os.path.exists(cache):
            with open(cache, encoding="utf-8") as file:
                known = json.load(file)
        worker = Worker(self, 0)
        self.slow, self.seconds = {}, {}
        for program in self.programs.values():
            for unit in program.units:
                key = f"{unit} {os.path.getmtime(os.path.join(self.build, unit))}"
                if key not in known:
                    known[key] = worker.durations(program, unit)
                self.slow[unit] = [name for name, ms in known[key].items() if ms > QUICK_MS]
                slow = sum(known[key][name] for name in self.slow[unit])
                self.seconds[unit] = ((sum(known[key].values()) - slow) / 1000, slow / 1000)
        with open(cache, "w", encoding="utf-8") as file:
            json.dump(known, file)


def copy_tree(root, tree):
    """Makes `tree` a copy of the files under version control, and writes only those that differ."""
    listed = subprocess.run(["git", "-C", root, "ls-files", "-co", "--exclude-standard", "-z"], check=True, text=True,
                            stdout=subprocess.PIPE).stdout.split("\0")
    wanted = {path for path in listed if path and os.path.isfile(os.path.join(root, path))}
    for path in wanted:
        source, target = os.path.join(root, path), os.path.join(tree, path)
        with open(source, "rb") as file:
            content = file.read()
        if os.path.exists(target):
            with open(target, "rb") as file:
                if file.read() == content:
                    continue
        os.makedirs(os.path.dirname(target), exist_ok=True)
        with open(target, "wb") as file:
            file.write(content)
        shutil.copymode(source, target)
    for directory, _, names in os.walk(tree):
        for name in names:
            if os.path.relpath(os.path.join(directory, name), tree) not in wanted:
                os.remove(os.path.join(directory, name))


class Worker:
    """Tries one mutation at a time in sources of its own."""

    def __init__(self, shared, number):
        self.shared = shared
        self.sources = os.path.join(shared.folder, f"sources{number}")
        self.scratch = os.path.join(shared.folder, f"scratch{number}")
        shutil.rmtree(self.scratch, ignore_errors=True)
        os.makedirs(self.scratch)
        shutil.copytree(os.path.join(shared.tree, "CSource"), os.path.join(self.sources, "CSource"), dirs_exist_ok=True)

    def durations(self, program, unit):
        """Milliseconds of each test of the unchanged unit."""
        executable = self._link(program, unit, {})
        report = os.path.join(self.scratch, "report.json")
        started = time.monotonic()
        if self._run(program, executable, ["--gtest_filter=-*Long_*", "--gtest_output=json:" + report], 600) != 0:
            raise SystemExit(f"{unit} fails without a mutation")
        if program.name == CAMPAIGN:
            return {CAMPAIGN: (time.monotonic() - started) * 1000}
        with open(report, encoding="utf-8") as file:
            return {test["classname"] + "." + test["name"]: float(test["time"].rstrip("s")) * 1000
                    for suite in json.load(file)["testsuites"] for test in suite["testsuite"]}

    def verdict(self, mutation):
        """'killed by ...', 'survived', 'same code', 'does not compile' or 'does not link'."""
        target = os.path.join(self.sources, mutation.path)
        with open(target, encoding="utf-8") as file:
            lines = file.readlines()
        mutated = lines[:mutation.number] + list(mutation.new) + lines[mutation.number + len(mutation.old):]
        try:
            with open(target, "w", encoding="utf-8") as file:
                file.writelines(mutated)
            return self._verdict(mutation.path)
        except BuildFailure as failure:
            return f"does not {failure}"
        finally:
            with open(target, "w", encoding="utf-8") as file:
                file.writelines(lines)

    def _verdict(self, path):
        shared = self.shared
        readers = shared.readers.get(path, set())
        programs = [shared.programs[name] for name in programs_for(path)]
        with_library = [program for program in programs if program.name not in ENGINE]
        first = self._test(path, [program for program in programs if program.name in ENGINE], readers, {})
        if first not in ("survived", "same code") or not with_library:
            return first
        fresh = {name: self._compile(name) for name in sorted(readers) if "kesh_objects.dir" in name}
        changed = {name: output for name, output in fresh.items() if output}
        if not any(program.opens_library for program in programs):
            second = self._test(path, with_library, readers, changed)
        else:
            with shared.library_lock:
                if changed:
                    self._replace_library(changed)
                try:
                    second = self._test(path, with_library, readers, changed)
                finally:
                    if changed:
                        os.replace(shared.library + ".good", shared.library)
        return first if second == "same code" else second

    def _test(self, path, programs, readers, changed):
        shared = self.shared
        units = [(program, unit) for program in programs for unit in program.units]
        units.sort(key=lambda u: (-shared.kills[path, u[1]], programs.index(u[0]), sum(shared.seconds[u[1]])))
        later = []
        any_changed = bool(changed)
        for number, (program, unit) in enumerate(units):
            changed_here = dict(changed)
            fresh = self._compile(unit) if unit in readers else None
            if fresh:
                changed_here[unit] = fresh
            if not changed_here:
                continue
            any_changed = True
            executable = self._link(program, unit, changed_here, f"program{number}")
            slow = ":".join(shared.slow[unit])
            later += [(program, unit, executable, slow)] if slow else []
            found = self._try(path, program, unit, executable, "-*Long_*:" + slow, shared.seconds[unit][0])
            if found:
                return found
        for program, unit, executable, slow in later:
            found = self._try(path, program, unit, executable, slow, shared.seconds[unit][1])
            if found:
                return found
        return "survived" if any_changed else "same code"

    def _try(self, path, program, unit, executable, chosen, seconds):
        """'killed by ...', or None."""
        if program.name == CAMPAIGN and chosen != CAMPAIGN:
            return None
        code = self._run(program, executable, ["--gtest_filter=" + chosen, "--gtest_fail_fast"], seconds)
        if code == 0:
            return None
        self.shared.kills[path, unit] += 1
        source = program.name if program.name == CAMPAIGN else re.sub(r".*/(\w+)\.cpp\.o", r"\1", unit)
        return f"killed by {source}" + (" (hangs)" if code is None else "")

    def _compile(self, name):
        """Path of the freshly compiled object; None when it came out unchanged."""
        shared = self.shared
        output = os.path.join(self.scratch, name.replace("/", "_").replace("CMakeFiles_", ""))
        command = shared.commands[name].replace(f" -o {name} ", f" -o {output} ", 1)
        command = command.replace(f"{shared.tree}/CSource", f"{self.sources}/CSource")
        done = subprocess.run(f"{command} -w -ffile-prefix-map={self.sources}={shared.tree}", shell=True, cwd=shared.build,
                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        if done.returncode != 0:
            raise BuildFailure("compile")
        with open(output, "rb") as fresh, open(os.path.join(shared.build, name), "rb") as before:
            return output if fresh.read() != before.read() else None

    def _link(self, program, unit, changed, name="program"):
        """An executable of one unit, with the changed objects in the place of those they were compiled from."""
        if program.name == CAMPAIGN:  # opens the library that lies where it expects it
            return os.path.join(self.shared.build, program.output)
        from_library = [o for o in changed.values() if "kesh_objects.dir" in o] if "libkesh_static.a" in program.link else []
        objects = [changed.get(unit, unit), *from_library, *program.helpers]
        output = os.path.join(self.scratch, name)
        command = program.link
        for place, each in enumerate(program.objects):
            command = command.replace(f" {each} ", " " + (" ".join(objects) + " " if place == 0 else ""), 1)
        self._shell(command.replace(f" -o {program.output} ", f" -o {output} ", 1))
        return output

    def _replace_library(self, changed):
        command = self.shared.link_library
        for name, output in changed.items():
            command = command.replace(f" {name} ", f" {output} ", 1)
        fresh = os.path.join(self.scratch, LIBRARY)
        self._shell(command.replace(f" -o {LIBRARY} ", f" -o {fresh} ", 1))
        os.replace(self.shared.library, self.shared.library + ".good")
        os.replace(fresh, self.shared.library)

    def _shell(self, link):
        if subprocess.run(link, shell=True, cwd=self.shared.build, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          check=False).returncode != 0:
            raise BuildFailure("link")

    def _run(self, program, executable, arguments, seconds):
        """The exit status; None for a run beyond the limits, which is a hang."""
        command = [executable, *arguments]
        if program.name == CAMPAIGN:
            page = os.path.join(self.shared.tree, "docs", "fault-outcomes.md")
            command = ["sh", "-c", '"$1" faults | diff -q - "$2"', "-", executable, page]

        def limits():
            allowed = int(10 + 5 * seconds)
            resource.setrlimit(resource.RLIMIT_CPU, (allowed, allowed))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

        with subprocess.Popen(command, cwd=self.shared.tree, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, start_new_session=True, preexec_fn=limits) as process:
            # Counted in naps and not by the clock, since a machine may stop for a while.
            for _ in range(int(10 * (40 + 5 * seconds))):
                try:
                    code = process.wait(timeout=0.1)
                    break
                except subprocess.TimeoutExpired:
                    code = None
            try:
                os.killpg(process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            return None if code in (-signal.SIGXCPU, -signal.SIGKILL) else code


class BuildFailure(Exception):
    """What could not be done: compile, or link."""
