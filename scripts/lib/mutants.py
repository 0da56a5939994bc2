"""Makes mutants: copies of a source line with one small mistake in it.

The sources are formatted, so a binary operator has a space on both sides and a template's
bracket has not: patterns on single lines are enough. What they get wrong does not compile.
"""

import random
import re
from collections import namedtuple

Mutant = namedtuple("Mutant", "file line kind before after")

# Read as regular expressions; each is a mistake of the given kind.
REPLACEMENTS = [
    ("comparison", r" < ", [" <= ", " >= "]),
    ("comparison", r" <= ", [" < ", " > "]),
    ("comparison", r" > ", [" >= ", " <= "]),
    ("comparison", r" >= ", [" > ", " < "]),
    ("comparison", r" == ", [" != "]),
    ("comparison", r" != ", [" == "]),
    ("logic", r" && ", [" || "]),
    ("logic", r" \|\| ", [" && "]),
    ("logic", r"!(?=[\w(])", [""]),
    ("logic", r"\btrue\b", ["false"]),
    ("logic", r"\bfalse\b", ["true"]),
    ("arithmetic", r" \+ ", [" - "]),
    ("arithmetic", r" - ", [" + "]),
    ("arithmetic", r" \* ", [" / "]),
    ("arithmetic", r" / ", [" * "]),
    ("arithmetic", r" % ", [" / "]),
    ("arithmetic", r" \+= ", [" -= ", " = "]),
    ("arithmetic", r" -= ", [" += "]),
    ("arithmetic", r"(?:(?<=[=,?:] )|(?<=[(\[{])|(?<=return ))-(?=[\w(:])", [""]),
    ("bits", r" \^ ", [" | "]),
    ("bits", r" & ", [" | "]),
    ("bits", r" >> (?=\d)", [" << "]),
    ("flag", r" \| \w+_\w+", [""]),
    ("axis", r"(?<=[.:])x\b", ["y"]),
    ("axis", r"(?<=[.:])y\b", ["z"]),
    ("axis", r"(?<=[.:])z\b", ["x"]),
    ("function", r"\bmin\((?=.*,)", ["max("]),
    ("function", r"\bmax\((?=.*,)", ["min("]),
    ("function", r"\bfront\(\)", ["back()"]),
    ("function", r"\bback\(\)", ["front()"]),
    ("function", r"\bpop_front\b", ["pop_back"]),
    ("function", r"\bpop_back\b", ["pop_front"]),
    ("function", r"\btrunc\(", ["round("]),
    ("function", r"\bacos\(", ["asin("]),
    ("function", r"\binfinity\(\)", ["max()"]),
    ("function", r"\blowest\(\)", ["min()"]),
    ("jump", r"\bbreak;", ["continue;"]),
    ("jump", r"\bcontinue;", ["break;"]),
]

# A line that is no statement that could be left out.
DECLARATION = re.compile(
    r"^\s*(\}|return\b|const\b|constexpr\b|static\b|inline\b|using\b|typedef\b|extern\b|"
    r"auto\b|struct\b|class\b|explicit\b|friend\b|template\b|#|[\w:<>]+[&*]* [&*]?\w+"
    r"( = |\{|\[|\(|;|,))|__attribute__")
ARRAY = re.compile(r"^\s*(const |static |constexpr |inline |extern )*[\w:<>]+[&*]* \w+\[")
PARAMETER = re.compile(r"^\s*(const\s+)?[\w:<>]+[&*]*(\s+const)?\s+[&*]*\w+\s*(=.*)?$")


def masked(text):
    """The text, with comments and preprocessor lines blank and strings without content."""
    def blank(match):
        token = match.group(0)
        if token.startswith(('"', "'")):
            return token[0] + "~" * (len(token) - 2) + token[0]
        return re.sub(r"[^\n]", " ", token)
    tokens = (r'R"\(.*?\)"|'
              r"//[^\n]*|/\*.*?\*/|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|"
              r'"(?:\\.|[^"\\\n])*"|(?<!\w)\'(?:\\.|[^\'\\\n])\'')
    return re.sub(tokens, blank, text, flags=re.S | re.M)


def closing(text, start):
    """Where the bracket at `start` is closed; -1 on another line."""
    depth = 0
    for at in range(start, len(text)):
        if text[at] in "([{":
            depth += 1
        elif text[at] in ")]}":
            depth -= 1
            if depth == 0:
                return at
    return -1


def numbers(line, code):
    for found in re.finditer(r"(?<![\w.])\d+(?![\w.'])|(?<![\w.])\d+(?=LL\b|u\b)", code):
        if len(found[0]) > 1 and found[0][0] == "0":
            continue
        value = int(found[0])
        for other in {value + 1, max(value - 1, 0)} - {value}:
            yield "constant", line[:found.start()] + str(other) + line[found.end():]
    for found in re.finditer(r"(?<![\w.])\d+(\.\d*(e-?\d+)?|e-?\d+)(?=f?\b)", code):
        text = found[0]
        others = ["1.0"] if float(text) == 0.0 else [text.replace(text[0], d, 1) for d in
                                                      {str((int(text[0]) + 1) % 10)}]
        if float(text) >= 1.0:
            others.append(repr(float(text) - 1.0))
        for other in others:
            yield "constant", line[:found.start()] + other + line[found.end():]


