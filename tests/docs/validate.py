"""validate.py SCHEMA: prints for each line of stdin "valid", or where it violates the JSON Schema.

A violation is the path of the value and the keyword of the schema, as in "$.date pattern"; the
keyword "false" stands for a value that may not be there. Fails if the schema itself is not valid
under the draft 2020-12.
"""
import json
import pathlib
import sys

from jsonschema import Draft202012Validator


def spelled_out(part):
    """The same schema with {"not": {}} for false: some versions of jsonschema lose the path of a
    value that false forbids."""
    if part is False:
        return {"not": {}}
    if isinstance(part, dict):
        return {key: spelled_out(value) for key, value in part.items()}
    return [spelled_out(item) for item in part] if isinstance(part, list) else part


schema = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
assert schema["$schema"] == Draft202012Validator.META_SCHEMA["$id"]
Draft202012Validator.check_schema(schema)
validator = Draft202012Validator(spelled_out(schema))
for line in sys.stdin:
    found = {f"{error.json_path} {'false' if error.validator_value == {} else error.validator}"
             for error in validator.iter_errors(json.loads(line))}
    print(", ".join(sorted(found)) or "valid")
