"""`vorn repos list|add|clone|hooks`: a route's repositories, their checkouts and hooks."""

import os
import time

from .. import gitops, hooks, service, yamledit
from ..common import CommandError, load_config, parser, print_json, route_named
from ..config import home_folder


def same_remote(first, second):
    def normalised(remote):
        text = remote.strip().lower()
        text = text[:-4] if text.endswith(".git") else text
        text = text.rstrip("/")
        for prefix in ("https://", "http://", "ssh://", "git://"):
            if text.startswith(prefix):
                text = text[len(prefix):]
        at, slash = text.find("@"), text.find("/")
        if at >= 0 and (slash < 0 or slash > at):
            text = text[at + 1:]
        colon, slash = text.find(":"), text.find("/")
        if colon >= 0 and (slash < 0 or slash > colon):
            text = text[:colon] + "/" + text[colon + 1:]
        return "/".join([piece for piece in text.split("/") if piece][-2:])

    return bool(first and second) and normalised(first) == normalised(second)


def clone_base(route):
    usable = [r for r in route.repos if os.path.isdir(r.dir)]
    return os.path.dirname(usable[0].dir.rstrip("/")) if usable else os.path.join(home_folder(), "src")


def listing(config, route):
    rows = service.repo_rows(route.name)
    attached = {repo.name: repo for repo in route.repos}
    entries = []
    for row in rows:
        entry = {"name": row["name"], "remote": row.get("remote"), "repoRowId": row.get("repoRowId")}
        entries.append(checkout_fields(config, route, attached.pop(row["name"], None), entry, rows))
    for repo in attached.values():
        entries.append(checkout_fields(config, route, repo, {"name": repo.name}, rows))
    return {"repos": [{k: v for k, v in e.items() if v is not None} for e in entries], "cloneBase": clone_base(route)}


def checkout_fields(config, route, repo, entry, rows):
    entry.update(attached=repo is not None, exists=bool(repo and os.path.isdir(repo.dir)), hooksSource="none")
    if repo:
        origin = gitops.origin(repo.dir)
        matched = next((r for r in rows if same_remote(origin, r.get("remote"))), None)
        entry.update(dir=repo.dir, origin=origin, matchedRow=matched.get("repoRowId") if matched else None,
                     hooksSource=hooks.source(config, route, repo)[0])
    return entry


def attach(config, route, name, folder):
    folder = os.path.abspath(os.path.expanduser(folder))
    if not gitops.is_checkout(folder):
        raise CommandError(f"{folder} is not a git checkout")
    yamledit.edit_file(config.file, lambda document: document.add_repo(route.name, name, folder))
    return folder


def cmd_list(config, route, arguments):
    options = parser("repos list", "List the route's repositories.")
    options.add_argument("--json", action="store_true")
    document = listing(config, route)
    if options.parse_args(arguments).json:
        print_json(document)
        return 0
    for entry in document["repos"]:
        where = entry.get("dir", "not attached") + ("" if entry["exists"] or not entry["attached"] else " (missing)")
        print(f"{entry['name']:<14} {where}  hooks: {entry['hooksSource']}")
    return 0


def cmd_add(config, route, arguments):
    options = parser("repos add", "Attach an existing checkout.")
    options.add_argument("name")
    options.add_argument("path")
    parsed = options.parse_args(arguments)
    folder = attach(config, route, parsed.name, parsed.path)
    print(f"attached {parsed.name} at {folder}")
    return 0


def cmd_clone(config, route, arguments):
    options = parser("repos clone", "Clone a listed repository and attach it.")
    options.add_argument("name")
    options.add_argument("--dir")
    options.add_argument("--json", action="store_true")
    parsed = options.parse_args(arguments)
    row = next((r for r in service.repo_rows(route.name) if r["name"] == parsed.name), None)
    if row is None or not row.get("remote"):
        raise CommandError(f"{route.name} lists no repository {parsed.name} with a remote")
    target = os.path.abspath(os.path.expanduser(parsed.dir or os.path.join(clone_base(route), parsed.name)))
    if os.path.exists(target) and os.listdir(target):
        raise CommandError(f"{target} already exists and is not empty")
    if parsed.json:
        print_json({"event": "cloning", "remote": row["remote"], "target": target})
    else:
        print(f"cloning {row['remote']} into {target}", flush=True)
    try:
        gitops.clone(row["remote"], target)
    except gitops.GitError as error:
        raise CommandError(f"clone of {row['remote']} failed: {error}") from error
    attach(config, route, parsed.name, target)
    with service.edit_account() as account:
        account.setdefault("cloned", []).append(target)
    if parsed.json:
        print_json({"event": "attached", "dir": target})
    else:
        print(f"attached {parsed.name} at {target}")
    return 0


