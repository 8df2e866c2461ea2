#!/usr/bin/python3
"""Checks that sources, guide, schemas and tests name the same codes, kinds and outcomes.

codes.py CHECKOUT
"""

import json
import re
import sys
import unittest
from pathlib import Path

CHECKOUT = Path(sys.argv[1])

# Of the form of a code, and something else: names of files, and a finding that is always printed as a failure.
NO_CODES = {"choco.exe", "installation.json", "schtasks.exe", "staging.new", "settings.unreadable", "system.posix_acl_access", "verdict.json"}
SETTING = re.compile(r"minder\.|package\.(apt|dnf|choco)$")
CODE = re.compile(r'"([a-z][a-z0-9_]*\.[a-z0-9_]+)"')


def texts_in(*folders, endings):
    paths = (path for folder in folders for path in sorted((CHECKOUT / folder).rglob("*")))
    return [path.read_text(encoding="utf-8") for path in paths if path.suffix in endings]


SOURCES = re.sub(r"//.*", "", "\n".join(texts_in("src/zant/velmora_host", "program", endings=(".cpp", ".hpp"))))
TESTS = "\n".join(texts_in("tests/unit", "tests/hosts", "tests/windows", endings=(".cpp", ".hpp", ".py")))
GUIDE = (CHECKOUT / "docs" / "status.md").read_text(encoding="utf-8")
VERDICT = (CHECKOUT / "docs" / "verdict.md").read_text(encoding="utf-8")
SCHEMAS = {path.name: json.loads(path.read_text(encoding="utf-8")) for path in (CHECKOUT / "schemas").glob("*.schema.json")}


def codes_of_the_sources():
    return {code for code in CODE.findall(SOURCES) if code not in NO_CODES and not SETTING.match(code)}


def codes_of_the_guide():
    """Each stands in backticks, as settings do."""
    return {code for code in re.findall(r"`([a-z]+\.[a-z0-9_]+)`", GUIDE) if not SETTING.match(code) and code not in NO_CODES}


def codes_of_causes():
    """The first column of the table."""
    table = VERDICT.split("\n## Causes\n")[1].split("\n## ")[0]
    return {code for row in re.findall(r"(?m)^\| (`.*?) \|", table) for code in re.findall(r"`([a-z_]+\.[a-z0-9_]+)`", row)}


def values_in(schema):
    """Every value that a schema allows by name."""
    if isinstance(schema, dict):
        yield from (value for value in schema.get("enum", []) if isinstance(value, str))
        for part in schema.values():
            yield from values_in(part)
    elif isinstance(schema, list):
        for part in schema:
            yield from values_in(part)


def members_in(schema):
    """The name of every member that a schema describes."""
    if isinstance(schema, dict):
        yield from schema.get("properties", {})
        for part in schema.values():
            yield from members_in(part)
    elif isinstance(schema, list):
        for part in schema:
            yield from members_in(part)


def is_in_the_guide(name):
    """In backticks, in an example, or as a heading."""
    return any(text in GUIDE for text in (f"`{name}`", f'"{name}"', f"### {name}\n"))


class Codes(unittest.TestCase):
    maxDiff = None

    def test_the_guides_have_those_of_the_sources_and_no_others(self):
        self.assertGreater(len(codes_of_the_sources()), 40)
        self.assertEqual(sorted(codes_of_the_guide() | codes_of_causes()), sorted(codes_of_the_sources()))

    def test_each_cause_is_in_the_table_once(self):
        table = VERDICT.split("\n## Causes\n")[1]

        self.assertEqual([code for code in sorted(codes_of_causes()) if table.count(f"`{code}`") != 1], [])

    def test_each_row_of_a_cause_names_its_families(self):
        rows = re.findall(r"(?m)^\| (`.*?) \| (.*?) \| (.*?) \|$", VERDICT.split("\n## Causes\n")[1])

        self.assertGreater(len(rows), 1)
        for codes, families, meaning in rows:
            self.assertRegex(families, r"^(all|(APT|DNF|Chocolatey)(, (APT|DNF|Chocolatey))*)$", codes)
            self.assertGreater(len(meaning), 10, codes)

    def test_the_schemas_have_those_of_the_sources_and_no_others(self):
        codes = {value for schema in SCHEMAS.values() for value in values_in(schema) if "." in value}

        self.assertEqual(sorted(codes), sorted(codes_of_the_guide()))

    def test_each_is_in_a_test(self):
        missing = [code for code in sorted(codes_of_the_sources()) if not re.search(rf"\b{re.escape(code)}\b(?!\()", TESTS)]

        self.assertEqual(missing, [])


class Names(unittest.TestCase):
    def test_the_guide_has_every_member_of_the_documents(self):
        for name, schema in SCHEMAS.items():
            missing = [member for member in members_in(schema) if not is_in_the_guide(member)]

            self.assertEqual(missing, [], name)

    def test_the_guide_has_every_value_of_the_documents(self):
        for name, schema in SCHEMAS.items():
            missing = [value for value in values_in(schema) if not is_in_the_guide(value)]

            self.assertEqual(missing, [], name)

    def test_the_sources_have_every_value_of_the_documents(self):
        for name, schema in SCHEMAS.items():
            values = [value.removeprefix("package-minder/") for value in values_in(schema)]
            missing = [value for value in values if f'"{value}"' not in SOURCES]

            self.assertEqual(missing, [], name)


unittest.main(argv=sys.argv[:1])
