#!/usr/bin/env python3
"""Changes one fact of a description at a time and tells which changes no test notices.

    tests/mutate.py [--count N] [--seed S] [--scratch FOLDER] [--only KIND] [--resume FILE] [--list]

The tree is cloned into the scratch folder (default build/scratch) and built there without optimisation. Each mutant
changes one line of a description: an IEI, a width, the order of two fields, a bound, an enumerator, presence, the length
class, a pair of flags. It is killed if l3c refuses it, or a test fails: first those of the compiler, which read the
descriptions; then those of layouts, many mutants in one build, each of which must be found out at its own type, and none
of which holds another; what is left is built alone and goes through all tests of modules. Survivors are listed. With
--resume the mutants that FILE, the output of an earlier run, tells of are not tried again. Not part of .ci/run.
"""
import argparse
import os
import random
import re
import subprocess
import sys
from pathlib import Path

MODULES = ["TS24008IES", "TS24008Msgs", "TS24011IES", "TS24011Msgs", "TS24301IES", "TS24301Msgs", "TS24501IES", "TS24501Msgs"]
ROOT = Path(__file__).resolve().parent.parent

# --- The spelling of descriptions: all that this script knows of it.

DECLARATION = re.compile(r"(?:enum|type|element|message|pdu|table|test|module)\b")
# Words that a number follows which isn't the width of a field.
NO_NAMES = {"V", "LV", "E", "L4", "LB7", "init", "sample", "inline", "ahead", "since", "else"}
NO_FACTS = ("#", "--", "test", "module")


def other_iei(iei):
    return "%X-" % (8 + (int(iei[0], 16) - 7) % 8) if iei[1] == "-" else "%02X" % (int(iei, 16) ^ 5)


def other_bound(low, high):
    return low + ".." + str(int(high) - 1) if high else str(int(low) + 1) + ".."


def other_width(match):
    word, blanks, bits = match.groups()
    if word in NO_NAMES or word.isdigit() or not 1 < int(bits) <= 32:
        return None
    return word + blanks + str(int(bits) - 1)


def swapped(match):
    return match.group(2) + match.group(0)[len(match.group(1)):-len(match.group(2))] + match.group(1)


# Kind, in which declarations, pattern, and what stands for the match instead (None: the match is as it was). The
# pattern runs over the code of a line, behind the head of an enumeration.
FACTS = [
    ("iei", {"message"}, r"(?<=\s)(?:[0-9A-F]{2}|[89A-F]-)(?=\s)", lambda m: other_iei(m.group(0))),
    ("width", {"element"}, r"([\w?]+)(\s+|(?<=octets)\(|(?<=bits)\()(\d+)(?=[\s,})]|$)", other_width),
    ("bound", {"element", "type"}, r"(?:(?<=\bLV )|(?<=\bLV-E )|(?<=\bL4 )|(?<=\[))(\d*)\.\.(\d*)",
     lambda m: other_bound(m.group(1), m.group(2))),
    # Exchanged with the next on its line, as another value alone would often be there already.
    ("enumerator", {"enum"}, r"(?<=[\w-] )(\d+), *[\w-]+ (\d+)(?=,| *}|$)", swapped),
    ("enumerator", {"enum"}, r"(?<=[\w-] )\d+(?= *}|,?$)", lambda m: str(int(m.group(0)) ^ 1)),
    ("presence", {"element"}, r"(?<=\w)\?(?=[\s,])", lambda m: ""),
    ("class", {"element", "type"}, r"(?<=\s)LV(-E)?(?=\s|$)", lambda m: "LV" if m.group(1) else "LV-E"),
    ("flags", {"element"}, r"(?<=[{, ])([a-z]\w*),\s*([a-z]\w*)(?=,| }|$)", swapped),
]
# Two lines of one field each, which can stand in the other order.
FIELD = re.compile(r"\s+(?:[0-9A-F]{2}\s+|[89A-F]-\s+)?[a-zA-Z][\w-]*\??\s+[^\s{}][^{}]*(?<!\()$")


