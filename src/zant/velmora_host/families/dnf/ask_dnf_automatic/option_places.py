"""Where a setting stands, and a line of a log."""

import os
import re

LONGEST_LOG = 8 * 1024 * 1024


def lines_of_option(file, section, names):
    """Numbers and texts of the lines that set an option, continued ones too; of repeated ones all."""
    try:
        with open(file, encoding="utf-8", errors="replace") as stream:
            lines = stream.read().splitlines()
    except OSError:
        return []
    found, current, is_inside = [], None, False
    for number, line in enumerate(lines, 1):
        stripped = line.strip()
        if not stripped or stripped[0] in "#;":
            continue
        if stripped[0] == "[" and "]" in stripped:
            current, is_inside = stripped[1 : stripped.index("]")].strip(), False
        elif line[0] in " \t":
            if is_inside:
                found.append((number, line))
        else:
            is_inside = current == section and stripped.partition("=")[0].strip() in names
            if is_inside:
                found.append((number, line))
    return found


def place_of_option(places, names, word=None):
    """The last place of an option, or the one that holds a word: file, line and text."""
    found = None
    for file, section in places:
        for number, line in lines_of_option(file, section, names):
            values = re.split(r"[\s,]+", line.partition("=")[2] if "=" in line else line)
            if word is None or word in values:
                found = {"file": file, "line": number, "text": line.strip()}
    return found or {"file": "", "line": 0, "text": ""}


def places_of(repo):
    """Where the options of a repository stand, as far as they are its own."""
    return [(repo.repofile or "", repo.id)]


def last_line(file, pattern):
    """The last line of a log that has the pattern: file, line and text."""
    try:
        if os.path.getsize(file) > LONGEST_LOG:
            return None
        with open(file, encoding="utf-8", errors="replace") as stream:
            lines = [(number, line) for number, line in enumerate(stream, 1) if pattern.search(line)]
    except OSError:
        return None
    return {"file": file, "line": lines[-1][0], "text": lines[-1][1].strip()} if lines else None
