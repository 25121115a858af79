"""Messages from octets, lines and captures and back: what the package gives is what the program gives."""
import concurrent.futures
import dataclasses
import json
import pathlib
import subprocess
import sys
from typing import Any, Callable, Dict, List, Tuple

import pytest

import velnor3gpp
from velnor3gpp import Capture, Keys, Message, VelnorError, decode, encode, iterdecode, redact

Program = Callable[..., List[str]]
IDENTITY = bytes.fromhex("7e005b01")


def keys_of(path: pathlib.Path) -> Keys:
    words = dict(line.split() for line in path.read_text().splitlines() if line and line[0] != "#")
    return Keys(
        bytes.fromhex(words["integrity-key"]),
        integrity_algorithm=int(words["integrity-algorithm"]),
        cipher_algorithm=int(words["ciphering-algorithm"]),
    )


def test_a_message_tells_what_it_is() -> None:
    message = decode(IDENTITY, names=True, positions=True)
    assert (message.type, message.name, message.dir) == ("TS24501Msg_PDU", "Identity request", "down")
    assert (message.octets, message.status, message.findings, message.error) == (IDENTITY, 0, [], None)
    assert message.at("data.IdentityRequest5G.identity.typeOfIdent") == 1
    assert message.at("data.IdentityRequest5G.identity.typeOfIdent$name") == "suci"
    assert message.at("data.RegRequest5G.x[3]") is None and message.at("data[1]", 7) == 7
    assert message.fields[-1] == {"path": "data.IdentityRequest5G.identity.typeOfIdent", "octet": 3, "bit": 3, "bits": 3}


def test_lines_are_the_programs_lines(program: Program, corpus: List[Tuple[str, bytes]]) -> None:
    octets = [octets for _, octets in corpus]
    theirs = program("filter", "--in", "ndjson", text="".join(f'{{"octets":"{one.hex()}"}}\n' for one in octets))
    faults = 0
    for message, line in zip(iterdecode(octets), theirs):
        if '"err"' not in line:
            assert message.json() == line and message.error is None
            continue
        faults += 1
        error, expected = message.error, json.loads(line)["err"]
        assert error and expected["status"] == error.status and expected.get("path", "") == error.path
        assert expected.get("octet") == error.octet or error.status == -2
    assert len(theirs) == len(octets) > 500 and 0 < faults < len(octets) / 3


def test_a_captures_messages_are_the_programs(program: Program, samples: pathlib.Path) -> None:
    path = samples / "attach.pcap"
    theirs = [json.loads(line) for line in program("decode", "--json", path)]
    messages = list(iterdecode(path))
    assert [json.loads(message.json())["record"] for message in messages] == [one["record"] for one in theirs]
    frames = [message.frame for message in messages]
    assert [frame.number for frame in frames if frame] == [one["frame"] for one in theirs]
    assert [frame.dir for frame in frames if frame] == [one["dir"] for one in theirs]
    first = frames[0]
    assert first and first.time == 1700000000250000000 and first.dissector == "nas-eps" and first.reason == ""
    assert first.connection["source"] == ("192.0.2.1", 40000) and first.connection["arfcn"] == 5


def test_octets_are_taken_as_text_and_numbers_are_not() -> None:
    assert decode("7E 00 5b:01").octets == redact("7e005b01").octets == bytes.fromhex("7e005b01")
    with pytest.raises(VelnorError) as caught:
        decode("7e005x01")
    assert caught.value.status == -11
    with pytest.raises(TypeError):
        decode(5)  # type: ignore[arg-type]


def test_frames_without_messages_and_damage_are_told(samples: pathlib.Path, tmp_path: pathlib.Path) -> None:
    whole = (samples / "attach.pcap").read_bytes()
    path = tmp_path / "cut.pcap"
    path.write_bytes(whole[:-1])
    capture, frames = Capture(path), []
    with pytest.raises(VelnorError) as caught:
        for frame in capture:
            frames.append(frame)
    assert len(frames) == 2 and caught.value.status == -17 and caught.value.octet == last_record(whole)
    assert capture.counts == {"": 2}
    path.write_bytes(whole[:20] + (147).to_bytes(4, "little") + whole[24:])
    assert [frame.octets for frame in Capture(path)] == [None] * 3
    named = list(iterdecode(Capture(path, {147: "nas-eps"})))
    assert len(named) == 3 and all(message.type == "TS24301Msg_PDU" for message in named if message.type)
    with pytest.raises(VelnorError):
        Capture(path, {1: "nas-5gs"})


