"""Texts in several parts: a line "=== NAME" begins one."""


def sections_of(text):
    """The parts by name."""
    sections, current = {}, []
    for line in text.splitlines():
        if line.startswith("=== "):
            current = sections.setdefault(line[4:], [])
        else:
            current.append(line)
    return {name: "\n".join(lines) for name, lines in sections.items()}
