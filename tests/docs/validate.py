"""validate.py SCHEMA: prints for each line of stdin "valid", or where it violates the JSON Schema.

A violation is the path of the value and the keyword of the schema, as in "$.date pattern"; the
keyword "false" stands for a value that may not be there. Fails if the schema itself is not valid
under the draft 2020-12.
"""
import json
import pathlib
import sys

from jsonschema import Draft202012Validator

schema = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
assert schema["$schema"] == Draft202012Validator.META_SCHEMA["$id"]
Draft202012Validator.check_schema(schema)
validator = Draft202012Validator(schema)
for line in sys.stdin:
    found = {f"{error.json_path} {error.validator or 'false'}"
             for error in validator.iter_errors(json.loads(line))}
    print(", ".join(sorted(found)) or "valid")