def candidates(lines):
    """(kind, type, line number, new line) for each fact that can be changed alone."""
    inside = owner = None
    for number, line in enumerate(lines):
        head = DECLARATION.match(line)
        if head:
            inside, owner = head.group(0), line.split()[1].split("(")[0].replace("-", "_")
        if line.startswith(NO_FACTS) or inside in ("test", "table", "module"):
            continue
        code, mark, comment = line.partition(" #")
        code, dashes, doc = code.partition(" -- ")
        start = re.match(r"enum \S+ \d+", code).end() if head and inside == "enum" else 0
        for kind, where, pattern, other in FACTS:
            if inside not in where:
                continue
            pattern, at = re.compile(pattern), start
            while match := pattern.search(code, at):
                at = match.start(match.lastindex) if other is swapped else match.end()
                new = other(match)
                if new is not None and match.group(0) != "..":
                    yield kind, owner, number, code[:match.start()] + new + code[match.end():] + dashes + doc + mark + comment
        if inside in ("element", "message") and number + 1 < len(lines):
            following = lines[number + 1]
            if FIELD.match(line) and FIELD.match(following):
                yield "order", owner, number, following + "\n" + line


def reach(texts):
    """The types that each type holds, at any depth."""
    bodies, owner = {}, None
    for lines in texts.values():
        for line in lines:
            if DECLARATION.match(line) and not line.startswith(("table", "test", "module")):
                owner = line.split()[1].split("(")[0].replace("-", "_")
                bodies[owner] = ""
            if owner:
                bodies[owner] += " " + line.partition("#")[0]
    names = {owner: {w for w in re.findall(r"\w+", body.replace("-", "_")) if w in bodies and w != owner} for owner, body in bodies.items()}
    held = {}
    for owner in names:
        seen, todo = set(), [owner]
        while todo:
            for name in names[todo.pop()] - seen:
                seen.add(name)
                todo.append(name)
        held[owner] = seen
    return held


# --- Trying them.


def run(command, folder, **options):
    return subprocess.run(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options).returncode == 0