def last_record(whole: bytes) -> int:
    at = last = 24
    while at < len(whole):
        last, at = at, at + 16 + int.from_bytes(whole[at + 8 : at + 12], "little")
    return last


def test_lines_are_read_as_the_program_reads_them() -> None:
    lines = ["7e005b01", "up 7e 00 43", "", "# nothing", "0x7e,0x00:5b-01 # a comment", "SNSSAI 0101", "nobody 00", "xyz", "7e0"]
    messages = list(iterdecode(lines))
    assert [message.octets.hex() for message in messages] == ["7e005b01", "7e0043", "7e005b01", "0101", "", "", ""]
    assert messages[1].dir == "up" and messages[3].type == "TS24501IE_SNSSAI"
    assert [message.error.status for message in messages if message.error] == [-113, -11, -11]
    (wrong,) = iterdecode([" up 7e 00 4g # a comment"])
    assert wrong.error and wrong.error.text == "'4g' at character 11 is not hexadecimal"


def test_keys_serve_a_connection_from_message_to_message(program: Program, samples: pathlib.Path) -> None:
    path, text = samples / "protected-registration.keys", samples / "protected-registration.txt"
    theirs = [json.loads(line) for line in program("decode", "--json", "--keys", path, text)]
    keys = keys_of(path)
    messages = list(iterdecode(text, keys=keys))
    assert [message.protection for message in messages] == [one["protection"] for one in theirs]
    assert any(message.protection["check"] == "verified" for message in messages)
    singly, connection = [], keys_of(path)
    for line in text.read_text().splitlines():
        if line[0] != "#":
            dir, octets = line.split()
            singly.append(decode(bytes.fromhex(octets), dir=dir, keys=connection).protection)
    assert singly == [message.protection for message in messages]
    assert connection == keys and keys.uplink_count > 0 and "e5b3" not in repr(keys)
    # Protected again under the count that it had, it is the same.
    again = dataclasses.replace(keys_of(path), downlink_count=messages[0].protection["count"])
    count = again.downlink_count
    assert encode(messages[0], keys=again) == messages[0].octets and again.downlink_count == count
    # Keys do not outlast their call.
    assert decode(messages[0].octets).protection["check"] == "no keys"


def test_errors_say_where() -> None:
    with pytest.raises(VelnorError) as caught:
        decode(IDENTITY[:3])
    error = caught.value
    assert (error.status, error.path, error.octet) == (-2, "data.IdentityRequest5G.spare", 3)
    assert isinstance(error, ValueError) and error.message and error.message.record["msgType"] == 91
    record = decode(IDENTITY).record
    record["data"]["IdentityRequest5G"]["identity"]["typeOfIdent"] = 9
    with pytest.raises(VelnorError, match="it takes 0 to 7") as caught:
        encode(record, "TS24501Msg_PDU")
    assert caught.value.path == "$.record.data.IdentityRequest5G.identity.typeOfIdent"
    wrong: List[Callable[[], Any]] = [
        lambda: decode(IDENTITY, "Nobody"),
        lambda: decode(IDENTITY, "AttachRequest"),
        lambda: decode(IDENTITY, dir="left"),
        lambda: decode(IDENTITY, keys=Keys(b"short")),
        lambda: encode({"type": "SNSSAI"}),
        lambda: redact(IDENTITY[:3]),
        lambda: redact(IDENTITY, key=b"short"),
        lambda: decode(b""),
    ]
    for call in wrong:
        with pytest.raises(VelnorError):
            call()


