"""Finds the places of a C++ source that a mutant can change. Knows C++ as far as clang-format lays it out."""

import dataclasses
import re

OPENING = {"(": ")", "[": "]", "{": "}"}


@dataclasses.dataclass(frozen=True)
class Mutant:
    path: str
    start: int
    end: int
    replacement: str
    operator: str

    def apply(self, text):
        return text[: self.start] + self.replacement + text[self.end :]

    def line(self, text):
        return text.count("\n", 0, self.start) + 1

    def lines(self, text):
        """What stands there before and after: the first line of each."""
        begin = text.rfind("\n", 0, self.start) + 1
        return tuple(one[begin:].split("\n", 1)[0].strip() for one in (text, self.apply(text)))


class Source:
    """A text in which comments, literals and preprocessor lines are blanked out, each at its place."""

    LEXEME = re.compile(
        r"//[^\n]*|/\*.*?\*/|^[ \t]*\#(?:[^\n\\]|\\.|\\\n)*|(?P<raw>R\"(?P<mark>[^(]*)\(.*?\)(?P=mark)\")"
        r"|(?P<string>\"(?:[^\"\\\n]|\\.)*\")|(?P<char>(?<![0-9a-zA-Z_])'(?:[^'\\\n]|\\.)+')",
        re.S | re.M,
    )

    def __init__(self, text):
        self.text = text
        self.strings = []
        self.characters = []
        code = list(text)
        for lexeme in self.LEXEME.finditer(text):
            if lexeme["string"]:
                self.strings.append(lexeme.span())
            elif lexeme["char"]:
                self.characters.append(lexeme.span())
            # A literal still counts as a word, so that what stands around it is read as code.
            filler = "s" if lexeme["string"] or lexeme["char"] or lexeme["raw"] else " "
            for place in range(*lexeme.span()):
                if code[place] != "\n":
                    code[place] = filler
        self.code = "".join(code)

    def end_of_group(self, opening):
        """Behind the bracket that closes the one at this place."""
        stack = []
        for place in range(opening, len(self.code)):
            character = self.code[place]
            if character in OPENING:
                stack.append(OPENING[character])
            elif stack and character == stack[-1]:
                stack.pop()
                if not stack:
                    return place + 1
        return len(self.code)

    def end_of_statement(self, start):
        """At the semicolon that ends what begins here, or None when a block or the outer group ends first."""
        place = start
        while place < len(self.code):
            character = self.code[place]
            if character in OPENING:
                place = self.end_of_group(place)
                continue
            if character == ";":
                return place
            if character in ")]}":
                return None
            place += 1
        return None


def negated_conditions(source):
    for head in re.finditer(r"\b(?:if|while) (?:constexpr )?\(", source.code):
        begin, end = head.end(), source.end_of_group(head.end() - 1) - 1
        init = source.code.find(";", begin, end)
        if init >= 0:
            begin = init + 1
        condition = source.text[begin:end].strip()
        # A declaration as condition has no name that could be negated in one place.
        if not re.search(r"(?<![=!<>])=(?!=)", source.code[begin:end]):
            yield begin, end, f" !({condition})", "negate condition"
    for choice in re.finditer(r"\b(?:return|=) ([^;?]+?) \? ", source.code):
        yield choice.start(1), choice.end(1), f"!({source.text[choice.start(1):choice.end(1)]})", "negate condition"


COMPARISONS = {"==": "!=", "!=": "==", "<": "<=", ">": ">=", "<=": "<", ">=": ">"}


def swapped_operators(source):
    for match in re.finditer(r"(?<=\s)(==|!=|<=|>=|<|>)(?=\s)", source.code):
        yield *match.span(), COMPARISONS[match[0]], "swap comparison"
    for match in re.finditer(r"(?<=\s)(&&|\|\|)(?=\s)", source.code):
        yield *match.span(), "||" if match[0] == "&&" else "&&", "swap and with or"
    for match in re.finditer(r"(?<![\w!=])!(?=[\w(:*])", source.code):
        yield *match.span(), "", "remove not"


NOT_A_CALL = re.compile(
    r"(?:return|if|else|for|while|do|switch|case|default|using|namespace|class|struct|enum|template|typedef|static"
    r"|const|constexpr|inline|auto|public|private|protected|virtual|explicit|friend|extern|goto|try|delete|co_\w+)\b"
)
CALL = re.compile(r"throw\b|break$|continue$|[\w:.*\[\]>-]+\(")
ASSIGNMENT = re.compile(r"[\w.:*\[\]>-]+ [-+|&]?= ")
STEP = re.compile(r"(?:\+\+|--)\w+$|\w+(?:\+\+|--)$")


def dropped_statements(source):
    for gap in re.finditer(r"(?<=[;{})])\s+(?=[\w:*(+-])|(?<=\belse)\s+(?=[\w:])", source.code):
        start = gap.end()
        if NOT_A_CALL.match(source.code, start):
            continue
        end = source.end_of_statement(start)
        if end is None:
            continue
        statement = source.code[start:end]
        if CALL.match(statement) or ASSIGNMENT.match(statement) or STEP.match(statement):
            yield start, end, "", "drop statement"


def changed_results(source):
    for match in re.finditer(r"\breturn (?=[^;\s])", source.code):
        end = source.end_of_statement(match.end())
        value = source.text[match.end() : end] if end else ""
        if end and value not in ("true", "false", "{}", "nullptr", "std::nullopt", '""') and not value.isdigit():
            yield match.end(), end, "{}", "return nothing"
    for match in re.finditer(r"^(?:static |inline )?void [^;{}=]*?\)(?: const)?(?: noexcept)? (\{)(?=\n)", source.code, re.M):
        yield match.start(1), match.end(1), "{ return;", "return early"


def changed_literals(source):
    for match in re.finditer(r"(?<![\w.'])\d[\d']*(?=[uUlL]*\b)(?![.'\w]*\.)", source.code):
        yield *match.span(), str(int(match[0].replace("'", ""), 8 if re.fullmatch(r"0[0-7]+", match[0]) else 10) + 1), "change number"
    for match in re.finditer(r"\b(?:true|false)\b", source.code):
        yield *match.span(), "false" if match[0] == "true" else "true", "change boolean"
    for start, end in source.strings:
        # In front, so that a format keeps its places for arguments.
        yield start, end, '"~' + source.text[start + 1 : end], "change text"
    for start, end in source.characters:
        yield start, end, "'~'" if source.text[start:end] != "'~'" else "'^'", "change character"


OPERATORS = (negated_conditions, swapped_operators, dropped_statements, changed_results, changed_literals)


def mutants_of(path, text):
    """All mutants of a file, in a fixed order, each once."""
    source = Source(text)
    found = {}
    for operator in OPERATORS:
        for start, end, replacement, name in operator(source):
            inside_assertion = source.code.rfind("static_assert", source.code.rfind(";", 0, start) + 1, start) >= 0
            if not inside_assertion:
                found.setdefault((start, end, replacement), Mutant(path, start, end, replacement, name))
    return [found[key] for key in sorted(found)]
