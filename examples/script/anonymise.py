#!/usr/bin/env python3
"""Takes subscribers and equipment out of messages, which stay messages, for traces that are given away:

   quorva decode --json --keys attach.keys attach.pcapng | ./anonymise.py | quorva encode

The same identity becomes the same other one all along, of the same length, so that a dialogue can still be followed.
Protection is taken off, as its code would no longer be right; messages that could not be read are left out.
What the library hands on as octets stays as it is: EAP messages, protocol configuration options, containers. Look
through these, and numbers of calls and short messages, before a trace leaves the house.
"""
import json
import sys

known: dict[str, dict[str, str]] = {}


def digits(kind: str, identity: str, kept: int) -> str:
    """In place of an identity a number, behind the digits that tell the network or the maker."""
    stand_ins = known.setdefault(kind, {})
    number = stand_ins.setdefault(identity, str(len(stand_ins) + 1001))
    return identity[:kept] + number.rjust(len(identity) - kept, "0")


def anonymous(value, name=""):
    if isinstance(value, dict):
        return {inner: anonymous(each, inner) for inner, each in value.items()}
    if isinstance(value, list):
        return [anonymous(each, name) for each in value]
    if isinstance(value, str) and name == "imsi":
        return digits(name, value, 5)
    if isinstance(value, str) and name in ("imei", "imeisv"):
        return digits(name, value, 8)
    if isinstance(value, str) and name in ("tmsi", "schemeOutput", "nai", "macaddr", "eui_64"):
        return digits(name, value, 0)
    return value


for line in sys.stdin:
    message = json.loads(line)
    if message["status"] != "RTX_OK":
        continue
    record = anonymous(message["record"])
    record.pop("secHdr", None)
    # Not the rest: where the message came from, its octets, and the name of its keys.
    print(json.dumps({"input": {}, "type": message["type"], "direction": message["direction"], "record": record}))
