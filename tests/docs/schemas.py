#!/usr/bin/python3
"""Checks the JSON schemas, and that every document that the unit tests make follows them.

schemas.py CHECKOUT TEST_PROGRAM...
"""

import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import jsonschema

CHECKOUT = Path(sys.argv[1])
TEST_PROGRAMS = sys.argv[2:]

sys.path.insert(0, str(CHECKOUT / "tests" / "hosts"))
import documents  # noqa: E402

NAMES = sorted(path.name.removesuffix(".schema.json") for path in documents.SCHEMAS.glob("*.schema.json"))


def objects_in(schema):
    """Every part of a schema that describes an object."""
    if isinstance(schema, dict):
        if schema.get("type") == "object":
            yield schema
        for part in schema.values():
            yield from objects_in(part)
    elif isinstance(schema, list):
        for part in schema:
            yield from objects_in(part)


def documents_of_the_unit_tests():
    with tempfile.TemporaryDirectory() as directory:
        for program in TEST_PROGRAMS:
            # Whether its tests pass is not the question here. See tests/support/host_side/kept_documents.cpp; the
            # tests of the JSON texts themselves are left out, whose documents are of no format.
            subprocess.run([program, "--gtest_filter=-JsonDocument.*"], env={**os.environ, "DOCUMENTS_DIRECTORY": directory},
                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False)
        return [path.read_text(encoding="utf-8") for path in sorted(Path(directory).iterdir())]


class Schemas(unittest.TestCase):
    def test_they_are_schemas(self):
        self.assertGreater(len(NAMES), 4)
        for name in NAMES:
            jsonschema.Draft202012Validator.check_schema(documents.schema_named(name))

    def test_they_let_no_unknown_member_pass(self):
        for name in NAMES:
            for part in objects_in(documents.schema_named(name)):
                self.assertIn("additionalProperties", part, name)

    def test_they_require_every_member(self):
        for name in NAMES:
            for part in objects_in(documents.schema_named(name)):
                self.assertEqual(sorted(part.get("required", [])), sorted(part.get("properties", [])), name)


class Documents(unittest.TestCase):
    def test_those_of_the_unit_tests_follow_their_schemas(self):
        seen = set()
        for text in documents_of_the_unit_tests():
            with self.subTest(document=text):
                seen.add(documents.schema_name_of(documents.parse(text)))

        self.assertEqual(sorted(seen), NAMES)

    def test_those_of_the_fuzzer_seeds_follow_their_schemas(self):
        for record in ("last_cycle", "settings_in_force", "stalled_installation", "verdict"):
            for seed in (CHECKOUT / "fuzz" / "seeds" / record).iterdir():
                with self.subTest(seed=seed.name):
                    documents.parse(seed.read_text(encoding="utf-8"))

    def test_those_of_the_guides_follow_their_schemas(self):
        examples = re.findall(r"```json\n(.*?)```", (CHECKOUT / "docs" / "status.md").read_text(encoding="utf-8"), re.DOTALL)

        self.assertGreater(len(examples), 0)
        for example in examples:
            documents.validate(json.loads(example))


unittest.main(argv=sys.argv[:1])
