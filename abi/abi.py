#!/usr/bin/python3
"""Compares the binary interface as built with its kept description, or renews the description.

    abi.py compare symbols LIBRARY KEPT_FILE
    abi.py compare layout  LIBRARY KEPT_FILE --probe OBJECT
    abi.py update  ...the same... [--unreleased]

"symbols" are what LIBRARY exports. "layout" is what a program that was compiled against the headers knows of
their types: sizes, where bases and fields lie, the order of virtual operations, values of enumerations. abidw
(Debian's abigail-tools) reads it from the debug information of OBJECT, which was compiled from all headers.

docs/abi.md says how to read a difference and what to do about it.
"""

import argparse
import difflib
import re
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

OURS = "zant::"


def main():
    arguments = _parse()
    description = describe_layout(arguments.probe) if arguments.kind == "layout" else describe_symbols(arguments.library)
    now = [soname(arguments.library), *description]
    kept_file = Path(arguments.kept_file)
    kept = kept_file.read_text(encoding="utf-8").splitlines() if kept_file.exists() else []
    if arguments.action == "compare":
        return _compare(kept, now, kept_file)
    return _update(kept, now, kept_file, arguments.unreleased)


def _parse():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("action", choices=("compare", "update"))
    parser.add_argument("kind", choices=("symbols", "layout"))
    parser.add_argument("library")
    parser.add_argument("kept_file")
    parser.add_argument("--probe", help="compiled from all headers, with debug information")
    parser.add_argument("--unreleased", action="store_true", help="no release has had this SONAME yet: anything may change")
    arguments = parser.parse_args()
    if arguments.kind == "layout" and not arguments.probe:
        parser.error("the layout is read from --probe")
    return arguments


def _compare(kept, now, kept_file):
    difference = list(difflib.unified_diff(kept, now, str(kept_file), "as built", lineterm=""))
    if difference:
        print("\n".join(difference))
        print("\nThe binary interface has changed; docs/abi.md says what to do.")
        return 1
    return 0


def _update(kept, now, kept_file, unreleased):
    gone = [line for line in kept if line not in set(now)]
    if gone and kept[0] == now[0] and not unreleased:
        print("\n".join(gone))
        print(
            f"\nThese lines of {kept_file} would go, and programs that are linked with {now[0]} rely on them. Raise the\n"
            "major version of project(), or say --unreleased if no release has had it yet."
        )
        return 1
    kept_file.write_text("\n".join(now) + "\n", encoding="utf-8")
    return 0


def soname(library):
    return re.search(r"SONAME\s+(\S+)", _output("objdump", "--private-headers", library)).group(1)


def describe_symbols(library):
    """Names and signatures, demangled: the variants of a constructor or destructor read alike and count once."""
    listing = _output("nm", "--dynamic", "--defined-only", "--demangle", "--format=posix", library)
    # A demangled name has blanks; the type, the value and the size behind it have none.
    names = {re.sub(r" [A-Za-z] [0-9a-f]+( [0-9a-f]*)?$", "", line.rstrip()) for line in listing.splitlines()}
    return sorted(name for name in names if not _is_plain_vtable(name))


def _is_plain_vtable(name):
    # The table of an interface is emitted or not as the optimiser goes, which says nothing of the interface; the
    # layout has its slots. Explicit instances are another matter: the headers promise that the library has them.
    return name.startswith("vtable for ") and "<" not in name


def describe_layout(probe):
    corpus = ElementTree.fromstring(_output("abidw", "--load-all-types", "--no-show-locs", "--no-comp-dir-path", probe))
    types = _Types(corpus)
    lines = []
    for name, element in sorted(types.ours.items()):
        describe = _describe_enumeration if element.tag == "enum-decl" else _describe_class
        lines += describe(types, name, element)
    return lines


def _describe_enumeration(types, name, element):
    yield f"enum {name}, {_bytes(types.element(element.find('underlying-type').get('type-id')))} bytes"
    for enumerator in element.findall("enumerator"):
        yield f"  {name}::{enumerator.get('name')} = {enumerator.get('value')}"


def _describe_class(types, name, element):
    yield f"class {name}, {_bytes(element)} bytes"
    for base in element.findall("base-class"):
        virtual = "virtual base" if base.get("is-virtual") else "base"
        yield f"  {name} {_offset(base)}: {virtual} {types.name_of(base.get('type-id'))}"
    for member in element.findall("data-member"):
        if "layout-offset-in-bits" in member.attrib:
            field = member.find("var-decl")
            yield f"  {name} {_offset(member)}: {field.get('name')}, {types.name_of(field.get('type-id'))}"
    yield from _describe_slots(name, element)


def _describe_slots(name, element):
    # The first two are the destructor's and go without saying.
    slots = {}
    for member in element.findall("member-function"):
        slot = int(member.get("vtable-offset", -1))
        if slot >= 0:
            slots[slot] = member.find("function-decl").get("mangled-name")
    for slot, mangled in sorted(slots.items()):
        yield f"  {name} slot {slot}: {_output('c++filt', mangled).strip()}"


def _bytes(element, attribute="size-in-bits"):
    return int(element.get(attribute)) // 8


def _offset(element):
    return f"+{_bytes(element, 'layout-offset-in-bits')}"


class _Types:
    """The types of an abidw document by id, and ours among them by name."""

    def __init__(self, corpus):
        self._elements, self._names = {}, {}
        self.ours = {}
        for unit in corpus.iter("abi-instr"):
            self._collect(unit, "")

    def _collect(self, element, scope):
        for child in element:
            name = scope + child.get("name", "")
            if "id" in child.attrib:
                self._elements[child.get("id")] = child
                self._names[child.get("id")] = name
            if child.tag in ("namespace-decl", "class-decl", "union-decl"):
                self._collect(child, f"{name}::")
            elif child.tag == "member-type":
                self._collect(child, scope)
            if child.tag in ("class-decl", "enum-decl") and name.startswith(OURS) and "is-declaration-only" not in child.attrib:
                self.ours[name] = child

    def element(self, identity):
        return self._elements[identity]

    def name_of(self, identity):
        element = self._elements[identity]
        inner = element.get("type-id")
        if element.tag == "pointer-type-def":
            return f"{self.name_of(inner)}*"
        if element.tag == "reference-type-def":
            return self.name_of(inner) + ("&" if element.get("kind") == "lvalue" else "&&")
        if element.tag == "qualified-type-def":
            return " ".join([*(word for word in ("const", "volatile") if word in element.attrib), self.name_of(inner)])
        if element.tag == "array-type-def":
            return f"{self.name_of(inner)}[{element.find('subrange').get('length')}]"
        return self._names[identity]


def _output(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


if __name__ == "__main__":
    sys.exit(main())
