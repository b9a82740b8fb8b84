"""Splits source files into code and comments, for the tools that read them."""

import re
from pathlib import Path

LANGUAGES = {".h": "c++", ".cpp": "c++", ".qml": "qml", ".js": "qml", ".py": "script", ".sh": "script",
             ".cmake": "script", ".md": "markdown"}

COMMENTS_OF_C = r"(?P<comment>//[^\n]*|/\*.*?(?:\*/|\Z))"
QUOTED = r'"(?:\\.|[^"\\\n])*"?'
# An apostrophe after a digit separates the digits of a number.
CHARACTERS = r"(?<!\w)'(?:\\.|[^'\\\n])*'?"

TOKENS = {
    "c++": re.compile(
        COMMENTS_OF_C + r"""|(?P<text>(?<!\w)(?:u8|[uUL])?R"(?P<mark>[^()\\\s]{0,16})\(.*?\)(?P=mark)\"|"""
        + f"{QUOTED}|{CHARACTERS})", re.DOTALL),
    "qml": re.compile(COMMENTS_OF_C + rf"|(?P<text>{QUOTED}|{CHARACTERS}|`(?:\\.|[^`\\])*`?)", re.DOTALL),
    # The documentation texts of Python begin a line.
    "script": re.compile(
        r'(?P<comment>(?<![^\s;(])\#[^\n]*|(?:(?<=\n)|\A)[ ]*(?:""".*?(?:"""|\Z)))'
        + r"|(?P<text>\\.|\"\"\".*?(?:\"\"\"|\Z)|'''.*?(?:'''|\Z)" + rf"|{QUOTED}|{CHARACTERS})", re.DOTALL),
}

COMMENT_SIGNS = {
    "c++": re.compile(r"^//[/!]?<?|/\*+<?|\*/|^[ ]*\*(?=\s)", re.MULTILINE),
    "qml": re.compile(r"^//[/!]?<?|/\*+<?|\*/|^[ ]*\*(?=\s)", re.MULTILINE),
    "script": re.compile(r'^#+!?|"""', re.MULTILINE),
}


def language_of(path, text):
    """Returns the language of a file ("c++", "qml", "script" or "markdown"), or None if it has none of these."""
    path = Path(path)
    if path.name == "CMakeLists.txt":
        return "script"
    if path.suffix:
        return LANGUAGES.get(path.suffix)
    return "script" if text.startswith("#!") else None


def blank(text):
    """Returns a text of the same length that has only spaces and the line ends of `text`."""
    return re.sub(r"[^\n]", " ", text)


def blank_match(match):
    return blank(match.group())


def split_markdown(text):
    """Returns no code, and the prose without blocks of code and addresses of links."""
    prose = re.sub(r"^(```|~~~).*?^\1[^\n]*$", blank_match, text, flags=re.MULTILINE | re.DOTALL)
    return blank(text), re.sub(r"(?<=\])\([^)\n]*\)", blank_match, prose)


def split(text, language):
    """Returns the code and the comments of a text. Both have the text's length and line ends; texts in quotes are in
    neither."""
    if language == "markdown":
        return split_markdown(text)
    code, comments = [], []
    at = 0
    for token in TOKENS[language].finditer(text):
        between = text[at:token.start()]
        found = token.group()
        code += [between, blank(found)]
        comments.append(blank(between))
        comments.append(COMMENT_SIGNS[language].sub(blank_match, found) if token["comment"] else blank(found))
        at = token.end()
    code.append(text[at:])
    comments.append(blank(text[at:]))
    return "".join(code), "".join(comments)
