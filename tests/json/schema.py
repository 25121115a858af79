#!/usr/bin/env python3
"""Holds JSON against the schema of all types: every line is valid, and no longer once it is changed for the worse.

usage: schema.py SCHEMA LINES
"""
import json
import sys

from jsonschema import Draft202012Validator

WORSE = [
    lambda record: record.update(nobody=1),
    lambda record: record.update({key: [None] for key in list(record)[:1]}),
]


def worse(line, change):
    """The line with a record that no reader takes, or None where there is nothing to change."""
    other = json.loads(line)
    if not isinstance(other.get("record"), dict) or not other["record"]:
        return None
    change(other["record"])
    return other


def validator(schema, name):
    """Of messages of one type: the schema of all types with that one's case alone, since all of them take long."""
    one = dict(schema)
    cases = schema["else"]["allOf"]
    one["else"] = {"allOf": [case for case in cases if case["if"]["properties"]["type"]["const"] == name]}
    assert not name or len(one["else"]["allOf"]) == 1
    return Draft202012Validator(one)


def main():
    schema = json.load(open(sys.argv[1]))
    Draft202012Validator.check_schema(schema)
    whole = Draft202012Validator(schema)
    validators = {}
    lines = changed = 0
    for line in open(sys.argv[2]):
        message = json.loads(line)
        name = message.get("type")
        if name not in validators:
            validators[name] = validator(schema, name)
        errors = list(validators[name].iter_errors(message))
        if lines % 500 == 0:
            errors += whole.iter_errors(message)
        for error in errors:
            print(f"{name}: {error.json_path}: {error.message[:200]}: {line[:1000]}")
            return 1
        lines += 1
        complete = message.get("status", 0) == 0 and "unknown" not in message
        for change in WORSE if complete and lines % 5 == 0 else []:
            other = worse(line, change)
            if other:
                changed += 1
                if validators[name].is_valid(other):
                    print(f"{name}: valid though it is wrong: {json.dumps(other)[:300]}")
                    return 1
    print(f"{lines} lines are valid, {changed} changed ones are not")
    return 0 if lines > 1000 and changed > 100 else 1


sys.exit(main())
