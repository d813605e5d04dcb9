"""Holds values against docs/json-schema.json: as much of JSON Schema (2020-12) as is used there."""
import json
import pathlib
import re

SCHEMA = json.loads((pathlib.Path(__file__).resolve().parent.parent.parent / "docs" / "json-schema.json").read_text())
TYPES = {"object": dict, "array": list, "string": str, "boolean": bool, "integer": int, "null": type(None)}


def is_type(value, name):
    return isinstance(value, TYPES[name]) and not (name == "integer" and isinstance(value, bool))


def same(a, b):
    return type(a) is type(b) and a == b


def fault(value, schema, path=""):
    """Where and why the value is not of the schema; None if it is. A keyword that is not known here is an error."""
    faults = (check(value, schema, path, keyword) for keyword in schema if keyword not in ("description", "then", "else"))
    return next((found for found in faults if found), None)


def check(value, schema, path, keyword):
    rule = schema[keyword]
    if keyword == "$ref":
        return fault(value, SCHEMA["$defs"][rule.removeprefix("#/$defs/")], path)
    if keyword == "anyOf":
        faults = [fault(value, each, path) for each in rule]
        return None if None in faults else max(faults, key=len)  # what came furthest
    if keyword == "allOf":
        return next((found for each in rule if (found := fault(value, each, path))), None)
    if keyword == "if":
        return fault(value, schema.get("else" if fault(value, rule) else "then", {}), path)
    if keyword in ("properties", "required", "additionalProperties") and not isinstance(value, dict):
        return None
    if keyword == "properties":
        return next((found for key, each in rule.items() if key in value and (found := fault(value[key], each, f"{path}/{key}"))), None)
    if keyword == "items":
        items = enumerate(value) if isinstance(value, list) else ()
        return next((found for i, each in items if (found := fault(each, rule, f"{path}/{i}"))), None)
    holds = {
        "type": lambda: any(is_type(value, name) for name in ([rule] if isinstance(rule, str) else rule)),
        "enum": lambda: any(same(value, each) for each in rule), "const": lambda: same(value, rule),
        "pattern": lambda: not isinstance(value, str) or re.search(rule, value),
        "minimum": lambda: not is_type(value, "integer") or value >= rule,
        "maximum": lambda: not is_type(value, "integer") or value <= rule,
        "minItems": lambda: not isinstance(value, list) or len(value) >= rule,
        "required": lambda: all(key in value for key in rule),
        "additionalProperties": lambda: all(key in schema["properties"] for key in value),
    }
    return None if holds[keyword]() else f"{path}: {keyword} {rule!r} is not {json.dumps(value)[:200]}"


def check_lines(command, text):
    """Raises AssertionError unless every line is of the definition of `COMMAND --json`, or of unreadable."""
    for line in text.splitlines():
        value = json.loads(line)
        unreadable = isinstance(value, dict) and "error" in value
        found = fault(value, SCHEMA["$defs"]["unreadable" if unreadable else command])
        if found:
            raise AssertionError(found)
