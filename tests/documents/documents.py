"""Holds README, CONTRIBUTING, SECURITY and docs against what they speak of: their links lead somewhere, what they call by
name exists, commands give the output that is shown, and code compiles and runs.

The environment tells where things are: QUORVA_PROGRAM; for code CC, CXX, QUORVA_INCLUDE (folders parted by ":") and, where a
program of one's own can be linked to it, QUORVA_LIBRARY; PYTHONPATH has the package.
"""
import glob
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
DOCUMENTS = ["README.md", "CONTRIBUTING.md", "SECURITY.md", "CHANGELOG.md"]
DOCUMENTS += sorted(os.path.relpath(path, ROOT) for path in glob.glob(os.path.join(ROOT, "docs", "*.md")))
FOLDERS = {entry.name for entry in os.scandir(ROOT) if entry.is_dir()} - {"build"}

# Where the package can be imported; not every interpreter of a machine has what it needs.
PYTHON = next((each for each in (sys.executable, "/usr/bin/python3")
               if subprocess.run([each, "-c", "import quorva"], stderr=subprocess.DEVNULL).returncode == 0), None)

# What code that is no whole file finds around it.
AROUND = """
#include "quorva/quorva.h"
#include "quorva/modules.h"
#include <stdio.h>
#include <string.h>
extern RtxContext ctxt; extern RtxContext* pctxt; extern const QuorvaType* type; extern TS24301Msg_PDU pdu;
extern uint8_t *message, octets[1024], buffer[1024], integKey[16], cipherKey[16]; extern size_t numocts; extern uint32_t count;
extern int status;
"""


def read(name):
    with open(os.path.join(ROOT, name), encoding="utf-8") as file:
        return file.read()


def blocks(name):
    """Fenced blocks: line, language, text."""
    text = read(name)
    for found in re.finditer(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S):
        yield "%s:%d" % (name, text.count("\n", 0, found.start()) + 1), found[1], found[2]


def prose(name):
    return re.sub(r"^```.*?^```$", "", read(name), flags=re.M | re.S)


def in_line(name):
    return [code for code in re.findall(r"`([^`]+)`", prose(name).replace("\n", " "))]


def anchors(name):
    """As pages of repositories make them from headings."""
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
            for heading in re.findall(r"^#+ +(.*?) *$", prose(name), re.M)}


def shell(command, **more):
    return subprocess.run(["bash", "-c", command], cwd=ROOT, text=True, timeout=60, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **more)


