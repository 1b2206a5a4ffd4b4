"""A repository's hooks: where they are kept, and what a checkout suggests."""

import json
import os
import re

from . import yamlmini

NAMES = ("test", "build", "version", "bump", "released")


def _hooks_of(node):
    hooks = node.get("hooks") if isinstance(node, yamlmini.Mapping) else None
    if not isinstance(hooks, yamlmini.Mapping):
        return {}
    return {k: v for k, v in hooks.pairs if k in NAMES and isinstance(v, str)}


def _parse_file(path):
    try:
        with open(path, encoding="utf-8") as handle:
            return yamlmini.parse(handle.read())
    except (OSError, yamlmini.YAMLError):
        return None


def in_config(config_file, route_name, repo_name):
    """Hooks kept in vorn.yaml under the route's repository (its mapping form)."""
    document = _parse_file(config_file)
    if not isinstance(document, yamlmini.Mapping):
        return {}
    for item in yamlmini.as_list(document.get("routes")):
        if isinstance(item, yamlmini.Mapping) and item.get("route") == route_name:
            repos = item.get("repos")
            return _hooks_of(repos.get(repo_name)) if isinstance(repos, yamlmini.Mapping) else {}
    return {}


def repo_file(folder):
    return os.path.join(folder, ".vorn.yaml")


def in_checkout(folder):
    return _hooks_of(_parse_file(repo_file(folder)))


def source(config, route, repo):
    """("route" | "repo" | "none", hooks): the checkout's own file goes first."""
    own = in_checkout(repo.dir)
    if own:
        return "repo", own
    kept = in_config(config.file, route.name, repo.name)
    return ("route", kept) if kept else ("none", {})


def _makefile_targets(folder):
    try:
        with open(os.path.join(folder, "Makefile"), encoding="utf-8") as handle:
            return set(re.findall(r"^([A-Za-z0-9_.-]+):", handle.read(), re.M))
    except OSError:
        return set()


def _package_scripts(folder):
    try:
        with open(os.path.join(folder, "package.json"), encoding="utf-8") as handle:
            scripts = json.load(handle).get("scripts", {})
        return scripts if isinstance(scripts, dict) else {}
    except (OSError, ValueError, AttributeError):
        return {}


def recipes(folder):
    found = []
    targets = _makefile_targets(folder)
    make_hooks = {name: f"make {name}" for name in ("test", "build") if name in targets}
    if make_hooks:
        found.append({"id": "make", "title": "Makefile targets", "description": "Run the Makefile's own targets.",
                      "evidence": ["Makefile"], "hooks": make_hooks, "writable": True, "defaultOn": True})
    scripts = _package_scripts(folder)
    npm_hooks = {name: ("npm test" if name == "test" else f"npm run {name}") for name in ("test", "build")
                 if name in scripts}
    if npm_hooks:
        found.append({"id": "npm", "title": "package.json scripts", "description": "Run the package's scripts.",
                      "evidence": ["package.json"], "hooks": npm_hooks, "writable": True,
                      "defaultOn": not make_hooks})
    if os.path.isfile(os.path.join(folder, "pyproject.toml")):
        found.append({"id": "python", "title": "Python tests", "description": "Run the unittest suite.",
                      "evidence": ["pyproject.toml"], "hooks": {"test": "python3 -m unittest"},
                      "writable": True, "defaultOn": not (make_hooks or npm_hooks)})
    if os.path.isfile(os.path.join(folder, "VERSION")):
        found.append({"id": "version-file", "title": "VERSION file",
                      "description": "Read and bump the version kept in VERSION.", "evidence": ["VERSION"],
                      "hooks": {"version": "cat VERSION"}, "writable": False, "defaultOn": False})
    return found


def proposal(folder):
    """What `repos hooks --suggest` prints: the detection and its recipes."""
    found = recipes(folder)
    chosen = {}
    for recipe in found:
        if recipe["defaultOn"] and recipe["writable"]:
            for name, value in recipe["hooks"].items():
                chosen.setdefault(name, value)
    result = {"hooks": chosen, "notes": [], "recipes": found}
    if found:
        result["source"] = found[0]["evidence"][0]
    else:
        result["notes"].append("Nothing was detected: no Makefile, package.json or pyproject.toml.")
    return result


def from_recipes(folder, recipe_ids):
    chosen = {}
    for recipe in recipes(folder):
        if recipe["id"] in recipe_ids and recipe["writable"]:
            chosen.update(recipe["hooks"])
    return chosen


def command_word(hook):
    words = hook.split()
    return words[0] if words else None
