"""Line edits of vorn.yaml that leave every other line, comment and blank as it was.

The scheduler writes a handful of things into the file a person also edits:
the ship's name, a route's repositories and their hooks, a new route. Each
edit finds the block it needs by indentation and touches only those lines.
"""

import os
import tempfile

from .yamlmini import split_key, strip_comment, unquote


class EditError(Exception):
    pass


def quoted(value):
    """The value as it must stand in the file so that it reads back unchanged."""
    needs_quotes = (
        value == ""
        or value != value.strip()
        or value[0] in "\"'{[#&*!|>%@`"
        or value.startswith("- ")
        or " #" in value
        or "\n" in value
        or "\t" in value
    )
    if not needs_quotes:
        return value
    escaped = value.replace("\\", "\\\\").replace('"', '\\"').replace("\n", "\\n").replace("\t", "\\t")
    return f'"{escaped}"'


def _pad(indent):
    return " " * indent


class YamlText:
    def __init__(self, text):
        self.lines = text.split("\n")

    def text(self):
        return "\n".join(self.lines)

    # Reading the structure

    def _significant(self, start=0, end=None):
        end = len(self.lines) if end is None else end
        for index in range(start, end):
            stripped = strip_comment(self.lines[index])
            body = stripped.strip()
            if body and body != "---":
                yield index, len(stripped) - len(stripped.lstrip(" ")), body

    def _block_end(self, line, indent, limit=None):
        """One past the last line that belongs under the key on `line`."""
        last = line
        for index, ind, body in self._significant(line + 1, limit):
            if ind < indent or (ind == indent and not body.startswith("- ")):
                break
            last = index
        return last + 1

    def _find_key(self, start, end, indent, key, item_line=None):
        for index, ind, body in self._significant(start, end):
            if index == item_line:
                ind, body = ind + 2, body[2:]
            if ind == indent:
                split = split_key(body)
                if split and split[0] == key:
                    return index
        return None

    def _after_content(self, start, end):
        """One past the last significant line in [start, end), so trailing blanks stay behind."""
        return max((i for i, _, _ in self._significant(start, end)), default=start) + 1

    def _child_indent(self, line, end, fallback):
        for _, ind, _ in self._significant(line + 1, end):
            return ind
        return fallback

    def _rest(self, line):
        body = strip_comment(self.lines[line]).strip()
        if body.startswith("- "):
            body = body[2:]
        split = split_key(body)
        return split[1] if split else ""

    def _set_rest(self, line, rest):
        raw = self.lines[line]
        code = strip_comment(raw)
        comment = raw[len(code):] if "\t" not in raw else ""
        code = code.rstrip()
        old_rest = self._rest(line)
        key_part = code[: len(code) - len(old_rest)].rstrip() if old_rest else code
        new = f"{key_part} {rest}" if rest else key_part
        self.lines[line] = new + (f" {comment.strip()}" if comment.strip() else "")

    def _route_items(self):
        routes = self._find_key(0, None, 0, "routes")
        if routes is None:
            return None, []
        end = self._block_end(routes, 0)
        items = []
        item_indent = None
        for index, ind, body in self._significant(routes + 1, end):
            if body.startswith("-") and (item_indent is None or ind == item_indent):
                item_indent = ind
                items.append(index)
        ranges = [(start, items[i + 1] if i + 1 < len(items) else end, item_indent)
                  for i, start in enumerate(items)]
        return routes, ranges

    def _route_item(self, route):
        _, items = self._route_items()
        for start, end, indent in items:
            key_line = self._find_key(start, end, indent + 2, "route", start)
            if key_line is not None and self._unquoted_rest(key_line) == route:
                return start, end, indent + 2
        raise EditError(f"vorn.yaml has no route {route}")

    def _unquoted_rest(self, line):
        return unquote(self._rest(line))

    def _repo_line(self, route, repo):
        item, item_end, key_indent = self._route_item(route)
        repos = self._find_key(item, item_end, key_indent, "repos", item)
        if repos is None:
            return None
        end = self._block_end(repos, key_indent, item_end)
        child = self._child_indent(repos, end, key_indent + 2)
        line = self._find_key(repos + 1, end, child, repo)
        return None if line is None else (line, child, self._block_end(line, child, end))

    # Edits

    def set_ship_name(self, name):
        ship = self._find_key(0, None, 0, "ship")
        if ship is None:
            raise EditError("vorn.yaml has no `ship:` block")
        if self._rest(ship):
            self._set_rest(ship, "")
        end = self._block_end(ship, 0)
        child = self._child_indent(ship, end, 2)
        line = self._find_key(ship + 1, end, child, "name")
        if line is None:
            self.lines.insert(ship + 1, f"{_pad(child)}name: {quoted(name)}")
        else:
            self._set_rest(line, quoted(name))

    def add_repo(self, route, name, folder):
        item, item_end, key_indent = self._route_item(route)
        repos = self._find_key(item, item_end, key_indent, "repos", item)
        if repos is None:
            entries = [f"{_pad(key_indent + 2)}{name}: {quoted(folder)}"]
            implicit = self._find_key(item, item_end, key_indent, "dir", item)
            if implicit is not None:
                # A route-level dir only counts while repos is empty; keep it as a repo.
                route_name = route.split("/", 1)
                entries.insert(0, f"{_pad(key_indent + 2)}{route_name[-1]}: {self._rest(implicit)}")
            at = self._after_content(item, item_end)
            self.lines[at:at] = [f"{_pad(key_indent)}repos:"] + entries
            return
        if self._rest(repos):
            self._set_rest(repos, "")
        end = self._block_end(repos, key_indent, item_end)
        child = self._child_indent(repos, end, key_indent + 2)
        existing = self._find_key(repos + 1, end, child, name)
        if existing is None:
            self.lines.insert(end, f"{_pad(child)}{name}: {quoted(folder)}")
        elif self._rest(existing):
            self._set_rest(existing, quoted(folder))
        else:
            block_end = self._block_end(existing, child, end)
            dir_line = self._find_key(existing + 1, block_end, self._child_indent(existing, block_end, child + 2), "dir")
            if dir_line is None:
                self.lines.insert(existing + 1, f"{_pad(child + 2)}dir: {quoted(folder)}")
            else:
                self._set_rest(dir_line, quoted(folder))

    def set_repo_hooks(self, route, repo, hooks):
        """Replaces the repository's hooks; None or an empty dict removes them."""
        found = self._repo_line(route, repo)
        if found is None:
            raise EditError(f"route {route} has no repository {repo} in vorn.yaml")
        line, child, end = found
        scalar_dir = self._rest(line)
        if scalar_dir:
            if not hooks:
                return
            self._set_rest(line, "")
            self.lines.insert(line + 1, f"{_pad(child + 2)}dir: {scalar_dir}")
            end = line + 2
        inner = self._child_indent(line, end, child + 2)
        hooks_line = self._find_key(line + 1, end, inner, "hooks")
        at = end
        if hooks_line is not None:
            hooks_end = self._block_end(hooks_line, inner, end)
            del self.lines[hooks_line:hooks_end]
            at = hooks_line
        if hooks:
            block = [f"{_pad(inner)}hooks:"] + [f"{_pad(inner + 2)}{k}: {quoted(v)}" for k, v in hooks.items()]
            self.lines[at:at] = block

    def set_top_level(self, key, mapping):
        """Replaces a top-level block with `key:` and the mapping's pairs; None removes it."""
        line = self._find_key(0, None, 0, key)
        at = len(self.lines)
        if line is not None:
            end = self._block_end(line, 0)
            del self.lines[line:end]
            at = line
        elif self.lines and self.lines[-1] == "":
            at -= 1
        if mapping:
            self.lines[at:at] = [f"{key}:"] + [f"  {k}: {quoted(v)}" for k, v in mapping.items()]

    def append_route(self, item_lines):
        """Adds a route item given as lines indented from column 0 ("- route: x", "  k: v")."""
        routes, items = self._route_items()
        if routes is None:
            while self.lines and self.lines[-1] == "":
                self.lines.pop()
            self.lines += ["", "routes:"] + [f"  {l}" for l in item_lines] + [""]
            return
        if self._rest(routes):
            self._set_rest(routes, "")
        indent = items[0][2] if items else 2
        end = items[-1][1] if items else routes + 1
        end = max(end, routes + 1)
        at = self._after_content(routes, end)
        self.lines[at:at] = [f"{_pad(indent)}{l}" for l in item_lines]