def test_what_is_no_message_is_refused_and_not_guessed() -> None:
    """Numbers become no zeros, names are not cut, and keys hold no number that would be cut to the library's."""
    mistakes: List[Tuple[Callable[[], Any], str]] = [
        (lambda: list(iterdecode(IDENTITY)), "decode"),  # type: ignore[arg-type]
        (lambda: list(iterdecode([5])), "int"),  # type: ignore[list-item]
        (lambda: encode(decode(IDENTITY).json()), "json.loads"),  # type: ignore[arg-type]
        (lambda: decode(IDENTITY, 5), "int"),  # type: ignore[arg-type]
    ]
    for call, words in mistakes:
        with pytest.raises(TypeError, match=words):
            call()
    refused: List[Tuple[Callable[[], Any], str]] = [
        (lambda: decode(IDENTITY, "TS24501Msg_PDU\0x"), "no type is called"),
        (lambda: decode("7e 00 5b 0g"), "'0g' at character 10"),
        (lambda: decode("7e 00 5b 0"), "7 digits"),
        (lambda: Capture("/dev/null", {2**32 + 147: "nas-5gs"}), "147 to 162"),
    ]
    for call, words in refused:
        with pytest.raises(VelnorError, match=words):
            call()
    for name, number in [("uplink_count", -1), ("downlink_count", 1 << 25), ("window", 1 << 33), ("bearer", 32),
                         ("integrity_algorithm", 1), ("cipher_algorithm", (1 << 32) + 2)]:
        with pytest.raises(VelnorError):
            decode(IDENTITY[:3])  # whose finding is not that of the keys
        with pytest.raises(VelnorError, match=str(number)) as caught:
            decode(IDENTITY, keys=Keys(**{name: number}))  # type: ignore[arg-type]
        assert caught.value.path == name and "%s" not in str(caught.value)
    assert "%s" not in str(VelnorError(-60))
    assert redact(IDENTITY, key=bytearray(16)).octets == IDENTITY
    assert decode(IDENTITY, names=True).at("data.IdentityRequest5G.identity.typeOfIdent$name[0]", "none") == "none"


def test_what_is_changed_is_encoded() -> None:
    message = decode(IDENTITY)
    message.record["data"]["IdentityRequest5G"]["identity"]["typeOfIdent"] = 3
    assert encode(message) == encode(json.loads(message.json())) == bytes.fromhex("7e005b03")
    kept = decode(bytes.fromhex("7e005e7a0003010203"), dir="up")
    assert kept.unknown[0]["octets"] == "7a0003010203" and encode(kept) == kept.octets


def test_redacting_leaves_nobody(samples: pathlib.Path) -> None:
    response = bytes.fromhex("0756080910101032547698")
    imsi = decode(response).at("data.IdentResp.imsi")
    zero = redact(response)
    assert imsi == "001010123456789" and zero.at("data.IdentResp.imsi") == "0" * 15 and len(zero.octets) == len(response)
    one, same, other = (redact(decode(response), key=bytes([n]) * 16).at("data.IdentResp.imsi") for n in (1, 1, 2))
    assert one == same != other and one[:5] == imsi[:5] and one != imsi


def test_threads_decode_side_by_side(corpus: List[Tuple[str, bytes]]) -> None:
    def all_of(_: int) -> List[str]:
        return [message.json() for message in iterdecode((octets for _, octets in corpus), batch=7)]

    def singly(_: int) -> List[str]:
        return [_json(octets) for _, octets in corpus]

    with concurrent.futures.ThreadPoolExecutor(4) as pool:
        batches = list(pool.map(all_of, range(3)))
        single = list(pool.map(singly, range(3)))
    assert batches[0] == batches[1] == batches[2] == single[0] == single[1] == single[2]


def _json(octets: bytes) -> str:
    try:
        return decode(octets).json()
    except VelnorError as error:
        assert error.message
        return error.message._line


def test_types_and_schemas_are_told() -> None:
    types: Dict[str, velnor3gpp.TypeFacts] = {facts.name: facts for facts in velnor3gpp.types()}
    assert len(types) > 1800
    request = types["TS24501Msg_RegRequest"]
    assert (request.title, request.use, request.message_type, request.dir) == ("Registration request", "message", 65, "up")
    assert velnor3gpp.schema("SNSSAI")["$defs"]["TS24501IE_SNSSAI"]["required"] == ["sst"]
    assert isinstance(decode(IDENTITY), Message)


def test_a_capture_becomes_a_table(samples: pathlib.Path) -> None:
    pytest.importorskip("pandas")
    example = samples.parent / "examples/table.py"
    words = [sys.executable, str(example), str(samples / "attach.pcap")]
    done = subprocess.run(words, stdout=subprocess.PIPE, text=True, check=True)
    assert done.stdout == (example.parent / "expected/table.txt").read_text()