class Documents(unittest.TestCase):
    def test_links_lead_somewhere(self):
        count = 0
        for name in DOCUMENTS:
            for target in re.findall(r"\]\(([^)\s]+)\)", prose(name)):
                if re.match(r"\w+:", target):
                    continue
                count += 1
                with self.subTest(document=name, link=target):
                    path, _, anchor = target.partition("#")
                    path = os.path.normpath(os.path.join(os.path.dirname(name), path)) if path else name
                    self.assertTrue(os.path.exists(os.path.join(ROOT, path)))
                    if anchor:
                        self.assertIn(anchor, anchors(path))
        self.assertGreater(count, 15)

    def test_what_is_named_exists(self):
        macros = "\n".join(read(path) for path in ["CMakeLists.txt", *glob.glob("*/CMakeLists.txt", root_dir=ROOT),
                                                   *glob.glob("cmake/*", root_dir=ROOT)])
        presets = {each["name"] for each in json.loads(read("CMakePresets.json"))["configurePresets"]}
        count = 0
        for name in DOCUMENTS:
            code = in_line(name) + [line for _, language, text in blocks(name) if language == "" for line in text.split("\n")]
            for word in (word for line in code for word in line.split()):
                word = word.strip("(),:;.'\"")
                with self.subTest(document=name, word=word):
                    if word.split("/")[0] in FOLDERS and "/" in word and not re.search(r"[…<>$]|[A-Z]{4,}[./]|VERSION", word):
                        path = os.path.join(ROOT, word)
                        self.assertTrue(glob.glob(path) or glob.glob(path + ".*"), "no such file, and no program of one")
                        count += 1
                    elif word.startswith("-DQUORVA_"):
                        self.assertIn(word[2:].split("=")[0], macros)
            for preset in re.findall(r"--preset (\w+)", "\n".join(code)):
                self.assertIn(preset, presets)
        self.assertGreater(count, 40)

    def test_commands_give_what_is_shown(self):
        """Behind "$ " stands a command, behind "> " what goes on with it, below all of its output."""
        program = os.environ["QUORVA_PROGRAM"]
        count = 0
        with tempfile.TemporaryDirectory() as folder:
            os.symlink(program, os.path.join(folder, "quorva"))
            more = {"env": {**os.environ, "PATH": folder + ":" + os.environ["PATH"]}, "stdin": subprocess.DEVNULL}
            for name in DOCUMENTS:
                for place, language, text in blocks(name):
                    shell_lines = r"^\$ (.*(?:\n> .*)*)\n((?:(?!\$ ).*\n)*)"
                    for command, shown in re.findall(shell_lines, text, re.M) if not language else ():
                        with self.subTest(place=place, command=command):
                            command = command.replace("\n> ", "\n")
                            words = re.sub(r"^build/\w+/tools/quorva/quorva\b", "quorva", command)
                            self.assertEqual(shell(words, **more).stdout, shown)
                            count += 1
                for command in in_line(name):
                    if name == "CHANGELOG.md" or not re.match(r"quorva [a-z]+ \S", command) or re.search(r"\b[A-Z]+\b", command):
                        continue
                    with self.subTest(document=name, command=command):
                        self.assertNotIn(shell(command, **more).returncode, (2, 127), "wrong use")
            for command in re.search(r"\.SH EXAMPLES\n\.nf\n(.*?)\.fi", read("tools/quorva/quorva.1"), re.S)[1].splitlines():
                command = command.replace("\\-", "-")
                files = [word for word in command.split() if re.search(r"\.[a-z]+$", word)]
                if command.startswith("quorva ") and all(os.path.exists(os.path.join(ROOT, word)) for word in files):
                    with self.subTest(command=command):
                        self.assertEqual(shell(command, **more).returncode, 1 if " diff " in command else 0)
        self.assertGreaterEqual(count, 6)

    def test_manual_has_all_commands_and_options(self):
        manual = read("tools/quorva/quorva.1").replace("\\fR", "").replace("\\fB", "").replace("\\-", "-")
        offered = shell(os.environ["QUORVA_PROGRAM"] + " --help").stdout
        commands = re.findall(r"^  (\w+) ", offered[offered.index("Subcommands:") :], re.M)
        self.assertGreater(len(commands), 6)
        known = set(re.findall(r"--[a-z0-9-]+", offered))
        for command in commands:
            known |= set(re.findall(r"--[a-z0-9-]+", shell("%s %s --help" % (os.environ["QUORVA_PROGRAM"], command)).stdout))
        self.assertEqual(set(re.findall(r"--[a-z0-9-]+", manual)), known)
        self.assertEqual(set(re.findall(r"^\.B quorva (\w+)$", manual.split(".SH DESCRIPTION")[0], re.M)), set(commands))

    def test_code_in_c_compiles(self):
        count = 0
        for name in DOCUMENTS:
            for place, language, text in blocks(name):
                if language not in ("c", "cpp"):
                    continue
                count += 1
                whole = re.search(r"^#include", text, re.M)
                compiler, standard = (("CC", "c11") if language == "c" else ("CXX", "c++17"))
                head = AROUND
                if language == "cpp":
                    head = AROUND.replace("quorva/quorva.h", "quorva/quorva.hpp") + "#include <iostream>\n"
                source = text if whole else head + "void example(void);\nvoid example(void) {\n" + text + "}\n"
                arguments = [os.environ[compiler], "-x", "c" if language == "c" else "c++", "-std=" + standard, "-fsyntax-only",
                             "-Wall", "-Wextra", "-Werror", "-Wno-unused"]
                arguments += ["-I" + folder for folder in os.environ["QUORVA_INCLUDE"].split(":")]
                with self.subTest(place=place):
                    done = subprocess.run([*arguments, "-"], input=source, text=True, capture_output=True)
                    self.assertEqual(done.returncode, 0, done.stderr)
        self.assertGreaterEqual(count, 3)

    @unittest.skipUnless("QUORVA_LIBRARY" in os.environ, "the library has sanitizers, or is a static one")
    def test_first_program_prints_the_first_message(self):
        code = next(text for _, language, text in blocks("README.md") if language == "c")
        command, shown = re.search(r"^\$ .*decode --status (\w+)\n(.*?\n)status: RTX_OK", read("README.md"), re.M | re.S).groups()
        octets = ", ".join("0x" + command[at : at + 2] for at in range(0, len(command), 2))
        code += "int main(void) {\n   uint8_t octets[] = {%s};\n   return show(octets, sizeof octets);\n}\n" % octets
        library = os.path.dirname(os.environ["QUORVA_LIBRARY"])
        with tempfile.TemporaryDirectory() as folder:
            program = os.path.join(folder, "program")
            done = subprocess.run([os.environ["CC"], "-x", "c", "-std=c11", "-Wall", "-Wextra", "-Werror", "-", "-o", program,
                                   *("-I" + each for each in os.environ["QUORVA_INCLUDE"].split(":")), "-L" + library,
                                   "-lquorva", "-Wl,-rpath," + library], input=code, text=True, capture_output=True)
            self.assertEqual(done.returncode, 0, done.stderr)
            # Beside numbers the program says what they mean.
            shown = re.sub(r"(= \d+) \([A-Z].*\)$", r"\1", shown, flags=re.M)
            self.assertEqual(subprocess.run([program], text=True, capture_output=True).stdout, shown)

    @unittest.skipUnless(PYTHON, "the package was not built, or cffi is not installed")
    def test_code_in_python_prints_its_comments(self):
        """Behind a "print" stands what it prints, up to a semicolon."""
        count = 0
        for name in DOCUMENTS:
            for place, language, text in blocks(name):
                if language == "python":
                    count += 1
                    with self.subTest(place=place):
                        done = subprocess.run([PYTHON, "-c", text], cwd=ROOT, text=True, capture_output=True)
                        self.assertEqual(done.returncode, 0, done.stderr)
                        printed = [line for line in text.splitlines() if line.startswith("print(")]
                        for line, output in zip(printed, done.stdout.splitlines(), strict=True):
                            if "#" in line:
                                self.assertEqual(output, line.split("#")[1].split(";")[0].strip())
        self.assertGreaterEqual(count, 1)


if __name__ == "__main__":
    unittest.main()
