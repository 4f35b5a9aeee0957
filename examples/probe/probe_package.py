#!/usr/bin/env python3
"""Collects the access point names of messages, one message a line on standard input, in hexadecimal digits, by the
package "quorva". It knows neither which messages have one nor where.
"""
import sys

import quorva

for line in sys.stdin:
    try:
        message = quorva.decode(bytes.fromhex(line))
    except (ValueError, quorva.Error):
        continue
    for place, name in message.find("accessPointName"):
        print(name, place, sep="\t")
