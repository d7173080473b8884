#!/usr/bin/env python3
"""The shipped schemas in words, for the documents' tables.

    words.py [--update] DOCUMENT...

A table of a document that stands behind a line "<!-- FILE#DEFINITION PREFIX -->" has a row for each key of that
schema. This compares such tables with the schema, or with --update makes them.
"""
import json
import pathlib
import re
import sys

FOLDER = pathlib.Path(__file__).parent
SHOWN = range(7)  # members of an object; one that has more is shown elsewhere
TYPES = {"string": "text", "integer": "number", "boolean": "bool"}


def load(name):
    return json.loads((FOLDER / name).read_text("utf-8"))


def resolve(file, node):
    """The node behind its $ref, with the description that stands beside the $ref, and the schema it stands in."""
    while "$ref" in node:
        name, _, place = node["$ref"].partition("#")
        file = load(name) if name else file
        target = file
        for step in place.split("/")[1:]:
            target = target[step]
        node = {**target, **{key: value for key, value in node.items() if key != "$ref"}}
    return file, node


def type_words(file, node):
    """What a value may be; that null takes a key away goes without saying."""
    file, node = resolve(file, node)
    if "enum" in node:
        return ", ".join(f"`{word}`" for word in node["enum"] if word is not None)
    if "anyOf" in node and "type" not in node:
        return " or ".join(dict.fromkeys(filter(None, (type_words(file, one) for one in node["anyOf"]))))
    kinds = node.get("type", [])
    words = []
    for kind in [kinds] if isinstance(kinds, str) else kinds:
        if kind == "array":
            element = type_words(file, node["items"]) if "items" in node else ""
            words.append(f"list of {element}s" if element.isalpha() else f"list of {element}" if element else "list")
        elif kind == "object" and len(node.get("properties", SHOWN)) < len(SHOWN):
            words.append("{" + ", ".join(f"`{key}`" for key in node["properties"]) + "}")
        elif kind == "object":
            others = node.get("additionalProperties")
            words.append("{key: " + type_words(file, others) + "}" if isinstance(others, dict) else "object")
        elif kind != "null":
            words.append(TYPES[kind])
    return " or ".join(words) or ("" if kinds else "what is expected")


def rows(file, node, prefix=""):
    """(key, type, meaning) of each property; an object that says nothing of itself shows its members instead."""
    file, node = resolve(file, node)
    for key, value in node["properties"].items():
        inner, part = resolve(file, value)
        if "description" not in part and "properties" in part:
            yield from rows(inner, part, prefix + key + ".")
        else:
            needed = "; required" if key in node.get("required", []) else ""
            yield prefix + key, type_words(file, value) + needed, part.get("description", "")


def table(name, prefix):
    lines = ["| Key | Type | Meaning |", "|---|---|---|"]
    lines += [f"| `{key}` | {words} | {meaning} |" for key, words, meaning in rows({}, {"$ref": name}, prefix)]
    return "\n".join(lines) + "\n"


def with_tables(text):
    return re.sub(r"(<!-- (\S+\.json#\S*) ?(\S*) -->\n)(?:\|.*\n)*",
                  lambda found: found[1] + table(found[2], found[3]), text)


def main():
    update = sys.argv[1:2] == ["--update"]
    stale = 0
    for path in map(pathlib.Path, sys.argv[2 if update else 1:]):
        text = path.read_text("utf-8")
        made = with_tables(text)
        if update:
            path.write_text(made, "utf-8")
        elif made != text or "<!-- " not in text:
            print(f"{path}: differs from the schema; {pathlib.Path(__file__).name} --update {path}")
            stale = 1
    return stale


if __name__ == "__main__":
    sys.exit(main())
