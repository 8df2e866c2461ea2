"""The JSON documents that the program prints and stores, each validated against its schema."""

import json
from pathlib import Path

import jsonschema

SCHEMAS = Path(__file__).resolve().parents[2] / "schemas"


def schema_named(name):
    return json.loads((SCHEMAS / f"{name}.schema.json").read_text(encoding="utf-8"))


def schema_name_of(document):
    """A document of any format may be a failure: "error" takes the report's place."""
    return "error" if "error" in document else document["format"].removeprefix("package-minder/")


def validate(document):
    """Raises jsonschema.ValidationError when the document has what its schema does not describe."""
    jsonschema.Draft202012Validator(schema_named(schema_name_of(document))).validate(document)


def parse(text):
    """The document in a text; fails the test when it does not follow its schema."""
    document = json.loads(text)
    validate(document)
    return document
