"""validate_json - holds JSON documents against a definition of a schema

usage: validate_json.py SCHEMA < PAIRS

PAIRS is a JSON array of [definition, text]; each text must be one JSON document that goes with
"#/$defs/DEFINITION" of the schema. Prints a line for each fault. Exits with 0 when there is none,
with 1 when there is one. The schema must be a good one itself, and leave no object open to fields
that it does not name.
"""

import json
import sys

from jsonschema import Draft202012Validator


def open_objects(schema, path="#"):
    """The places of the schema in which an object may have further fields."""
    if isinstance(schema, list):
        for index, part in enumerate(schema):
            yield from open_objects(part, f"{path}/{index}")
    if isinstance(schema, dict):
        if schema.get("type") == "object" and schema.get("additionalProperties") is not False:
            yield path
        for name, part in schema.items():
            yield from open_objects(part, f"{path}/{name}")


def faults_of(schema, definition, text):
    if definition not in schema["$defs"]:
        yield "is not in the schema"
        return
    try:
        document = json.loads(text)
    except ValueError as error:
        yield f"is not one JSON document: {error}"
        return
    of_definition = {"$defs": schema["$defs"], "$ref": f"#/$defs/{definition}"}
    for error in Draft202012Validator(of_definition).iter_errors(document):
        yield f"{error.json_path}: {error.message}"


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        schema = json.load(file)
    Draft202012Validator.check_schema(schema)
    faults = [f"{path} may have further fields" for path in open_objects(schema)]
    for definition, text in json.load(sys.stdin):
        faults += [f"{definition}: {fault}" for fault in faults_of(schema, definition, text)]
    for fault in faults:
        print(fault)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
