#!/usr/bin/python3
"""Checks that the troubleshooting page explains every message of the library, the host library and the program,
and no message that none of them has.

messages.py CHECKOUT
"""

import re
import sys
import unittest
from pathlib import Path

CHECKOUT = Path(sys.argv[1])
PAGE = (CHECKOUT / "docs" / "troubleshooting.md").read_text(encoding="utf-8")

# A literal, or several that the compiler joins.
LITERALS = re.compile(r'"(?:[^"\\\n]|\\.)*"(?:\s+"(?:[^"\\\n]|\\.)*")*')
PIECE = re.compile(r'"((?:[^"\\\n]|\\.)*)"')
PLACEHOLDER = re.compile(r"\{[^}]*\}")

# What logs or throws a message, by the folders in which it does.
LIBRARY = re.compile(r"(?:ZANT_LOG|throw_\w+|_FORMAT = )[^;]*;", re.DOTALL)
HOST_SIDE = re.compile(r"(?:ZANT_LOG|log_message_?\(|log_failure\(|Refusal\(|\bfail\()[^;]*;", re.DOTALL)
ANY_STATEMENT = re.compile(r".*?;\n", re.DOTALL)
STATEMENTS = {
    "src/zant/velmora": LIBRARY,
    "src/zant/velmora_host": HOST_SIDE,
    "program": HOST_SIDE,
}

# What the page writes where a value goes: an ellipsis, a word in capitals, the product's own names, a second value
# in parentheses.
VARIABLE = re.compile(
    r'…|\b(?:N/3|N|PATH|NAME|VERB|REASON)\b|(?<=: )URL|"[a-z]+"|\(or [^)]*\)|\(?UpgradeVelmoraRecorderVMS\)?'
    r"|zant-velmora|quorvane(?:\.repo)?"
)


def texts_of(source, statement):
    """The literals of each statement that logs or throws."""
    for match in statement.findall(source):
        yield ["".join(PIECE.findall(literals)).replace('\\"', '"') for literals in LITERALS.findall(match)]


def logged_texts():
    for folder, statement in STATEMENTS.items():
        for path in sorted((CHECKOUT / folder).rglob("*.cpp")):
            yield from texts_of(path.read_text(encoding="utf-8"), statement)


def all_texts():
    """The literals of each statement, whatever it does with them."""
    for folder in STATEMENTS:
        for path in (CHECKOUT / folder).rglob("*.cpp"):
            yield from texts_of(path.read_text(encoding="utf-8"), ANY_STATEMENT)


def is_message(text):
    """Not a name, a separator, or a reason that stands behind another message."""
    return re.match(r"({} )*[A-Z]?[a-z.]+ [a-z({A-Z]", text) is not None


def pattern_of(message):
    """What the page must say: anything may stand for a value, and a table's column sign is escaped there."""
    parts = [re.escape(part) for part in PLACEHOLDER.split(message.strip())]
    return ".+".join(parts).replace(re.escape("|"), r"\\?\|")


def explained_messages():
    """The first column of each table, where several messages are separated by semicolons."""
    for row in re.findall(r"(?m)^\| (.*?) (?<!\\)\|", PAGE):
        if row not in ("Message", "---"):
            yield from (message.strip() for message in row.replace(r"\|", "|").split("; "))


def words_of(text):
    return set(re.findall(r"[\w']+", text))


class Messages(unittest.TestCase):
    maxDiff = None

    def test_each_is_explained(self):
        messages = sorted({text for texts in logged_texts() for text in texts if is_message(text)})
        missing = [message for message in messages if not re.search(pattern_of(message), PAGE)]

        self.assertGreater(len(messages), 60)
        self.assertEqual(missing, [])

    def test_each_that_is_explained_is_in_the_sources(self):
        statements = [words_of(" ".join(texts)) for texts in all_texts()]
        unknown = [
            message
            for message in explained_messages()
            if not any(words_of(VARIABLE.sub(" ", message)) <= words for words in statements)
        ]

        self.assertEqual(unknown, [])


unittest.main(argv=sys.argv[:1])