def indices(line, code):
    if ARRAY.match(code):
        return
    for found in re.finditer(r"(?<=[\w)\]])\[([a-zA-Z_][\w. +*-]*)\]", code):
        yield "index", line[:found.end() - 1] + " + 1" + line[found.end() - 1:]


def arguments(line, code):
    for found in re.finditer(r"\b(?!if|for|while|switch|sizeof|catch|return)\w+[({]", code):
        end = closing(code, found.end() - 1)
        if end < 0:
            continue
        cuts, depth = [found.end()], 0
        for at in range(found.end(), end):
            depth += (code[at] in "([{") - (code[at] in ")]}")
            if code[at] == "," and depth == 0:
                cuts.append(at + 1)
        cuts.append(end + 1)
        parts = [line[a:b - 1].strip() for a, b in zip(cuts, cuts[1:])]
        if len(parts) < 2 or parts[0] == parts[1] or any(map(PARAMETER.match, parts)):
            continue
        parts[0], parts[1] = parts[1], parts[0]
        yield "arguments", line[:found.end()] + ", ".join(parts) + line[end:]


def conditions(line, code):
    for found in re.finditer(r"\b(if|while) \(", code):
        end = closing(code, found.end() - 1)
        if end > 0 and ";" not in code[found.end():end]:
            inner = line[found.end():end]
            yield "condition", f"{line[:found.end()]}!({inner}){line[end:]}"
    found = re.search(r"(?:= |return |\()([^?=(]+) \? ([^?:]+) : ([^?:]+)(?=;|\)[;) {])", code)
    if found and all(found[i].count("(") == found[i].count(")") for i in (2, 3)):
        yield "condition", (line[:found.start(2)] + line[found.start(3):found.end(3)] + " : " +
                            line[found.start(2):found.end(2)] + line[found.end(3):])


def statements(line, code, previous):
    whole = code.rstrip().endswith(";") and code.count("(") == code.count(")")
    if whole and not DECLARATION.search(code) and re.search(r"[;{}:]\s*$", previous):
        yield "statement", re.match(r"\s*", line)[0] + ";"


def texts(line, code):
    if re.search(r'target\(|target_clones|extern "C"', line):
        return
    for found in re.finditer(r'"~+"', code):
        if line[found.end() - 3] != "\\":
            yield "text", line[:found.end() - 2] + line[found.end() - 1:]


def steps(line, code):
    if re.search(r"\bfor \(", code):
        return
    for found in re.finditer(r"\+\+|--", code):
        other = "--" if found[0] == "++" else "++"
        yield "arithmetic", line[:found.start()] + other + line[found.end():]


def of_line(line, code, previous):
    """All mutants of a line, as pairs of their kind and the line that they become."""
    if ".reserve(" in code:  # changes nothing but the time
        return
    for kind, pattern, others in REPLACEMENTS:
        for found in re.finditer(pattern, code):
            for other in others:
                yield kind, line[:found.start()] + other + line[found.end():]
    for maker in (numbers, indices, arguments, conditions, texts, steps):
        yield from maker(line, code)
    yield from statements(line, code, previous)


def of_file(name, text, chance):
    """All mutants of a file in an order left to chance: each line's first one before any
    line's second one."""
    rounds = []
    previous = ";"
    lines = zip(text.split("\n"), masked(text).split("\n"))
    for number, (line, code) in enumerate(lines, 1):
        if not code.strip():
            continue
        found = sorted({m for m in of_line(line, code, previous) if m[1] != line})
        chance.shuffle(found)
        for at, (kind, after) in enumerate(found):
            rounds.append((at, chance.random(), Mutant(name, number, kind, line, after)))
        previous = code
    return [mutant for _, _, mutant in sorted(rounds)]


def shares(files, count):
    """How many of `count` mutants each file gets: in proportion to the lines that can be
    mutated, and three, or else one, where there are so many."""
    least = 3 if 3 * len(files) <= count else 1
    lines = {name: len({m.line for m in found}) for name, found in files.items()}
    total = sum(lines.values())
    given = {name: min(len(files[name]), max(least, count * n // total))
             for name, n in lines.items()}
    for name in sorted(files, key=lambda name: -lines[name]):
        if sum(given.values()) >= count:
            break
        given[name] = min(len(files[name]), given[name] + 1)
    return given


def chance_of(seed, name):
    """A file's own source of chance: adding a file changes nothing for the others."""
    return random.Random(f"{seed}:{name}")
