"""The small changes that Tools/mutate makes to the sources, and how it chooses among them."""
import math
import os
import random
import re
from collections import Counter
from dataclasses import dataclass

# Each occurrence in a line of code is one possible mutation.
OPERATORS = [
    (r"(?<=[\w)\]] )<(?= [\w(~-])", "<="), (r"(?<=[\w)\]] )<=(?= [\w(~-])", "<"),
    (r"(?<=[\w)\]] )>(?= [\w(~-])", ">="), (r"(?<=[\w)\]] )>=(?= [\w(~-])", ">"),
    (r" == ", " != "), (r" != ", " == "), (r" && ", " || "), (r" \|\| ", " && "),
    (r"(?<=[\w)\]]) \+ (?=[\w(])", " - "), (r"(?<=[\w)\]]) - (?=[\w(])", " + "), (r"(?<=[\w)\]]) \* (?=[\w(])", " + "),
    (r" / ", " * "), (r" % ", " / "), (r" << ", " >> "), (r" >> ", " << "), (r" & ", " | "), (r" \| ", " & "),
    (r" \^ ", " & "), (r" \+= ", " -= "), (r" -= ", " += "), (r" \*= ", " += "), (r" \|= ", " &= "), (r" <<= ", " >>= "),
    (r"\+\+", "--"), (r"(?<![-\w])--(?=\w)", "++"), (r"~(?=\w)", ""),
    (r"if \((?!constexpr)([^;{}]*)\) return", r"if (!(\1)) return"),
    (r" \? ([^:?]*) : ([^:?;]*);", r" ? \2 : \1;"), (r"\.lo\(\)", ".hi()"), (r"\.hi\(\)", ".lo()"),
    # In assembly.
    (r'"adcx ', '"adox '), (r'"adox ', '"adcx '), (r"\bsbb ", "sub "), (r"\bcmovnc ", "cmovc "), (r'"adcq ', '"addq '),
]
CONSTANTS = [
    (r"\btrue\b", "false"), (r"\bfalse\b", "true"), (r"\bnullptr\b(?=\)|;)", "nullptr + 1"),
    (r"LIBRARY_FUNCTION_ERROR", "LIBRARY_NO_ERROR"), (r"LIBRARY_NO_ERROR", "LIBRARY_FUNCTION_ERROR"),
    (r"return (?!true|false|LIBRARY)([A-Za-z_]\w*);", r"return \1 + 1;"),
]
NUMBER = re.compile(r"(?<![\w.'<%])(\d+)(?![\w.']*[.x'])(?![\d']*>)")
STATEMENT = re.compile(r"^(\s*)(?!return|break|continue|throw|using|typedef|static|const|friend|extern|template|else|case|if|for|while|do)"
                       r"([\w:.>\[\]*-]+(<[^;<>]*>)?\([^{}]*\)|[\w.>\[\]*-]+ [-+*/|&^]?= [^{}]*);$")
CHECK = re.compile(r"^(\s*)if \([^{}]*\) (return|break|continue)\b[^{}]*;$")
# Lines that are not code that runs, and lines whose effect only a sanitizer or a debug build sees: assertions and the sizes
# of local arrays.
SKIPPED = re.compile(r"\s*(#|//|\*|static_assert|assert|template|using|namespace|TYPED|requires|@|KESH_KERNEL_WIDTH|"
                     r"concept|inline constexpr bool layout|((static|const|constexpr) )*(umint|half_type|char|limb_type)\s[^=(]*\[)")


@dataclass(frozen=True)
class Mutation:
    path: str
    number: int        # of its first line, from 0
    old: tuple         # lines
    new: tuple
    occurrence: int    # of these lines in the file, from 1
    stratum: str

    def name(self):
        """A name that stays the same when lines are added elsewhere in the file."""
        place = self.path if self.occurrence == 1 else f"{self.path} ({self.occurrence})"
        return f"{place}: {self.text(self.old)}  ->  {self.text(self.new)}"

    @staticmethod
    def text(lines):
        return " / ".join(line.strip().rstrip("\\").strip() for line in lines)


def without_comment(line):
    return line.split("//")[0].rstrip()


def code_lines(lines):
    """(number, line) of the lines that a change may touch."""
    in_comment = False
    for number, line in enumerate(lines):
        code = without_comment(line)
        was_in_comment = in_comment
        in_comment = (in_comment or "/*" in code) and "*/" not in code
        if not was_in_comment and "/*" not in code and code.strip() and not SKIPPED.match(code):
            yield number, code


