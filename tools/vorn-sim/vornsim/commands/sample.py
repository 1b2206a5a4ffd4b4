"""`vorn sample-ticket [--json] [--remove]`: a throw-away ticket on a throw-away repository,
for watching the team take one ticket through dev, QA and release."""

import os
import shutil

from .. import board as boardmod
from .. import gitops
from ..common import CommandError, load_config, parser, print_json, state_of
from ..config import home_folder

TITLE = "Add a function that reverses text, with its test"
FILES = {
    "README.md": "# Sample\n\nA throw-away repository for vorn's sample ticket.\n",
    "Makefile": "test:\n\tpython3 -m unittest -q\n",
}


def sample_dir():
    return os.path.join(home_folder(), "vorn-sample", "repo")


def say(parsed, event):
    if parsed.json:
        print_json(event)
    elif event["event"] == "filed":
        print(f"filed {event['ticket']}; the sample repository is {event['dir']}")
    else:
        print(event.get("message") or f"removed {event.get('ticket') or 'nothing'}")


def file_ticket(parsed, config):
    route = next((r for r in config.routes if r.enabled), None)
    if route is None:
        say(parsed, {"event": "error", "message": "No enabled route to file the sample ticket on."})
        return 1
    folder = sample_dir()
    state_dir = state_of(config)
    with boardmod.edit(state_dir) as board:
        ticket = next((t for t in board.get("tickets", []) if t.get("sample") and t["stage"] != "done"), None)
        if ticket is None:
            try:
                if not gitops.is_checkout(folder):
                    gitops.init(folder, FILES, "Sample repository")
            except (gitops.GitError, OSError) as error:
                say(parsed, {"event": "error", "message": f"could not prepare {folder}: {error}"})
                return 1
            ticket = boardmod.new_ticket(board, route.name, stage="dev", title=TITLE, sample=True, repo_dir=folder)
    say(parsed, {"event": "filed", "ticket": ticket["id"], "dir": folder})
    return 0


def remove(parsed, config):
    folder = sample_dir()
    with boardmod.edit(state_of(config)) as board:
        samples = [t for t in board.get("tickets", []) if t.get("sample")]
        for ticket in samples:
            if ticket.get("worktree") and os.path.isdir(folder):
                gitops.remove_worktree(folder, ticket["worktree"], ticket.get("branch"))
            boardmod.release_worktree(board, ticket.get("worktree"))
            board["tickets"].remove(ticket)
    shutil.rmtree(os.path.dirname(folder), ignore_errors=True)
    open_ids = [t["id"] for t in samples]
    say(parsed, {"event": "removed", "ticket": open_ids[-1] if open_ids else None,
                 "message": f"removed {', '.join(open_ids)}" if open_ids else "no sample ticket to remove"})
    return 0


def main(arguments):
    options = parser("sample-ticket", "File a sample ticket, or remove it with --remove.")
    options.add_argument("--json", action="store_true")
    options.add_argument("--remove", action="store_true")
    parsed = options.parse_args(arguments)
    try:
        config = load_config()
    except CommandError as error:
        if parsed.json:
            print_json({"event": "error", "message": str(error)})
            return 1
        raise
    return remove(parsed, config) if parsed.remove else file_ticket(parsed, config)
