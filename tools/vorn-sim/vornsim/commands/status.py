"""`vorn status [--json]`: the resolved configuration and this ship's standing."""

import os

from .. import board as boardmod
from .. import events, service
from ..common import load_config, parser, print_json, state_of
from ..config import ROLES
from ..cycle import repo_worktree_prefix


def optional(mapping):
    return {key: value for key, value in mapping.items() if value is not None}


def ship_document(config):
    ship = config.ship
    agent = optional({"bin": ship.agent_bin, "model": ship.agent_model})
    return optional({
        "name": ship.name,
        "platform": ship.platform,
        "agent": agent or None,
        "toolchains": [optional(vars(chain)) for chain in ship.toolchains],
        "toolchain": ship.default_toolchain,
        "stateDir": ship.state_dir,
        "logFile": ship.log_file,
        "eventFile": state_of(config).events_file,
    })


def route_document(route):
    repos = [{"name": repo.name, "dir": repo.dir,
              "worktreePrefix": repo_worktree_prefix(repo.dir, route.worktree_prefix)} for repo in route.repos]
    return optional({"name": route.name, "enabled": route.enabled, "repos": repos, "area": route.area,
                     "toolchain": route.toolchain, "baseUrl": route.base_url})


def marker_since(path):
    try:
        with open(path, encoding="utf-8") as handle:
            text = handle.read().strip()
        if events.parse_timestamp(text):
            return text
        return events.timestamp(events.from_epoch(os.path.getmtime(path)))
    except OSError:
        return None


def attention(config):
    """Open items of the ship, read from what lies in the state folder."""
    state_dir = state_of(config)
    items = []
    for role in ROLES:
        if state_dir.is_paused(role):
            items.append({"kind": "role_parked", "key": role, "message": f"{role} is paused; its tickets wait",
                          "since": marker_since(state_dir.marker(role))})
    board = boardmod.load(state_dir)
    if state_dir.is_paused("release"):
        waiting = [t for t in board.get("tickets", []) if t["stage"] == "release"]
        if waiting:
            items.append({"kind": "release_stale", "key": "release",
                          "message": f"releases are paused; {len(waiting)} verified ticket(s) wait to ship",
                          "since": marker_since(state_dir.marker("release"))})
    for held in board.get("held", []):
        name = os.path.basename(held["path"])
        items.append({"kind": "worktree_held", "key": held["path"],
                      "message": f"{held['ticket']} was left in {name}: {held['reason']}",
                      "since": held["since"],
                      "held": {k: held[k] for k in ("repo", "path", "ticket", "reason")}})
    return items


def document(config):
    route = config.serving_route()
    state_dir = state_of(config)
    result = {"version": 1, "configFile": config.file, "ship": ship_document(config)}
    if route:
        result["route"] = route_document(route)
    seats = [optional({"role": s["role"], "name": s.get("name"), "personaName": s.get("personaName")})
             for s in service.seats() if not route or s.get("route") in (None, route.name)]
    if seats:
        result["vorn"] = {"seats": seats}
    result["attention"] = attention(config)
    row_name, drift = service.name_drift(config.ship.name)
    if drift:
        result["nameDrift"] = drift
        result["rowName"] = row_name
    account = service.account()
    result["passenger"] = {"connected": bool(account.get("signedIn")),
                           "active": any(state_dir.lock_holder(role) for role in ROLES)}
    return result


def text(config):
    state_dir = state_of(config)
    lines = [f"ship      {config.ship.name} ({config.ship.platform})", f"config    {config.file}",
             f"state     {config.state_dir}"]
    for route in config.routes:
        lines.append(f"route     {route.name} \u2014 {'enabled' if route.enabled else 'disabled'}, "
                     f"{len(route.repos)} repo{'s' if len(route.repos) != 1 else ''}")
    paused = [name for name, what in (("vorn", None), ("releases", "release")) if state_dir.is_paused(what)]
    paused += [role for role in ROLES if state_dir.is_paused(role)]
    lines.append(f"paused    {', '.join(paused) if paused else 'nothing'}")
    running = [f"{role} (pid {pid})" for role in ROLES if (pid := state_dir.lock_holder(role))]
    lines.append(f"running   {', '.join(running) if running else 'nothing'}")
    lines.append(f"last poll {state_dir.watermark() or 'never'}")
    account = service.account().get("signedIn")
    lines.append(f"signed in {account['email'] if account else 'no'}")
    return "\n".join(lines)


def main(arguments):
    options = parser("status", "Show the resolved configuration and what the team is doing.")
    options.add_argument("--json", action="store_true")
    parsed = options.parse_args(arguments)
    config = load_config()
    if parsed.json:
        print_json(document(config))
    else:
        print(text(config))
    return 0
