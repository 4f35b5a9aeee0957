"""The package over the vectors of the library."""

import json
import pathlib
import subprocess
import sys
import threading

import pytest

import quorva

ROOT = pathlib.Path(__file__).parents[2]
REJECT = bytes.fromhex("0744035f0104a3")
FILES = {"eps": "eps", "5gs": "5gs", "24008": "ts24008", "sms": "ts24011"}


def vectors():
    for protocol, file in FILES.items():
        for block in (ROOT / f"tests/vectors/{file}.txt").read_text().split("\n\n"):
            head, octets, *_ = block.strip().split("\n")
            yield protocol, head.split(" | ")[1] == "ul", bytes.fromhex(octets)


def test_every_vector_comes_back_or_tells_why():
    good = 0
    for protocol, uplink, octets in vectors():
        try:
            message = quorva.decode(octets, protocol, uplink)
        except quorva.Error as error:
            assert error.status < 0 and error.name.startswith("RTX_E_")
            continue
        good += 1
        again = quorva.from_json(message.type, message.to_json(), uplink)
        assert again == message
        assert json.loads(message.to_json()) == message.value
        try:
            written = message.encode()
        except quorva.Error as error:
            assert error.name == "RTX_E_NO_SECURITY"
            continue
        assert quorva.decode(written, protocol, uplink) == message
    assert good > 250


def test_fields_are_items_and_attributes():
    message = quorva.decode(REJECT)
    assert message.type == "TS24301Msg_PDU"
    assert message.data.obj_AttachReject.emmCause == message["data"]["obj_AttachReject"]["emmCause"] == "illegalUE"
    assert "data" in message and len(message) == len(list(message))
    assert list(message.find("timerValue")) == [("data.obj_AttachReject.t3346Value.value.timerValue", 4)]
    with pytest.raises(AttributeError):
        message.data.obj_AttachAccept
    message.data.obj_AttachReject.emmCause = "congestion"
    del message.data.obj_AttachReject.t3346Value
    assert message.encode() == bytes.fromhex("074416a3")


def test_failures_tell_status_path_and_place():
    with pytest.raises(quorva.Error) as failure:
        quorva.decode(b"\x07\x44")
    assert (failure.value.name, failure.value.octet) == ("RTX_E_END_OF_DATA", 2)
    assert failure.value.path.endswith("emmCause")
    with pytest.raises(quorva.JsonError) as refused:
        quorva.from_json("eps", '{"data":\n{"obj_AttachReject":{"emmCause":"none"}}}')
    assert (refused.value.name, refused.value.line, refused.value.path) == (
        "RTX_E_BAD_ENUM", 2, "data.obj_AttachReject.emmCause")
    with pytest.raises(ValueError):
        quorva.decode(b"\x01")
    with pytest.raises(ValueError):
        quorva.decode(REJECT, "NoType")


def test_protected_messages_are_opened_and_made():
    keys = dict(field.split("=") for field in (ROOT / "examples/attach.keys").read_text().split() if "=" in field)
    security = quorva.Security(bytes.fromhex(keys["eia2"]), bytes.fromhex(keys["eea2"]), count=1)
    octets = bytes.fromhex("27185b9bd201c880194390c317")  # Attach Complete of examples/attach.pcapng
    message = quorva.decode(octets, uplink=True, security=security)
    assert "obj_AttachComplete" in message.data
    assert message.encode(security) == octets
    with pytest.raises(quorva.Error) as failure:
        quorva.decode(octets[:-1] + b"\x00", uplink=True, security=security)
    assert failure.value.name in ("RTX_E_MAC_MISMATCH", "RTX_E_MULTIPLE")


def test_notes_tell_the_bits():
    notes = quorva.decode(REJECT).annotate()
    assert len(notes) == 13
    assert notes[3] == quorva.Note(16, 8, "data.obj_AttachReject.emmCause", "ENUMERATED", "illegalUE",
                                   "EMM cause, TS 24.301, 9.9.3.9")


def test_threads_have_contexts_of_their_own():
    results = []

    def work():
        results.append(all(quorva.decode(REJECT).encode() == REJECT for _ in range(2000)))

    threads = [threading.Thread(target=work) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert results == [True] * 4


def test_the_example_finds_names():
    octets = "0000\n" + "".join(octets.hex() + "\n" for _, _, octets in vectors())
    found = subprocess.run([sys.executable, ROOT / "examples/probe/probe_package.py"], input=octets, text=True,
                           capture_output=True, check=True).stdout.splitlines()
    assert "ims\tdata.obj_ActvDfltEPSBearerCtxtReq.accessPointName" in found
    assert len(found) > 10


def test_types_by_themselves():
    assert "TS24301IE_EMMCause" in quorva.types()
    cause = quorva.decode(b"\x03", "TS24301IE_EMMCause")
    assert (cause.value, cause.encode()) == ("illegalUE", b"\x03")
