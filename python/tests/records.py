"""Records of a type, drawn from its JSON Schema: whatever the schema allows, wherever the wire allows it or not."""
import re
from typing import Any, Callable, Dict

from hypothesis import strategies as st

_REPEATED = re.compile(r"\^(\([^)]*\)|\[01\])\{(\d+),(\d*)\}\$")


def records(schema: Dict[str, Any], node: Dict[str, Any], depth: int = 0) -> st.SearchStrategy[Any]:
    if "$ref" in node:
        return records(schema, schema["$defs"][node["$ref"].rsplit("/", 1)[1]], depth + 1)
    if "const" in node:
        return st.just(node["const"])
    return _MAKERS[node["type"]](schema, node, depth)


def _object(schema: Dict[str, Any], node: Dict[str, Any], depth: int) -> st.SearchStrategy[Any]:
    members, required = node["properties"], node.get("required", [])
    optional = [name for name in members if name not in required and name != "length"]
    most = 0 if depth > 6 else node.get("maxProperties", 2)
    # A record that may lack everything is a choice, named or not: it has one alternative.
    least = min(1, len(optional)) if not required else 0
    chosen = st.lists(st.sampled_from(optional), unique=True, min_size=least, max_size=max(most, least)) if optional else st.just([])

    def build(names: Any) -> st.SearchStrategy[Any]:
        there = [name for name in members if name in required or name in names]
        return st.fixed_dictionaries({name: records(schema, members[name], depth + 1) for name in there})

    return chosen.flatmap(build)


def _array(schema: Dict[str, Any], node: Dict[str, Any], depth: int) -> st.SearchStrategy[Any]:
    most = min(node.get("maxItems", 3), 0 if depth > 8 else 3)
    return st.lists(records(schema, node["items"], depth + 1), min_size=min(1, most), max_size=most)


def _string(schema: Dict[str, Any], node: Dict[str, Any], depth: int) -> st.SearchStrategy[Any]:
    found = _REPEATED.fullmatch(node.get("pattern", ""))
    if not found:
        return st.text("0123456789", min_size=1, max_size=min(node.get("maxLength", 6), 15))
    least = int(found.group(2))
    most = min(int(found.group(3) or least + 8), max(least, 24))
    if found.group(1) == "[01]":
        return st.text("01", min_size=least, max_size=most)
    return st.binary(min_size=least, max_size=most).map(bytes.hex)


_MAKERS: Dict[str, Callable[[Dict[str, Any], Dict[str, Any], int], st.SearchStrategy[Any]]] = {
    "object": _object,
    "array": _array,
    "string": _string,
    "boolean": lambda schema, node, depth: st.booleans(),
    "integer": lambda schema, node, depth: st.integers(node["minimum"], node["maximum"]),
}
