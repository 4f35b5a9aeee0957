#!/usr/bin/env python3
"""Changes one fact of a description at a time and tells which changes no test notices.

    tests/mutate.py [--count N] [--seed S] [--scratch FOLDER] [--only KIND] [--list]

The tree is cloned into the scratch folder (default build/mutants) and built there without optimisation. Each mutant
changes one line of an EPS or 5GS description: an IEI, a width, the order of two fields, a bound, an enumerator, presence,
the length class, a pair of flags. It is killed if l3c refuses it, or a test fails: first those of the compiler, which read
the descriptions, then, behind a build, those of layouts, vectors and messages. Survivors are listed. Not part of .ci/run:
200 mutants take about an hour.
"""
import argparse
import random
import re
import subprocess
import sys
from pathlib import Path

MODULES = ["TS24301IES", "TS24301Msgs", "TS24501IES", "TS24501Msgs"]
ROOT = Path(__file__).resolve().parent.parent


def candidates(module, lines):
    """(kind, line number, new line) for each fact that can be changed alone."""
    inside = None
    for number, line in enumerate(lines):
        head = re.match(r"(enum|number|octets|digits|list|alias|element|message|pdu|table|test|module)\b", line)
        if head:
            inside = head.group(1)
        if line.startswith(("#", "--", "test", "module")) or inside in ("test", "table", "module"):
            continue
        code, mark, comment = line.partition(" #")

        def changed(kind, new):
            return kind, number, new + mark + comment

        iei = re.match(r"(\s+\S+\s+)([0-9A-F]{2}|[89A-F]-)(\s+\S.*)", code)
        if inside == "message" and iei:
            old = iei.group(2)
            new = "%X-" % (8 + (int(old[0], 16) - 7) % 8) if old[1] == "-" else "%02X" % (int(old, 16) ^ 5)
            yield changed("iei", iei.group(1) + new + iei.group(3))
        for width in re.finditer(r"(?<=[a-zA-Z0-9_?] )(\d+)(?=\s*(,|}|$|init|\[))", code):
            if inside == "element" and 1 < int(width.group(1)) <= 32:
                bits = int(width.group(1)) - 1
                yield changed("width", code[:width.start()] + str(bits) + code[width.end():])
        bound = re.search(r"\b(LV|LV-E) (\d*)\.\.(\d*)", code)
        if head and bound and (bound.group(2) or bound.group(3)):
            low, high = bound.group(2), bound.group(3)
            low, high = (str(int(low) + 1), high) if low else (low, str(int(high) - 1))
            yield changed("bound", code[:bound.start(2)] + low + ".." + high + code[bound.end(3):])
        span = re.search(r"\[(\d+)\.\.(\d+)\]", code)
        if inside == "element" and span:
            yield changed("bound", code[:span.start(2)] + str(int(span.group(2)) - 1) + code[span.end(2):])
        if inside == "enum":
            for row in re.finditer(r"([A-Za-z][\w-]*) (\d+)(?=,| *}|$)", re.sub(r"^enum \S+ \d+", lambda m: " " * len(m.group(0)), code)):
                yield changed("enumerator", code[:row.start(2)] + str(int(row.group(2)) ^ 1) + code[row.end(2):])
        optional = re.match(r"(\s+)([a-zA-Z][\w-]*)\?(\s+.*)", code)
        if inside == "element" and optional:
            yield changed("presence", optional.group(1) + optional.group(2) + " " + optional.group(3))
        lengths = re.match(r"(element \S+) (LV-E|LV)\b(.*)", code)
        if lengths:
            new = "LV" if lengths.group(2) == "LV-E" else "LV-E"
            yield changed("class", lengths.group(1) + " " + new + lengths.group(3))
        flags = [f for f in re.finditer(r"(?<=[{, ])([a-z]\w*)(?=,| }|$)", code)] if inside == "element" else []
        for one, two in zip(flags, flags[1:]):
            if re.fullmatch(r",\s*", code[one.end():two.start()]):
                yield changed("flags", code[:one.start()] + two.group(0) + code[one.end():two.start()] + one.group(0) + code[two.end():])
        if inside in ("element", "message") and number + 1 < len(lines):
            following = lines[number + 1]
            if all(re.match(r"\s+[a-zA-Z][\w-]*\??\s+\S", text) and "{" not in text and "}" not in text for text in (line, following)):
                yield "order", number, following + "\n" + line


