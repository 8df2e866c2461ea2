#!/usr/bin/python3
"""Checks that the troubleshooting page explains every message of the library.

messages.py SOURCE_DIRECTORY PAGE
"""

import re
import sys
from pathlib import Path

# A literal, or several that the compiler joins.
LITERALS = re.compile(r'"(?:[^"\\\n]|\\.)*"(?:\s+"(?:[^"\\\n]|\\.)*")*')
PIECE = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
STATEMENT = re.compile(r"(?:ZANT_LOG|throw_\w+|_FORMAT = )[^;]*;", re.DOTALL)
PLACEHOLDER = re.compile(r"\{[^}]*\}")


def messages_of(source):
    """The texts that one source file logs or throws, with "{}" where a value goes."""
    for statement in STATEMENT.findall(source):
        for literals in LITERALS.findall(statement):
            text = "".join(PIECE.findall(literals)).replace('\\"', '"')
            if re.match(r"({} )*[A-Z]?[a-z.]+ [a-z({A-Z]", text):
                yield text


def pattern_of(message):
    """What the page must say: anything may stand for a value, and a table's column sign is escaped there."""
    parts = [re.escape(part) for part in PLACEHOLDER.split(message.strip())]
    return ".+".join(parts).replace(re.escape("|"), r"\\?\|")


def main(directory, page):
    explained = Path(page).read_text(encoding="utf-8")
    found = sorted({message for path in Path(directory).rglob("*.cpp") for message in messages_of(path.read_text(encoding="utf-8"))})
    missing = [message for message in found if not re.search(pattern_of(message), explained)]
    for message in missing:
        print(f"{page} does not explain: {message}")
    print(f"{len(found)} messages, {len(missing)} not explained")
    return 1 if missing or not found else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
