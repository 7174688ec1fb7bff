"""Splits an IDL text into tokens, each with the line it starts on."""
import re
from dataclasses import dataclass


class IdlError(Exception):
    """A fault in the IDL text, reported as `path:line: error: message`."""

    def __init__(self, path, line, message):
        super().__init__(f"{path}:{line}: error: {message}")
        self.path = path
        self.line = line


@dataclass(frozen=True)
class Token:
    kind: str  # 'name', 'number', 'string', 'guid', 'punct' or 'end'
    text: str
    line: int


# Tried in this order at each position; a GUID must win over a number or name
# that starts it.
_PATTERNS = [
    ("space", r"[ \t\r\n]+"),
    ("comment", r"//[^\n]*|/\*(?:.|\n)*?\*/"),
    ("guid", r"[0-9A-Fa-f]{8}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{4}-[0-9A-Fa-f]{12}\b"),
    ("number", r"0[xX][0-9A-Fa-f]+\b|\d+(?:\.\d+)?\b"),
    ("name", r"[A-Za-z_][A-Za-z0-9_]*"),
    ("string", r'"(?:[^"\\\n]|\\.)*"'),
    ("punct", r"[\[\](){};,:*=\-]"),
]
_SCANNER = re.compile("|".join(f"(?P<{kind}>{pattern})" for kind, pattern in _PATTERNS))


def tokenize(text, path):
    """The tokens of `text`, ending with one 'end' token. Raises IdlError at the
    first character that starts no token (preprocessor lines included: the
    generator reads the IDL as written, without a preprocessor)."""
    tokens = []
    position = 0
    line = 1
    while position < len(text):
        match = _SCANNER.match(text, position)
        if match is None:
            if text.startswith("/*", position):
                raise IdlError(path, line, "comment is not closed")
            character = text[position]
            if character == "#":
                raise IdlError(path, line, "preprocessor lines are not supported")
            raise IdlError(path, line, f"unexpected character {character!r}")
        kind = match.lastgroup
        if kind not in ("space", "comment"):
            tokens.append(Token(kind, match.group(), line))
        line += match.group().count("\n")
        position = match.end()
    tokens.append(Token("end", "", line))
    return tokens


def unquote(token):
    """The text of a string token, with \\" and \\\\ resolved."""
    return re.sub(r"\\(.)", r"\1", token.text[1:-1])
