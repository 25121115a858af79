"""What holds for any octets and for any record that the schema of its type allows."""
from typing import Any, Dict, Tuple

import hypothesis
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st
from records import records

from velnor3gpp import VelnorError, decode, encode, iterdecode, schema, types

SCHEMA = schema()
TYPES = [facts.name for facts in types() if facts.use != "form"]
FORMS = [facts.name for facts in types() if facts.use == "form"]
# The same examples each time: new ground is for the fuzz targets.
settings.register_profile("same", derandomize=True, database=None, deadline=None, suppress_health_check=list(HealthCheck))
settings.load_profile("same")


@settings(max_examples=400)
@given(st.lists(st.tuples(st.sampled_from(["", "7e00", "0741", "0748", "0534"]), st.binary(max_size=60)), max_size=5))
def test_any_octets_give_a_message_or_an_error(drawn: Any) -> None:
    many = [bytes.fromhex(lead) + tail for lead, tail in drawn]
    messages = list(iterdecode(many))
    assert len(messages) == len(many)
    for octets, message in zip(many, messages):
        assert message.octets == octets and (message.error is None) == (message.status >= 0 or message.sealed)
        for finding in message.findings:
            assert finding.status < 0


def whole(part: Any, of: Any) -> bool:
    """Does all of the drawn record stand in the one that came back?"""
    if isinstance(part, dict):
        return isinstance(of, dict) and all(name in of and whole(part[name], of[name]) for name in part)
    if isinstance(part, list):
        return isinstance(of, list) and len(part) == len(of) and all(map(whole, part, of))
    return bool(part == of)


drawn_records = st.sampled_from(TYPES).flatmap(
    lambda name: st.tuples(st.just(name), records(SCHEMA, SCHEMA["$defs"][name]))
)
outcomes = {"drawn": 0, "back": 0, "adrift": 0}


@settings(max_examples=500, phases=[hypothesis.Phase.generate])
@given(drawn_records)
def check_record(drawn: Tuple[str, Dict[str, Any]]) -> None:
    """A schema cannot say which members exclude each other, so that a record may be refused, or read otherwise than it
    was drawn; then what was read comes back, but for a few whose own lengths are not those of their content."""
    name, record = drawn
    outcomes["drawn"] += 1
    try:
        octets = encode(record, name)
        first = decode(octets, name)
        again = encode(first)
        outcomes["adrift"] += encode(decode(again, name)) != again
    except VelnorError:
        return
    outcomes["back"] += octets == again and whole(record, first.record)


def test_records_come_back() -> None:
    check_record()
    assert outcomes["drawn"] >= 500 and outcomes["back"] > outcomes["drawn"] / 2
    assert outcomes["adrift"] < outcomes["drawn"] / 20
