#!/usr/bin/env python3
"""Collects the access point names of messages from what "quorva decode --json" writes:

   quorva decode --json --keys attach.keys attach.pcapng | ./probe.py

It knows neither which messages have one nor where: it looks at everything that a message holds.
"""
import json
import sys


def names(value, path=""):
    """Each access point name in a record, and its path."""
    if isinstance(value, dict):
        for name, inner in value.items():
            place = f"{path}.{name}" if path else name
            if name == "accessPointName" and isinstance(inner, str):
                yield inner, place
            else:
                yield from names(inner, place)
    elif isinstance(value, list):
        for number, inner in enumerate(value):
            yield from names(inner, f"{path}[{number}]")


for line in sys.stdin:
    for name, place in names(json.loads(line).get("record")):
        print(name, place, sep="\t")
