"""Judges sessions by their JSON schema.

    judge.py SCHEMA SESSIONS

SESSIONS is a JSON list of texts. Writes a JSON list with a text for each: empty for a valid one, otherwise what is
wrong. Ends with status 1 for a schema that is none.
"""

import json
import sys

from jsonschema import Draft202012Validator

with open(sys.argv[1], encoding="utf-8") as file:
    schema = json.load(file)
assert schema["$schema"] == Draft202012Validator.META_SCHEMA["$schema"], "a schema of another version"
Draft202012Validator.check_schema(schema)
validator = Draft202012Validator(schema)


def judge(text):
    error = next(validator.iter_errors(json.loads(text)), None)
    return error.message if error else ""


with open(sys.argv[2], encoding="utf-8") as file:
    print(json.dumps([judge(text) for text in json.load(file)]))