def run(command, folder, **options):
    return subprocess.run(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, **options).returncode == 0


def verdict(tree):
    build = tree / "build/mutants"

    def made(target):
        return run(["cmake", "--build", build, "--target", target], tree)

    if not made("quorva_generated"):
        return "refused by l3c"
    if not run([build / "tests/compiler_test", "--gtest_brief=1", "--gtest_filter=*Standard*:*Own*"], tree):
        return "tables of the standards"
    if not made("layout_test"):
        return "not compiled"
    try:
        if not run([build / "tests/layout_test", "--gtest_brief=1"], tree, timeout=300):
            return "layouts"
        if not made("modules_test"):
            return "not compiled"
        if not run([build / "tests/modules_test", "--gtest_brief=1"], tree, timeout=600):
            return "vectors and messages"
    except subprocess.TimeoutExpired:
        return "time"
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--count", type=int, default=200)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--scratch", type=Path, default=ROOT / "build/mutants")
    parser.add_argument("--only", help="one kind of change")
    parser.add_argument("--list", action="store_true", help="show the mutants, run nothing")
    options = parser.parse_args()

    tree = options.scratch
    if not options.list:
        if not (tree / ".git").exists():
            subprocess.run(["git", "clone", "-q", ROOT, tree], check=True)
        subprocess.run(["cmake", "-S", ".", "-B", "build/mutants", "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                        "-DCMAKE_CXX_FLAGS_DEBUG=-O0", "-DQUORVA_BUILD_TOOLS=OFF"], cwd=tree, check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["cmake", "--build", "build/mutants", "--target", "compiler_test", "layout_test", "modules_test"],
                       cwd=tree, check=True, stdout=subprocess.DEVNULL)

    texts = {m: (ROOT / "src" / (m + ".l3d")).read_text().split("\n") for m in MODULES}
    kinds = {}
    for module, lines in texts.items():
        for kind, number, new in candidates(module, lines):
            kinds.setdefault(kind, []).append((module, number, new))
    chooser = random.Random(options.seed)
    chosen = []
    # As many of each kind as there are, up to an equal share.
    for kind in sorted(kinds):
        if options.only in (None, kind):
            share = options.count if options.only else -(-options.count // len(kinds))
            chosen += [(kind, *one) for one in chooser.sample(kinds[kind], min(share, len(kinds[kind])))]

    killed, survivors = {}, []
    for count, (kind, module, number, new) in enumerate(chosen, 1):
        lines = texts[module]
        what = f"{kind}: {module}.l3d:{number + 1}: {lines[number].strip()} -> {new.strip()!r}"
        if options.list:
            print(what)
            continue
        mutant = lines[:number] + new.split("\n") + lines[number + (2 if kind == "order" else 1):]
        path = tree / "src" / (module + ".l3d")
        path.write_text("\n".join(mutant))
        try:
            by = verdict(tree)
        finally:
            path.write_text("\n".join(lines))
        if by:
            killed[by] = killed.get(by, 0) + 1
        else:
            survivors.append(what)
        print(f"{count}/{len(chosen)} {by or 'SURVIVED'}: {what}", flush=True)
    if not options.list:
        total = sum(killed.values())
        print("\nKilled by:", ", ".join(f"{by} {number}" for by, number in sorted(killed.items())))
        print(f"{total} of {len(chosen)} killed ({100 * total / len(chosen):.1f} %). Survivors:")
        print("\n".join(survivors) or "none")
    return 0


if __name__ == "__main__":
    sys.exit(main())