class Tree:
    """A clone of the repository in which descriptions are changed."""

    def __init__(self, folder, texts):
        self.folder, self.build = folder, folder / "build/mutants"
        self.texts = texts
        if not (folder / ".git").exists():
            subprocess.run(["git", "clone", "-q", ROOT, folder], check=True)
        subprocess.run(["git", "fetch", "-q", ROOT, "HEAD"], cwd=folder, check=True)
        subprocess.run(["git", "reset", "-q", "--hard", "FETCH_HEAD"], cwd=folder, check=True)

    def make(self, *targets):
        return run(["cmake", "--build", self.build, "--target", *targets], self.folder)

    def prepare(self):
        subprocess.run(["cmake", "-S", ".", "-B", self.build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DQUORVA_BUILD_TOOLS=OFF"], cwd=self.folder, check=True, stdout=subprocess.DEVNULL)
        assert self.make("compiler_test", "layout_test", "modules_test"), "the tree itself does not build"
        assert not self.by_descriptions() and run([self.build / "tests/layout_test"], self.folder), "the tree itself does not pass"

    def write(self, mutants):
        """The descriptions with these mutants, and no others."""
        texts = {module: list(lines) for module, lines in self.texts.items()}
        for mutant in sorted(mutants, key=lambda m: -m.number):
            texts[mutant.module][mutant.number:mutant.number + mutant.lines] = mutant.new.split("\n")
        for module, lines in texts.items():
            path, text = self.folder / "src" / (module + ".l3d"), "\n".join(lines)
            if path.read_text() != text:
                path.write_text(text)

    def by_descriptions(self, *mutant):
        self.write(mutant)
        sources = sorted((self.folder / "src").glob("*.l3d"))
        if not run([self.build / "compiler/l3c", "--out", self.folder / "build/refused", *sources], self.folder):
            return "refused by l3c"
        if not run([self.build / "tests/compiler_test", "--gtest_brief=1", "--gtest_filter=*Standard*"], self.folder):
            return "tables of the standards"
        return None

    def by_layouts(self, mutants):
        """Which of the mutants the layouts of their types find out; None if they don't build together."""
        self.write(mutants)
        if not self.make("layout_test"):
            return None

        def finds(mutant):
            name = "%s_%s" % (mutant.prefix(), mutant.owner)
            test = subprocess.run([self.build / "tests/layout_test", "--gtest_filter=-*EveryElementHasOne"], cwd=self.folder, capture_output=True, text=True, errors="replace",
                                  env={**os.environ, "QUORVA_LAYOUTS_OF": name})
            return test.returncode < 0 or name in test.stdout
        return [mutant for mutant in mutants if finds(mutant)]

    def by_all(self, *mutant):
        self.write(mutant)
        if not self.make("layout_test", "modules_test"):
            return "the compiler"
        try:
            if not run([self.build / "tests/layout_test", "--gtest_brief=1"], self.folder, timeout=300):
                return "layouts"
            if not run([self.build / "tests/modules_test", "--gtest_brief=1"], self.folder, timeout=600):
                return "vectors and messages"
        except subprocess.TimeoutExpired:
            return "time"
        return None


class Mutant:
    def __init__(self, module, kind, owner, number, new, old):
        self.module, self.kind, self.owner, self.number, self.new = module, kind, owner, number, new
        self.lines = 2 if kind == "order" else 1
        self.what = f"{kind}: {module}.l3d:{number + 1}: {old.strip()} -> {new.strip()!r}"

    def prefix(self):
        return re.sub(r"(IE|Msg)S?s?$", r"\1", self.module)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--scratch", type=Path, default=ROOT / "build/scratch")
    parser.add_argument("--only", help="one kind of change")
    parser.add_argument("--resume", type=Path, help="output of an earlier run")
    parser.add_argument("--list", action="store_true", help="show the mutants, run nothing")
    options = parser.parse_args()

    texts = {module: (ROOT / "src" / (module + ".l3d")).read_text().split("\n") for module in MODULES}
    kinds = {}
    for module, lines in texts.items():
        for kind, owner, number, new in candidates(lines):
            kinds.setdefault(kind, []).append(Mutant(module, kind, owner, number, new, lines[number]))
    chooser = random.Random(options.seed)
    chosen = []
    # As many of each kind as there are, up to an equal share.
    for kind in sorted(kinds):
        if options.only in (None, kind):
            share = options.count if options.only else -(-options.count // len(kinds))
            chosen += chooser.sample(kinds[kind], min(share, len(kinds[kind])))
    if options.resume:
        told = {line.partition(": ")[2] for line in options.resume.read_text().split("\n")}
        chosen = [mutant for mutant in chosen if mutant.what not in told]
    if options.list:
        print("\n".join(mutant.what for mutant in chosen))
        return 0
    tree = Tree(options.scratch.resolve(), texts)
    tree.prepare()

    killed, survivors, alone = {}, [], []

    def tell(mutant, by):
        killed[by] = killed.get(by, 0) + 1
        print(f"{by}: {mutant.what}", flush=True)

    try:
        left = []
        for mutant in chosen:
            by = tree.by_descriptions(mutant)
            if by:
                tell(mutant, by)
            elif mutant.kind == "width" and re.search(r"\b(frame|bare)\b|= octets", mutant.new):
                alone.append(mutant)  # lengths of odd widths don't compile
            else:
                left.append(mutant)
        held = reach(tree.texts)
        most = 60
        while left:
            batch = []
            for mutant in left:
                related = any(m.owner == mutant.owner or m.owner in held[mutant.owner] or mutant.owner in held[m.owner] for m in batch)
                if not related and len(batch) < most:
                    batch.append(mutant)
            found = tree.by_layouts(batch)
            if found is None and len(batch) > 1:  # fewer at a time
                most, left = len(batch) // 2, left[1:] + left[:1]
                continue
            most = 60
            for mutant in found or []:
                tell(mutant, "layouts")
            alone += [mutant for mutant in batch if mutant not in (found or [])]
            left = [mutant for mutant in left if mutant not in batch]
        for mutant in alone:
            by = tree.by_all(mutant)
            if by:
                tell(mutant, by)
            else:
                survivors.append(mutant.what)
                print("SURVIVED:", mutant.what, flush=True)
    finally:
        tree.write([])
    total = sum(killed.values())
    print("\nKilled by:", ", ".join(f"{by} {number}" for by, number in sorted(killed.items())))
    print(f"{total} of {len(chosen)} killed ({100 * total / len(chosen):.1f} %). Survivors:")
    print("\n".join(survivors) or "none")
    return 0


if __name__ == "__main__":
    sys.exit(main())
