"""The small YAML subset that vorn.yaml and .vorn.yaml are written in.

Block mappings, block sequences, plain and quoted scalars, comments, the two
empty flow forms and line folding; everything else is refused with a line
number. Scalars stay text: nothing is guessed to be a number or a boolean.
"""

import re


class YAMLError(Exception):
    def __init__(self, line, reason):
        super().__init__(f"line {line}: {reason}")
        self.line = line
        self.reason = reason


class Mapping:
    """A mapping that keeps file order and duplicate keys; the first key wins."""

    def __init__(self, pairs=None):
        self.pairs = pairs or []

    def get(self, key, default=None):
        for k, v in self.pairs:
            if k == key:
                return v
        return default

    def __contains__(self, key):
        return any(k == key for k, _ in self.pairs)

    def __repr__(self):
        return f"Mapping({self.pairs!r})"


def strip_comment(line):
    line = line.replace("\t", "    ")
    quote = None
    for index, char in enumerate(line):
        if quote:
            if char == quote:
                quote = None
        elif char in "\"'":
            quote = char
        elif char == "#" and (index == 0 or line[index - 1] == " "):
            return line[:index]
    return line


def unquote(text):
    if len(text) < 2 or text[0] != text[-1] or text[0] not in "\"'":
        return text
    inner = text[1:-1]
    if text[0] == '"':
        for old, new in (("\\n", "\n"), ("\\t", "\t"), ('\\"', '"'), ("\\\\", "\\")):
            inner = inner.replace(old, new)
        return inner
    return inner.replace("''", "'")


def split_key(text):
    """Gives (key, rest) or None when the text is no `key: value` line."""
    if text[:1] in ("{", "["):
        return None
    if text[:1] in ("\"", "'"):
        end = text.find(text[0], 1)
        if end < 0 or text[end + 1 : end + 2] != ":":
            return None
        return text[1:end], text[end + 2 :].strip()
    match = re.search(r":(?= |$)", text)
    if not match:
        return None
    key = text[: match.start()].strip()
    if not key:
        return None
    return key, text[match.end() :].strip()


class _Line:
    __slots__ = ("number", "indent", "text")

    def __init__(self, number, indent, text):
        self.number, self.indent, self.text = number, indent, text


def _prepare(text):
    lines = []
    for number, raw in enumerate(re.split(r"[\r\n]", text), start=1):
        stripped = strip_comment(raw)
        if stripped.strip() in ("", "---"):
            continue
        body = stripped.lstrip(" ")
        lines.append(_Line(number, len(stripped) - len(body), body.rstrip(" ")))
    return lines


def _is_dash(text):
    return text == "-" or text.startswith("- ")


class _Parser:
    def __init__(self, lines):
        self.lines = lines
        self.pos = 0

    def peek(self):
        return self.lines[self.pos] if self.pos < len(self.lines) else None

    def block_after(self, indent, allow_level_seq):
        nxt = self.peek()
        if nxt is None:
            return None
        if nxt.indent > indent:
            return self.seq(nxt.indent) if _is_dash(nxt.text) else self.map(nxt.indent)
        if allow_level_seq and nxt.indent == indent and nxt.text.startswith("- "):
            return self.seq(indent)
        return None

    def scalar(self, text, line, indent):
        if re.sub(r"\s", "", text) == "{}":
            return Mapping()
        if re.sub(r"\s", "", text) == "[]":
            return []
        if text[:1] in ("{", "["):
            raise YAMLError(line.number, f"flow collections are not supported: `{text}`")
        folded = text
        while (nxt := self.peek()) is not None and nxt.indent > indent:
            if split_key(nxt.text) or _is_dash(nxt.text):
                raise YAMLError(nxt.number, f"unexpected indentation after `{text}`")
            folded += " " + nxt.text
            self.pos += 1
        return unquote(folded)

    def map(self, indent):
        result = Mapping()
        while (line := self.peek()) is not None:
            if line.indent != indent or line.text.startswith("- "):
                break
            split = split_key(line.text)
            if split is None:
                raise YAMLError(line.number, f"expected `key: value`, got `{line.text}`")
            self.pos += 1
            key, rest = split
            value = self.block_after(indent, True) if not rest else self.scalar(rest, line, indent)
            result.pairs.append((key, value))
        return result

    def seq(self, indent):
        items = []
        while (line := self.peek()) is not None:
            if line.indent != indent or not line.text.startswith("-"):
                break
            item = "" if line.text == "-" else line.text[2:]
            self.pos += 1
            if not item:
                nxt = self.peek()
                if nxt is None or nxt.indent <= indent:
                    items.append(None)
                else:
                    items.append(self.seq(nxt.indent) if _is_dash(nxt.text) else self.map(nxt.indent))
            elif split_key(item):
                items.append(self.item_map(line, indent, item))
            else:
                items.append(self.scalar(item, line, indent))
        return items

    def item_map(self, line, indent, item):
        private = [_Line(line.number, indent + 2, item)]
        while (nxt := self.peek()) is not None and nxt.indent >= indent + 2:
            private.append(nxt)
            self.pos += 1
        inner = _Parser(private)
        value = inner.map(indent + 2)
        if inner.pos < len(private):
            raise YAMLError(private[inner.pos].number, "unexpected indentation in list item")
        return value


def parse(text):
    lines = _prepare(text)
    if not lines:
        return None
    parser = _Parser(lines)
    first = lines[0]
    node = parser.seq(first.indent) if _is_dash(first.text) else parser.map(first.indent)
    if parser.pos < len(lines):
        raise YAMLError(lines[parser.pos].number, "unexpected indentation")
    return node


def as_list(node):
    if node is None:
        return []
    return node if isinstance(node, list) else [node]
