"""Builds the test programs once, and then finds out for one mutation after another whether the tests notice it.

Each worker has a copy of the sources, and compiles only the objects that read the changed file, into a folder of its own, so
that nothing has to be rebuilt when the change is undone. The sources of a test program are linked and run one at a time,
beginning with the quick tests of all, and end with the first failure. An object that is the same, byte for byte, is not
linked: if all are, the compiler has proven that the mutation changes nothing. The library and the bench host, which tests
find where they were built, are replaced while the tests of one mutation run.
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

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
HOST_FILES = r"(BenchHost|HostKit)/(.*/)?"

# The programs that test a file, in the order of how quickly they find errors. "program/pattern": those of its sources that match.
PROGRAMS = [
    (r"Tools/kesh\.", ["contract_test", "sieve_test"]),
    (r"Prime/prime_data\.h", ["tables_test/prime_data_test", "primality64_test"]),
    (r"Prime/prime_sieve\.cpp", ["contract_test", "sieve_test", "kesh-host"]),
    (r"Prime/prime_count\.cpp", ["contract_test", "counting_order_test", "counting_test", "exhaustion_test", "kesh-host"]),
    (r"Prime/prime_(batch|next|word)\.", ["batch_test", "primality64_test"]),
    (r"Prime/small_primes\.", ["primality_first_call_test", "primality_test", "exhaustion_test"]),
    (r"Prime/prime_testing\.", ["primality64_test", "primality_test"]),
    (r"Shared/jacobi\.h", ["primality_test"]),
    (r"Shared/fastdiv\.h", ["engine_test", "primality_test"]),
    (r"Shared/mont\.h", ["engine_mont64_test", "engine_test", "primality_test"]),
    (r"Shared/intx/(product|columns|adx_rows)\.h", ["engine_test", "kernels_test"]),
    (r"Shared/isqrt\.h|Shared/intx/", ["engine_test"]),
    (r"Shared/kernel/(strong_word\.h|trial\.cpp)", ["primality64_test", "kernels_test"]),
    (r"Shared/kernel/word_(lanes|vectors)\.", ["batch_test", "kernels_test"]),
    (r"Shared/kernel/ifma\.cpp", ["kernels_model_test"]),
    (r"Shared/kernel/avx512\.h", []),  # the model replaces it
    (r"Shared/kernel/", ["kernels_test", "primality_test"]),
    (r"Adapters/primesieve/", ["sieve_test"]),
    (r"Adapters/primecount/expression\.", ["counting_expression_test"]),
    (r"Adapters/primecount/", ["counting_adapter_test", "counting_test", "kesh-host"]),
    # The parts of the bench host that judge: the protocol checker, arguments, what is said of an answer, JSON.
    (HOST_FILES + r"(task|task_board|host_count|breaches)\.", ["host_unit_test/tasks|tables", "host_process_test/protocol|prompt|fault"]),
    (HOST_FILES + r"(tensors|lent_strings)\.", ["host_unit_test/tensors|tables|print", "host_process_test/protocol|call|fault"]),
    (HOST_FILES + r"fault_plan\.", ["host_unit_test/faults|tables", "host_process_test/fault|failure"]),
    (HOST_FILES + r"(expression|arguments|digits|split_line|printable|wording|remarks|sum_check)\.",
     ["host_unit_test/expression|arguments|split_line|print|wording|sum_check", "host_process_test/call|failure|prompt"]),
    (HOST_FILES + r"pieces\.", ["host_library_test/pieces"]),
    (HOST_FILES + r"(host_tables|call|json|outcome_text|export_help|tasks_text|event_lines|layout)\.",
     ["host_unit_test/tables|print|tasks", "host_process_test/protocol|call|fault|failure|prompt"]),
]
FOLDERS = [folder for folder in ("CSource", "Adapters", "HostKit", "BenchHost") if os.path.isdir(os.path.join(ROOT, folder))]
ENGINE = ("engine_test", "engine_mont64_test", "tables_test")  # have nothing of the library
QUICK_MS = 300
GUESSED_SECONDS, CAMPAIGN_SECONDS = 20, 120  # of a unit, and of the campaign of faults, before they are measured
LARGEST_PROCESS = 16 << 30  # a loop without an end may fill the memory; a thousand threads reserve half of this
CAMPAIGN = "kesh-host"  # no GoogleTest program: what it does with every fault is compared with a page
LIBRARY, HOST = "libVelmoraKesh.so", "kesh-host"
# The archive that has an object: a program that links the archive gets the changed objects before it.
PARTS = {"kesh_objects.dir": (LIBRARY, "libkesh_static.a"), "kesh_primecount_adapter.dir": (LIBRARY, None),
         "kesh_bench_host.dir": (HOST, "libkesh_bench_host.a"), "kesh_host_kit.dir": (HOST, "libkesh_host_kit.a"),
         "kesh-host.dir": (HOST, None)}


def part_of(name):
    """(the target that is replaced, archive) of an object; None for an object of a test program."""
    return next((part for folder, part in PARTS.items() if "/" + folder in name), None)


def tests_of(path):
    """(program, pattern of its sources) of those that test the file."""
    named = next((names for pattern, names in PROGRAMS if re.search(pattern, path)), [])
    return [(name.partition("/")[0], name.partition("/")[2]) for name in named]


def programs_for(path):
    return [name for name, _ in tests_of(path)]


class Program:
    """A test program: its sources with tests, the objects that go with each, and its link command."""

    def __init__(self, build, name):
        self.name = name
        self.link = subprocess.run(["ninja", "-C", build, "-t", "commands", name], check=True, text=True,
                                   stdout=subprocess.PIPE).stdout.strip().splitlines()[-1]
        objects = re.findall(r"(?<= )(?!-)\S+\.o(?= )", self.link)
        self.units = [o for o in objects if "_test.cpp" in o or len(objects) == 1]
        self.helpers = [o for o in objects if "_test.cpp" not in o and len(objects) > 1]
        self.objects = objects
        self.output = re.search(r" -o (\S+) ", self.link).group(1)
        self.opens_library = "libkesh_static.a" not in self.link and name not in ENGINE
        self.runs_host = name == CAMPAIGN or name.startswith("host_")
        self.filter = "*_ifma*" if name == "kernels_model_test" else ""


class Build:
    """The build of the unchanged sources, which all workers share."""

    def __init__(self, root, folder, jobs, paths):
        self.folder = folder
        self.tree = os.path.join(folder, "tree")
        self.build = os.path.join(self.tree, "build", "release")  # as a checkout has it: ccache knows most objects
        self.replaced_lock = threading.Lock()  # for the tests that open what was built where they know it
        self.kills = Counter()  # by file and unit: the unit with the most kills runs first
        self.unsteady = set()   # units that failed once and passed when they ran again
        copy_tree(root, self.tree)
        for target in (LIBRARY, HOST):
            self.put_back(target)  # an earlier run may have been cut off
        launcher = "ccache" if shutil.which("ccache") else ""
        subprocess.run(["cmake", "-S", self.tree, "-B", self.build, "-G", "Ninja", "-DKESH_HOST=ON", "-DKESH_TESTS=ON",
                        "-DCMAKE_BUILD_TYPE=Release", "-DKESH_SOURCES_APART=ON",
                        "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON", "-DCMAKE_CXX_COMPILER_LAUNCHER=" + launcher], check=True,
                       stdout=subprocess.DEVNULL)
        names = sorted({name for path in paths for name in programs_for(path)})
        # With a base directory, ccache writes other paths into an object than the compiler: no object would be the same.
        subprocess.run(["ninja", "-C", self.build, "-j", str(jobs), "VelmoraKesh", HOST, *names], check=True,
                       stdout=subprocess.DEVNULL, env=dict(os.environ, CCACHE_BASEDIR=""))
        self.programs = {name: Program(self.build, name) for name in names}
        self.links = {target: subprocess.run(["ninja", "-C", self.build, "-t", "commands", target], check=True, text=True,
                                             stdout=subprocess.PIPE).stdout.strip().splitlines()[-1]
                      for target in (LIBRARY, HOST)}
        with open(os.path.join(self.build, "compile_commands.json"), encoding="utf-8") as file:
            self.commands = {re.search(r" -o (\S+\.o) ", c["command"]).group(1): c["command"] for c in json.load(file)}
        self._read_dependencies()
        self.units = {path: [(self.programs[name], unit) for name, pattern in tests_of(path)
                             for unit in self.programs[name].units if re.search(pattern, os.path.basename(unit))]
                      for path in paths}
        self.timings = {}
        self.cache = os.path.join(self.build, "durations.json")
        self.durations = {}
        if os.path.exists(self.cache):
            with open(self.cache, encoding="utf-8") as file:
                self.durations = json.load(file)

    def put_back(self, target):
        """The built file as it was before a mutation replaced it."""
        path = os.path.join(self.build, target)
        if os.path.exists(path + ".good"):
            os.replace(path + ".good", path)

    def _read_dependencies(self):
        """The objects that read a file of the tree."""
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

    def timing(self, unit):
        """The slow tests of a unit, and the seconds that the others and they take; a guess until it has been measured."""
        slow = [CAMPAIGN] if part_of(unit) else []
        return self.timings.get(unit, (slow, GUESSED_SECONDS, CAMPAIGN_SECONDS))

    def measure(self, worker, program, unit):
        """Runs the unchanged unit once: it has to pass, and its slow tests are known then."""
        key = f"{unit} {os.path.getmtime(os.path.join(self.build, unit))}"
        if key not in self.durations:
            self.durations[key] = worker.durations(program, unit)
            with open(self.cache, "w", encoding="utf-8") as file:
                json.dump(self.durations, file)
        durations = self.durations[key]
        slow = [name for name, ms in durations.items() if ms > QUICK_MS]
        seconds = sum(durations[name] for name in slow) / 1000
        self.timings[unit] = (slow, sum(durations.values()) / 1000 - seconds, seconds)


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
    for directory, folders, names in os.walk(tree):
        if directory == tree and "build" in folders:
            folders.remove("build")
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
        for folder in FOLDERS:
            shutil.copytree(os.path.join(shared.tree, folder), os.path.join(self.sources, folder), dirs_exist_ok=True)

    def durations(self, program, unit):
        """Milliseconds of each test of the unchanged unit."""
        executable = self._link(program, unit, {})
        report = os.path.join(self.scratch, "report.json")
        started = time.monotonic()
        if self._run(program, executable, [f"--gtest_filter={program.filter}-*Long_*", "--gtest_output=json:" + report], 600) != 0:
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
            verdict = self._verdict(mutation.path)
            self.restore(mutation.path, lines)
            if verdict.startswith("killed") and self.killer[1] not in self.shared.timings:
                with self.shared.replaced_lock:
                    self.shared.measure(self, *self.killer)
            return verdict
        except BuildFailure as failure:
            return f"does not {failure}"
        finally:
            self.restore(mutation.path, lines)

    def restore(self, path, lines):
        with open(os.path.join(self.sources, path), "w", encoding="utf-8") as file:
            file.writelines(lines)

    def _verdict(self, path):
        shared = self.shared
        readers = shared.readers.get(path)
        if not readers:
            return "does not belong to this build"
        units = shared.units[path]
        with_library = [(program, unit) for program, unit in units if program.name not in ENGINE]
        first = self._test(path, [u for u in units if u not in with_library], readers, {})
        if first not in ("survived", "same code") or not with_library:
            return first
        # What only the bench host reads of a file matters where the bench host is tested.
        parts = {LIBRARY, HOST} if any(program.runs_host for program, _ in units) else {LIBRARY}
        fresh = {name: self._compile(name) for name in sorted(readers) if part_of(name) and part_of(name)[0] in parts}
        changed = {name: output for name, output in fresh.items() if output}
        targets = {part_of(name)[0] for name in changed}
        if not targets or not any(program.opens_library for program, _ in units):
            second = self._test(path, with_library, readers, changed)
        else:
            with shared.replaced_lock:
                for target in targets:
                    self._replace(target, changed)
                try:
                    second = self._test(path, with_library, readers, changed)
                finally:
                    for target in targets:
                        shared.put_back(target)
        return first if second == "same code" else second

    def _test(self, path, units, readers, changed):
        shared = self.shared
        order = [program for program, _ in shared.units[path]]
        units = sorted(units, key=lambda u: (-shared.kills[path, u[1]], order.index(u[0]), sum(shared.timing(u[1])[1:])))
        later = []
        any_changed = bool(changed)
        for number, (program, unit) in enumerate(units):
            changed_here = dict(changed)
            for name in [unit, *program.helpers]:
                fresh = self._compile(name) if name in readers and not part_of(name) else None
                if fresh:
                    changed_here[name] = fresh
            if not changed_here:
                continue
            any_changed = True
            executable = self._link(program, unit, changed_here, f"program{number}")
            slow = ":".join(shared.timing(unit)[0])
            later += [(program, unit, executable, slow)] if slow else []
            found = self._try(path, program, unit, executable, program.filter + "-*Long_*:" + slow, shared.timing(unit)[1])
            if found:
                return found
        for program, unit, executable, slow in later:
            found = self._try(path, program, unit, executable, slow, shared.timing(unit)[2])
            if found:
                return found
        return "survived" if any_changed else "same code"

    def _try(self, path, program, unit, executable, chosen, seconds):
        """'killed by ...', or None."""
        if program.name == CAMPAIGN and chosen != CAMPAIGN:
            return None
        arguments = ["--gtest_filter=" + chosen, "--gtest_fail_fast"]
        code = self._run(program, executable, arguments, seconds)
        if code == 0:
            return None
        # A test that fails now and then for a reason of its own has found nothing.
        if code is not None and self._run(program, executable, arguments, seconds) == 0:
            self.shared.unsteady.add(unit)
            return None
        self.shared.kills[path, unit] += 1
        self.killer = (program, unit)
        source = program.name if program.name == CAMPAIGN else re.sub(r".*/(\w+)\.cpp\.o", r"\1", unit)
        return f"killed by {source}" + (" (hangs)" if code is None else "")

    def _compile(self, name):
        """Path of the newly compiled object; None if it is unchanged."""
        shared = self.shared
        output = os.path.join(self.scratch, name.replace("/", "_").replace("CMakeFiles_", ""))
        command = shared.commands[name].replace(f" -o {name} ", f" -o {output} ", 1)
        for folder in FOLDERS:
            command = command.replace(f"{shared.tree}/{folder}", f"{self.sources}/{folder}")
        command = command.replace(f" -I{shared.tree} ", f" -I{self.sources} -I{shared.tree} ")  # "HostKit/..."
        done = subprocess.run(f"{command} -w -ffile-prefix-map={self.sources}={shared.tree}", shell=True, cwd=shared.build,
                              env=dict(os.environ, CCACHE_DISABLE="1"), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                              check=False)  # nothing is compiled twice here
        if done.returncode != 0:
            raise BuildFailure("compile")
        with open(output, "rb") as fresh, open(os.path.join(shared.build, name), "rb") as before:
            return output if fresh.read() != before.read() else None

    def _link(self, program, unit, changed, name="program"):
        """An executable of one unit, with the changed objects in place of the original ones."""
        if program.name == CAMPAIGN:  # opens the library that lies where it expects it
            return os.path.join(self.shared.build, program.output)
        own = [changed.get(o, o) for o in program.helpers]
        sources = {name.split(".dir/")[1].split("__/")[-1] for name in program.helpers}  # also of a part, compiled otherwise
        from_archives = [output for name, output in changed.items()
                         if part_of(name) and name not in program.helpers and part_of(name)[1]
                         and part_of(name)[1] in program.link and not any(s.endswith(name.split(".dir/")[1]) for s in sources)]
        objects = [changed.get(unit, unit), *from_archives, *own]
        output = os.path.join(self.scratch, name)
        command = program.link
        for place, each in enumerate(program.objects):
            command = command.replace(f" {each} ", " " + (" ".join(objects) + " " if place == 0 else ""), 1)
        self._shell(command.replace(f" -o {program.output} ", f" -o {output} ", 1))
        return output

    def _replace(self, target, changed):
        command = self.shared.links[target]
        for name, output in changed.items():
            if f" {name} " in command:
                command = command.replace(f" {name} ", f" {output} ", 1)
            elif part_of(name)[0] == target:  # comes before the archive that it is in
                command = re.sub(r" (?=\S+\.o )", f" {output} ", command, count=1)
        fresh = os.path.join(self.scratch, target)
        self._shell(command.replace(f" -o {target} ", f" -o {fresh} ", 1))
        built = os.path.join(self.shared.build, target)
        os.replace(built, built + ".good")
        os.replace(fresh, built)

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
            allowed = int(5 + 4 * seconds)  # of processor time, which a busy machine makes little more of
            resource.setrlimit(resource.RLIMIT_CPU, (allowed, allowed))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
            resource.setrlimit(resource.RLIMIT_AS, (LARGEST_PROCESS, LARGEST_PROCESS))

        with subprocess.Popen(command, cwd=self.shared.tree, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL, start_new_session=True, preexec_fn=limits) as process:
            # Time is counted in sleeps and not by the clock, because a machine may pause for a while.
            for _ in range(int(10 * (60 + 20 * seconds))):
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
    """The step that failed: compile or link."""
