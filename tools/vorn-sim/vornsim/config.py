"""Finding and reading vorn.yaml, with the same search and defaults the app uses."""

import os
from dataclasses import dataclass, field

from . import yamlmini

ROLES = ("dev", "design", "qa", "triage")


class ConfigNotFound(Exception):
    def __init__(self, candidates):
        self.candidates = candidates
        lines = "\n".join(f"  {path}" for path in candidates)
        super().__init__(f"no vorn.yaml found. Looked in:\n{lines}")


class ConfigMalformed(Exception):
    def __init__(self, reason):
        super().__init__(f"vorn.yaml could not be read \u2014 {reason}")


@dataclass
class Toolchain:
    name: str
    harness: str | None = None
    bin: str | None = None
    launcher: str | None = None
    model: str | None = None


@dataclass
class Repo:
    name: str
    dir: str


@dataclass
class Route:
    name: str
    enabled: bool
    worktree_prefix: str
    repos: list
    toolchain: str | None = None
    area: str | None = None
    base_url: str | None = None

    @property
    def workspace(self):
        return self.name.split("/", 1)[0]

    @property
    def project(self):
        parts = self.name.split("/", 1)
        return parts[1] if len(parts) == 2 else None


@dataclass
class Ship:
    name: str
    platform: str
    state_dir: str
    log_file: str
    agent_bin: str | None = None
    agent_model: str | None = None
    toolchains: list = field(default_factory=list)
    default_toolchain: str | None = None
    extra_path: str | None = None


@dataclass
class Config:
    ship: Ship
    routes: list
    file: str

    @property
    def state_dir(self):
        return self.ship.state_dir

    def route(self, name=None):
        if name is None:
            return self.routes[0] if self.routes else None
        return next((r for r in self.routes if r.name == name), None)

    def serving_route(self):
        """The route a bare command talks about: the first enabled one, else the first."""
        return next((r for r in self.routes if r.enabled), self.route())

    def toolchain(self, name):
        return next((t for t in self.ship.toolchains if t.name == name), None)

    def toolchain_for(self, route):
        name = (route.toolchain if route else None) or self.ship.default_toolchain
        if name is None and self.ship.toolchains:
            name = self.ship.toolchains[0].name
        return self.toolchain(name) or Toolchain(name or "default")


def search_path(environ, home):
    candidates = []
    if environ:
        config = environ.get("VORN_CONFIG", "")
        if config:
            path = _expand_tilde(config, home)
            candidates.append(os.path.join(path, "vorn.yaml") if os.path.isdir(path) else path)
        xdg = environ.get("XDG_CONFIG_HOME", "")
        if xdg:
            candidates.append(os.path.join(_expand_tilde(xdg, home), "vorn", "vorn.yaml"))
    candidates.append(os.path.join(home, ".config", "vorn", "vorn.yaml"))
    return candidates


def home_folder(environ=None):
    environ = os.environ if environ is None else environ
    home = environ.get("HOME", "")
    return home if home.startswith("/") else os.path.expanduser("~")


def discover(environ=None):
    """The configuration file in force, or ConfigNotFound listing where it looked."""
    environ = os.environ if environ is None else environ
    candidates = search_path(environ, home_folder(environ))
    for candidate in candidates:
        if os.path.isfile(candidate):
            return candidate
    raise ConfigNotFound(candidates)


def file_to_write(environ=None):
    """Where a new configuration goes: the first candidate of the search."""
    environ = os.environ if environ is None else environ
    return search_path(environ, home_folder(environ))[0]


def load(path):
    try:
        with open(path, encoding="utf-8") as handle:
            text = handle.read()
    except (OSError, UnicodeDecodeError) as error:
        raise ConfigMalformed(str(error)) from error
    try:
        document = yamlmini.parse(text)
    except yamlmini.YAMLError as error:
        raise ConfigMalformed(str(error)) from error
    if not isinstance(document, yamlmini.Mapping) or "ship" not in document:
        raise ConfigMalformed("no `ship:` block")
    base = os.path.dirname(os.path.abspath(path))
    ship = _read_ship(document.get("ship"), base)
    routes = [r for r in map(lambda item: _read_route(item, base), yamlmini.as_list(document.get("routes"))) if r]
    return Config(ship=ship, routes=routes, file=os.path.abspath(path))


def discover_and_load(environ=None):
    return load(discover(environ))


def _scalar(node, key):
    value = node.get(key) if isinstance(node, yamlmini.Mapping) else None
    return value if isinstance(value, str) else None


def _read_ship(node, base):
    agent = node.get("agent") if isinstance(node, yamlmini.Mapping) else None
    toolchains = []
    chains = node.get("toolchains") if isinstance(node, yamlmini.Mapping) else None
    if isinstance(chains, yamlmini.Mapping):
        for name, value in chains.pairs:
            toolchains.append(
                Toolchain(name, _scalar(value, "harness"), _scalar(value, "bin"),
                          _scalar(value, "launcher"), _scalar(value, "model")))
    return Ship(
        name=_scalar(node, "name") or "this ship",
        platform=_scalar(node, "platform") or "macos",
        state_dir=expand_path(_scalar(node, "stateDir") or "state", base),
        log_file=expand_path(_scalar(node, "logFile") or "/tmp/vorn.log", base),
        agent_bin=_scalar(agent, "bin"),
        agent_model=_scalar(agent, "model"),
        toolchains=toolchains,
        default_toolchain=_scalar(node, "toolchain"),
        extra_path=_scalar(node, "extraPath"),
    )


def _read_route(item, base):
    name = _scalar(item, "route")
    if not name:
        return None
    workspace, _, project = name.partition("/")
    repos = []
    repo_map = item.get("repos")
    if isinstance(repo_map, yamlmini.Mapping):
        for repo_name, value in repo_map.pairs:
            folder = value if isinstance(value, str) else _scalar(value, "dir")
            if folder is not None:
                repos.append(Repo(repo_name, expand_path(folder, base)))
    if not repos and _scalar(item, "dir") is not None:
        repos.append(Repo(project or workspace, expand_path(_scalar(item, "dir"), base)))
    enabled = (_scalar(item, "enabled") or "").lower() in ("true", "yes", "on")
    return Route(
        name=name,
        enabled=enabled,
        worktree_prefix=_scalar(item, "worktreePrefix") or f"{project or workspace}-issue-",
        repos=repos,
        toolchain=_scalar(item, "toolchain"),
        area=_scalar(item, "area"),
        base_url=_scalar(item, "baseUrl"),
    )


def _expand_tilde(text, home):
    if text == "~" or text.startswith("~/"):
        return home + text[1:]
    return os.path.expanduser(text) if text.startswith("~") else text


def expand_path(text, base):
    home = home_folder()
    text = _expand_tilde(text, home).replace("${HOME}", home).replace("$HOME", home)
    if text.startswith("/"):
        return text
    return os.path.normpath(os.path.join(base, text))
