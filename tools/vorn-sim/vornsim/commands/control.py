"""`pause`, `resume`, `run`, `poll` and `reload`: steering the team by hand."""

import datetime
import random

from .. import board as boardmod
from .. import events, service, yamledit
from ..common import CommandError, load_config, parser, route_and_role, route_named, state_of
from ..config import ROLES
from ..cycle import INCIDENTS, Busy, Cycle, new_cycle_id, resolved_document
from ..team import choose_role
from .ship import row_status


def label(what):
    return {None: "vorn", "release": "releases"}.get(what, what)


def pause(arguments, paused=True):
    name = "pause" if paused else "resume"
    options = parser(name, f"{name.capitalize()} the whole team, one role, or releases (`release`).")
    options.add_argument("words", nargs="*", metavar="[route] [role|release]")
    parsed = options.parse_args(arguments)
    config = load_config()
    _, what = route_and_role(config, parsed.words)
    changed = state_of(config).set_paused(what, paused)
    verb = "paused" if paused else "resumed"
    print(f"{verb} {label(what)}" if changed else f"{label(what)} {'was already paused' if paused else 'was not paused'}")
    return 0


def resume(arguments):
    return pause(arguments, paused=False)


def echo_line(line):
    clock = datetime.datetime.now().strftime("%H:%M:%S")
    scope = f"{line['step']}[{line['role']}]" if line.get("role") else line["step"]
    print(f"{clock} {scope} {line.get('ticket', '')} {line['message']}", flush=True)


def run(arguments):
    options = parser("run", "Run one cycle now, in the foreground.")
    options.add_argument("route", nargs="?")
    options.add_argument("--role", choices=ROLES)
    options.add_argument("--speed", type=float, help="times faster than real time")
    options.add_argument("--incident", choices=(*INCIDENTS, "none"), default="none",
                         help="play one of the team's bad moments in this cycle")
    options.add_argument("--quiet", action="store_true", help="print nothing; the event log has it all")
    options.add_argument("--seed", type=int, help="seed for the cycle's choices")
    parsed = options.parse_args(arguments)
    config = load_config()
    route = route_named(config, parsed.route)
    state_dir = state_of(config)
    if state_dir.is_paused():
        raise CommandError("vorn is paused; run `vorn resume` first")
    role = parsed.role
    if role is None:
        with boardmod.edit(state_dir) as board:
            boardmod.seed(board, route.name)
            role = choose_role(board, route.name, state_dir, 0)
        if role is None:
            raise CommandError("every role is paused")
    elif state_dir.is_paused(role):
        raise CommandError(f"{role} is paused; run `vorn resume {role}` first")
    incident = None if parsed.incident == "none" else parsed.incident
    cycle = Cycle(config, route, role, service.speed(parsed.speed), incident, random.Random(parsed.seed),
                  echo=None if parsed.quiet else echo_line)
    try:
        return cycle.run()
    except Busy as error:
        raise CommandError(str(error)) from error


def reconcile_ship_name(config):
    """Brings the ship's name and its Ships row back in step; gives what was done, if anything."""
    row, drift = service.name_drift(config.ship.name)
    if drift in ("row", "both"):
        yamledit.edit_file(config.file, lambda document: document.set_ship_name(row))
        with service.edit_account() as account:
            account["ship"]["syncedName"] = row
        return f"ship renamed to {row} from the Ships table"
    route = config.serving_route()
    if drift == "local" and route is not None and row_status(route) == "renamed":
        with service.edit_account() as account:
            account["ship"].update(rowName=config.ship.name, syncedName=config.ship.name)
        return f"Ships row renamed to {config.ship.name}"
    return None


def poll(arguments):
    options = parser("poll", "Poll the tracker now and bring the ship's records in step.")
    options.add_argument("route", nargs="?")
    parsed = options.parse_args(arguments)
    config = load_config()
    routes = [route_named(config, parsed.route)] if parsed.route else [r for r in config.routes if r.enabled]
    state_dir = state_of(config)
    cycle = "poll-" + new_cycle_id()
    for route in routes:
        with boardmod.edit(state_dir) as board:
            boardmod.seed(board, route.name)
            open_count = len([t for t in boardmod.tickets(board, route.name) if t["stage"] != "done"])
        message = f"polled {route.name}: {open_count} open"
        state_dir.append_event(events.make(message, "poll", route.name, cycle))
        state_dir.write_resolved(route.name, resolved_document(route))
        print(message)
    state_dir.write_watermark()
    renamed = reconcile_ship_name(config)
    if renamed:
        print(renamed)
    return 0


def reload(arguments):
    parser("reload", "Read vorn.yaml again.").parse_args(arguments)
    config = load_config()
    enabled = len([r for r in config.routes if r.enabled])
    print(f"reloaded {config.file}: {len(config.routes)} route{'s' if len(config.routes) != 1 else ''}, "
          f"{enabled} enabled")
    return 0
