"""`vorn doctor [route] [--json | --fix]` and `vorn install`: the health check and its repairs."""

import os
import shutil

from .. import gitops, hooks, service, timers
from ..common import load_config, parser, print_json, route_named, vorn_path


def search_path(config):
    extra = config.ship.extra_path or ""
    return os.pathsep.join(part for part in (extra, os.environ.get("PATH", "")) if part)


def tools(config):
    found = [{"name": "git", "need": "required", "found": bool(shutil.which("git")),
              "path": shutil.which("git"), "hint": "Install git with your package manager."}]
    for chain in config.ship.toolchains:
        program = chain.bin or chain.harness or chain.name
        path = shutil.which(program, path=search_path(config))
        found.append({"name": chain.harness or chain.name, "need": "optional", "found": bool(path), "path": path,
                      "hint": f"Install {program}, or set the toolchain's bin; the team can run without it."})
    return [{k: v for k, v in tool.items() if v is not None} for tool in found]


def push_auth(route, repo):
    if not os.path.isdir(repo.dir):
        return {"state": "failed", "detail": f"no checkout at {repo.dir}", "hint": "Clone or attach it again."}
    if not gitops.origin(repo.dir):
        return {"state": "skipped", "detail": "no origin remote"}
    result = gitops.git(["push", "--dry-run", "-q", "origin", "HEAD"], cwd=repo.dir, timeout=30, check=False)
    if result.returncode == 0:
        return {"state": "ok"}
    lines = (result.stderr or "").strip().splitlines()
    return {"state": "failed", "detail": lines[-1] if lines else f"git push exited {result.returncode}",
            "hint": "Check that this machine may push to the remote."}


def problems(config, routes):
    found = []
    if not config.routes:
        found.append({"severity": "blocker", "kind": "no_route", "message": "vorn.yaml has no route.",
                      "remedy": "Connect this machine to a workspace.", "command": "vorn connect"})
    elif not any(r.enabled for r in config.routes):
        found.append({"severity": "attention", "kind": "no_enabled_route",
                      "message": "No route is enabled, so the team has nothing to do.",
                      "remedy": "Set enabled: yes on a route."})
    if not service.signed_in():
        found.append({"severity": "blocker", "kind": "signed_out",
                      "message": "This machine is not signed in to the workspace service.",
                      "remedy": "Sign in again.", "command": "vorn connect"})
    if not timers.installed():
        found.append({"severity": "attention", "kind": "timer_missing", "message": "The run timer is not installed.",
                      "remedy": "Install it.", "command": "vorn doctor --fix"})
    for route in routes:
        if not route.repos:
            found.append({"severity": "blocker", "kind": "no_repo", "route": route.name,
                          "message": f"{route.name} has no repository.", "remedy": "Attach a checkout.",
                          "command": f"vorn repos add {route.name} NAME PATH"})
        for repo in route.repos:
            found += repo_problems(config, route, repo)
    return found


def repo_problems(config, route, repo):
    if not os.path.isdir(repo.dir):
        return [{"severity": "blocker", "kind": "repo_missing", "route": route.name, "repo": repo.name,
                 "message": f"{repo.name}: the checkout {repo.dir} is gone."}]
    kept_in, found = hooks.source(config, route, repo)
    if kept_in == "none":
        return [{"severity": "note", "kind": "hooks_none", "route": route.name, "repo": repo.name,
                 "message": f"{repo.name} has no test or build hooks; QA runs will say so.",
                 "command": f"vorn repos hooks {route.name} {repo.name} --suggest"}]
    missing = []
    for name, command in found.items():
        word = hooks.command_word(command)
        if word and not shutil.which(word, path=search_path(config)):
            missing.append({"severity": "attention", "kind": "hook_missing", "route": route.name, "repo": repo.name,
                            "hook": name, "command": word,
                            "message": f"{repo.name}: the {name} hook needs {word}, which is not on vorn's PATH.",
                            "remedy": f"Add the folder that holds {word} to ship.extraPath."})
    return missing


def report(config, routes):
    checks = [{"route": r.name, "repo": repo.name, "result": push_auth(r, repo)} for r in routes for repo in r.repos]
    found_tools = tools(config)
    found = problems(config, routes)
    passed = (len([c for c in checks if c["result"]["state"] in ("ok", "skipped")])
              + len([t for t in found_tools if t["found"]]) + (1 if service.signed_in() else 0))
    return {"offline": os.environ.get("VORN_SIM_OFFLINE") == "1", "pushAuth": checks, "tools": found_tools,
            "problems": found, "passed": passed}


PASS, FAIL = "\u2713", "\u2717"


def text(result):
    marks = {"blocker": FAIL, "attention": "!", "note": "\u00b7"}
    lines = []
    for tool in result["tools"]:
        where = f" at {tool['path']}" if tool.get("path") else f" \u2014 {tool['hint']}"
        lines.append(f"{PASS if tool['found'] else FAIL} {tool['name']} ({tool['need']}){where}")
    for check in result["pushAuth"]:
        outcome = check["result"]
        detail = f": {outcome['detail']}" if outcome.get("detail") else ""
        lines.append(f"{PASS if outcome['state'] == 'ok' else '!'} push {check['route']} {check['repo']} "
                     f"{outcome['state']}{detail}")
    for problem in result["problems"]:
        remedy = f" ({problem['remedy']})" if problem.get("remedy") else ""
        lines.append(f"{marks[problem['severity']]} {problem['message']}{remedy}")
    blockers = len([p for p in result["problems"] if p["severity"] == "blocker"])
    lines.append(f"{result['passed']} passed, {blockers} blocker{'s' if blockers != 1 else ''}")
    return "\n".join(lines)


def fix(config):
    written = timers.install(vorn_path(), config.file, config.ship.log_file)
    for label, interval in written:
        print(f"installed {label} (every {interval} s) at {timers.plist_path(label)}")
    if not service.signed_in():
        print("fix: not signed in; run vorn connect")
    for route in config.routes:
        for repo in route.repos:
            if not os.path.isdir(repo.dir):
                print(f"fix: cannot restore {repo.dir}; attach the checkout again")
    return 0


def main(arguments):
    options = parser("doctor", "Check this machine, and with --fix repair what can be repaired.")
    options.add_argument("route", nargs="?")
    mode = options.add_mutually_exclusive_group()
    mode.add_argument("--json", action="store_true")
    mode.add_argument("--fix", action="store_true")
    parsed = options.parse_args(arguments)
    config = load_config()
    if parsed.fix:
        return fix(config)
    routes = [route_named(config, parsed.route)] if parsed.route else [r for r in config.routes if r.enabled]
    result = report(config, routes)
    # Blockers are findings, not a failure of the check: the exit status stays 0.
    if parsed.json:
        print_json(result)
    else:
        print(text(result))
    return 0


def install(arguments):
    parser("install", "Install the run and release timers.").parse_args(arguments)
    return fix(load_config())