def new_document(ship_name, state_dir, route_lines, agent_bin=None, extra_path=None):
    lines = ["# Written by vorn connect. Edit freely: vorn keeps comments and order.",
             "ship:", f"  name: {quoted(ship_name)}", f"  stateDir: {quoted(state_dir)}"]
    if agent_bin:
        lines += ["  agent:", f"    bin: {quoted(agent_bin)}"]
    if extra_path:
        lines.append(f'  extraPath: "{extra_path}"')
    lines += ["", "routes:"] + [f"  {l}" for l in route_lines]
    return "\n".join(lines) + "\n"


def route_item_lines(route, folder_repos=(), enabled=True, base_url=None):
    lines = [f"- route: {route}", f"  enabled: {'yes' if enabled else 'no'}"]
    if base_url:
        lines.append(f"  baseUrl: {base_url}")
    if folder_repos:
        lines.append("  repos:")
        lines += [f"    {name}: {quoted(folder)}" for name, folder in folder_repos]
    return lines


def edit_file(path, change):
    """Reads the file, applies `change(YamlText)`, and replaces it atomically."""
    with open(path, encoding="utf-8") as handle:
        document = YamlText(handle.read())
    change(document)
    folder = os.path.dirname(os.path.abspath(path))
    handle, staging = tempfile.mkstemp(prefix=".vorn.yaml.", dir=folder)
    try:
        with os.fdopen(handle, "w", encoding="utf-8") as out:
            out.write(document.text())
        os.replace(staging, path)
    finally:
        if os.path.exists(staging):
            os.unlink(staging)