def cmd_hooks(config, route, arguments):
    options = parser("repos hooks", "Suggest, write or clear a repository's hooks.")
    options.add_argument("name")
    action = options.add_mutually_exclusive_group(required=True)
    action.add_argument("--suggest", action="store_true")
    action.add_argument("--write", choices=("route", "repo"))
    action.add_argument("--clear", choices=("route",))
    options.add_argument("--agent", action="store_true")
    options.add_argument("--recipes", default="")
    options.add_argument("--hook", action="append", default=[], metavar="NAME=VALUE")
    options.add_argument("--json", action="store_true")
    parsed = options.parse_args(arguments)
    repo = next((r for r in route.repos if r.name == parsed.name), None)
    if repo is None or not os.path.isdir(repo.dir):
        raise CommandError(f"{parsed.name} has no checkout attached on this machine")
    if parsed.suggest:
        return review(config, route, repo) if parsed.agent else suggest(repo)
    if parsed.clear:
        yamledit.edit_file(config.file, lambda document: document.set_repo_hooks(route.name, repo.name, None))
        print(f"cleared the hooks of {repo.name} in {config.file}")
        return 0
    return write(config, route, repo, parsed)


def suggest(repo):
    print_json(hooks.proposal(repo.dir))
    return 0


def review(config, route, repo):
    """An agent reads the checkout and proposes hooks; progress as text, the proposal last."""
    chain = config.toolchain_for(route)
    model = chain.model or config.ship.agent_model or "standard"
    files = [name for name in ("README.md", "Makefile", "package.json", "pyproject.toml", ".github/workflows")
             if os.path.exists(os.path.join(repo.dir, name))]
    for name in files:
        print(f"reading {name}", flush=True)
        time.sleep(1.0 / service.speed())
    result = hooks.proposal(repo.dir)
    if model.startswith("fail:"):
        result["agentError"] = {"reason": model[5:], "message": "the agent CLI is not signed in"}
    else:
        agent_hooks = dict(result["hooks"])
        if "build" not in agent_hooks and "test" in agent_hooks:
            agent_hooks["build"] = "python3 -m compileall -q ."
        result["agent"] = {"hooks": agent_hooks, "filesRead": files,
                           "differsFromSniff": sorted(k for k in agent_hooks if agent_hooks[k] != result["hooks"].get(k)),
                           "notes": ["The tests run without network access."], "toolchain": chain.name, "model": model}
    print_json(result)
    return 0


def write(config, route, repo, parsed):
    chosen = hooks.from_recipes(repo.dir, [r for r in parsed.recipes.split(",") if r])
    for hook_text in parsed.hook:
        name, _, value = hook_text.partition("=")
        if name not in hooks.NAMES or not value.strip():
            raise CommandError(f"bad hook {hook_text!r}: expected one of {', '.join(hooks.NAMES)}=COMMAND")
        chosen[name] = value.strip()
    if not chosen:
        raise CommandError("nothing to write: give --recipes or --hook")
    if parsed.write == "route":
        yamledit.edit_file(config.file, lambda document: document.set_repo_hooks(route.name, repo.name, chosen))
        where = config.file
    else:
        where = hooks.repo_file(repo.dir)
        if not os.path.exists(where):
            with open(where, "w", encoding="utf-8") as handle:
                handle.write("# Hooks for vorn; commit this file so every machine uses them.\n")
        yamledit.edit_file(where, lambda document: document.set_top_level("hooks", chosen))
    print(f"wrote {len(chosen)} hook{'s' if len(chosen) != 1 else ''} for {repo.name} to {where}")
    return 0


ACTIONS = {"list": cmd_list, "add": cmd_add, "clone": cmd_clone, "hooks": cmd_hooks}


def main(arguments):
    if len(arguments) < 2 or arguments[0] not in ACTIONS:
        raise CommandError("usage: vorn repos list|add|clone|hooks ROUTE ...", 2)
    config = load_config()
    route = route_named(config, arguments[1])
    return ACTIONS[arguments[0]](config, route, arguments[2:])

