#!/usr/bin/env python3
"""members.py HEADER...: a C source that tells the size of every type of the headers, place and size of every member of
their records, and the number of every presence bit, as the C compiler sees them.
"""

import re
import sys

FIRST_BRANCH = re.compile(r"^#if __BYTE_ORDER__[^\n]*\n(.*?)^#else\n.*?^#endif\n", re.M | re.S)
OTHERS = re.compile(r"^#ifdef __cplusplus\n.*?^#endif\n|/\*.*?\*/|^#[^\n]*\n|\benum\b[^{};]*\{[^}]*\}", re.M | re.S)
STATEMENT = re.compile(r"\s*(?:(?P<tag>struct|union)\s*(?P<record>\w*)\s*\{|\}\s*\**\s*(?P<end>\w*)\s*(?:\[\w+\])?\s*;|(?P<plain>[^;{}]*);)")


def statements(text):
    text = OTHERS.sub("", FIRST_BRANCH.sub(r"\1", text))
    at = 0
    while match := STATEMENT.match(text, at):
        yield match
        at = match.end()


def members(record, inside, path="", entry=""):
    """Path, what that is of the record or of the entry of a list, and where it lies."""
    for name, within in inside:
        whole = f"{path}.{name}" if path else name
        if entry:
            start = f"__typeof__(*(({record}*)0)->{entry})"
            yield whole, within, f"offsetof({start}, {whole[len(entry) + 1:]})", f"(({record}*)0)->{entry}->{whole[len(entry) + 1:]}"
        else:
            yield whole, within, f"offsetof({record}, {whole})", f"(({record}*)0)->{whole}"
        if isinstance(within, list):
            yield from members(record, within, whole, whole if name == "elem" else entry)


def records(text):
    """Name of each type with its members, or the name of the type that it is; a member is its name with "bit", its type,
    or those that it has."""
    stack, name = [], None
    for match in statements(text):
        if match["tag"]:
            if not stack:
                name = match["record"]
            stack.append([])
        elif match["end"] is not None and stack:
            inside = stack.pop()
            if stack:
                stack[-1].append((match["end"], inside))
            elif name:
                yield name, inside
        elif match["plain"] and not stack:
            if alias := re.fullmatch(r"typedef (\w+)([^()]*?)(\w+)(\[\w+\])?", match["plain"]):
                yield alias[3], alias[1] if alias[2] == " " and not alias[4] else []
        elif match["plain"]:
            declared = re.search(r"(\w+)[\s*]+(\w+)\s*(?:\[\w+\])?\s*(:\s*\d+)?$", match["plain"])
            if declared:
                stack[-1].append((declared[2], "bit" if declared[3] else declared[1]))


def main(headers):
    inside = {}
    for header in headers:
        with open(header) as file:
            for record, found in records(file.read()):
                inside.setdefault(record, []) if found == [] else inside.update({record: found})
    places, bits = [], []
    for record, found in inside.items():
        while isinstance(found, str):
            found = inside.get(found, [])
        places.append(f'{{"{record}", "", "", 0, sizeof({record}), 0}}')
        for path, kind, offset, value in members(record, found):
            if kind == "bit":
                bits.append((record, path, offset.rsplit(".", 1)[0] + ")", *value.rsplit(".", 1)))
            else:
                entry = f"sizeof *{value}" if path.split(".")[-1] == "elem" else "0"
                named = kind if isinstance(kind, str) else ""
                places.append(f'{{"{record}", "{path}", "{named}", {offset}, sizeof {value}, {entry}}}')
    print("""#include "quorva/modules.h"
#include "tests/reflect/members.h"

#include <string.h>

static size_t lowest(const void* octets, size_t size, size_t offset) {
   const unsigned char* at = octets;
   for (size_t i = 0; i < 8 * size; ++i)
      if ((at[i / 8] >> i % 8 & 1) != 0) return 8 * offset + i;
   return 0;
}
#define BIT(function, offset, bits, name)             \\
   static size_t function(void) {                     \\
      __typeof__(bits) set;                           \\
      memset(&set, 0, sizeof set);                    \\
      set.name = 1;                                   \\
      return lowest(&set, sizeof set, offset);        \\
   }
const CMember cMembers[] = {""")
    print(*places, sep=",\n", end="};\n")
    print("const size_t cMemberCount = sizeof cMembers / sizeof *cMembers;")
    for number, (record, path, offset, within, name) in enumerate(bits):
        print(f"BIT(bit{number}, {offset}, {within}, {name})")
    print("const CBit cBits[] = {")
    print(*(f'{{"{bit[0]}", "{bit[1]}", bit{number}}}' for number, bit in enumerate(bits)), sep=",\n", end="};\n")
    print("const size_t cBitCount = sizeof cBits / sizeof *cBits;")


main(sys.argv[1:])