def changed_number(match):
    value = int(match.group(1))
    return str(value + 1 if value in (0, 1, 2) or value % 2 == 1 else value - 1)


def changes_of_line(code):
    for pattern, replacement in OPERATORS + CONSTANTS:
        for match in re.finditer(pattern, code):
            yield code[:match.start()] + match.expand(replacement) + code[match.end():]
    for match in NUMBER.finditer(code):
        yield code[:match.start()] + changed_number(match) + code[match.end():]
    if STATEMENT.match(code):
        yield re.match(r"\s*", code).group() + ";"


def candidates_of_source(path, lines):
    seen = Counter()
    numbered = list(code_lines(lines))
    for place, (number, code) in enumerate(numbered):
        seen[code.strip()] += 1
        for new in changes_of_line(code):
            yield Mutation(path, number, (lines[number],), (new + "\n",), seen[code.strip()], path)
        follower = numbered[place + 1] if place + 1 < len(numbered) else (None, "")
        check = CHECK.match(code)
        if check and follower[0] == number + 1 and re.match(check.group(1) + r"\S.*;$", follower[1]):
            old = (lines[number], lines[number + 1])
            yield Mutation(path, number, old, (old[1], old[0]), seen[code.strip()], path)


def candidates_of_table(path, lines):
    """One entry per line of the generated tables; each table is a stratum of its own."""
    table = ""
    for number, line in enumerate(lines):
        opening = re.match(r"static const \w+ (\w+)\[", line)
        if opening:
            table = opening.group(1)
        entry = re.match(r"    (\d+)", line)
        if entry:
            new = "    " + changed_number(entry) + line[entry.end():]
            yield Mutation(path, number, (line,), (new,), 1, f"{path} {table}")


def candidates(root, folders, wanted):
    """All possible mutations by stratum. A stratum is a selected source file, or a table of prime_data.h."""
    strata = {}
    for directory, _, names in sorted(entry for folder in folders for entry in os.walk(os.path.join(root, folder))):
        for name in sorted(names):
            path = os.path.relpath(os.path.join(directory, name), root)
            if not name.endswith((".h", ".cpp")) or not wanted(path):
                continue
            with open(os.path.join(root, path), encoding="utf-8") as file:
                lines = file.readlines()
            find = candidates_of_table if name == "prime_data.h" else candidates_of_source
            strata.setdefault(path, []) if find is candidates_of_source else None
            for mutation in find(path, lines):
                strata.setdefault(mutation.stratum, []).append(mutation)
    return strata


def by_hand(root):
    """The mutations of by_hand.txt, by a stratum of their own a file: blocks of a path, lines "- old" and "+ new"."""
    strata, path, old, new = {}, "", [], []

    def add():
        if not old:
            return
        with open(os.path.join(root, path), encoding="utf-8") as file:
            lines = file.readlines()
        stripped = [without_comment(line).strip() for line in lines]
        places = [i for i in range(len(lines)) if stripped[i:i + len(old)] == old]
        if len(places) != 1:
            raise SystemExit(f"Tools/mutation/by_hand.txt: these lines occur {len(places)} times in {path}:\n" + "\n".join(old))
        found = tuple(lines[places[0]:places[0] + len(old)])
        stratum = f"{path} by hand"
        strata.setdefault(stratum, []).append(
            Mutation(path, places[0], found, tuple(line + "\n" for line in new), 1, stratum))

    with open(os.path.join(root, "Tools", "mutation", "by_hand.txt"), encoding="utf-8") as file:
        for line in [*file.read().split("\n"), ""]:
            if not line.strip():
                add()
                old, new = [], []
            elif line.startswith("- "):
                old.append(without_comment(line[2:]).strip())
            elif line.startswith("+ "):
                new.append(line[2:])
            elif not line.startswith("#"):
                path = line.strip()
    return strata


def plan(strata, count, seed):
    """(quota, its mutations in random order) by stratum. Every file gets at least 2, and larger files get more: the quota
    grows with the square root of the number of candidates."""
    weight = {stratum: 0 if " " in stratum else math.sqrt(len(found)) for stratum, found in strata.items()}
    total = sum(weight.values()) or 1
    chosen = {}
    for stratum, found in sorted(strata.items()):
        order = list(found)
        random.Random(f"{seed} {stratum}").shuffle(order)
        quota = min(len(order), max(2, round(count * weight[stratum] / total)))
        if stratum.endswith(" by hand"):
            quota = len(order)
        chosen[stratum] = (quota, order)
    return chosen
