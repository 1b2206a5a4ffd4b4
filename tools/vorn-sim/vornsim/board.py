"""The tickets the team works, as the tracker would hold them, kept in board.json.

A ticket moves triage → (design →) dev → qa → release → done; QA may bounce
it back to dev. Each role takes the tickets waiting at its own stage.
"""

import os

from . import events, service, state

STAGE_OF_ROLE = {"triage": ("triage",), "design": ("design",), "dev": ("dev",), "qa": ("release", "qa")}
KEEP_DONE = 30

TITLES = [
    "Rate-limit the sign-in endpoint",
    "Show the last sync time in the footer",
    "Fix the date picker on narrow screens",
    "Add CSV export to the orders list",
    "Cache the avatar thumbnails",
    "Retry webhooks with back-off",
    "Make the search box keep its query on reload",
    "Translate the onboarding e-mails",
    "Drop the unused feature flags",
    "Paginate the audit log",
    "Warn before deleting a project with open tickets",
    "Speed up the dashboard's first paint",
    "Let admins rename a workspace",
    "Handle empty states in the reports view",
    "Keep keyboard focus after closing a dialog",
    "Log slow queries above 500 ms",
    "Accept plus signs in e-mail addresses",
    "Show who changed a ticket's status",
    "Fix the off-by-one in invoice numbering",
    "Add a dark theme toggle",
]

ATTENTION_REASONS = ["needs a product decision", "acceptance criteria unclear", "blocked by a missing API key"]


def load(state_dir):
    return state.read_json(state_dir.board_file, {})


def edit(state_dir):
    return state.locked_json(state_dir.board_file, {})


def tickets(board, route=None):
    return [t for t in board.get("tickets", []) if route is None or t["route"] == route]


def find(board, ticket_id):
    return next((t for t in board.get("tickets", []) if t["id"] == ticket_id), None)


def new_ticket(board, route, stage="triage", title=None, sample=False, repo_dir=None, number=None):
    prefix = "SAMPLE" if sample else service.issue_prefix(route)
    counters = board.setdefault("counters", {})
    if number is None:
        number = counters.get(prefix, 100 if not sample else 0) + 1
    counters[prefix] = max(counters.get(prefix, 0), number)
    ticket = {
        "id": f"{prefix}-{number}",
        "number": number,
        "title": title or TITLES[number % len(TITLES)],
        "route": route,
        "stage": stage,
        "needsDesign": number % 3 == 0,
        "attention": ATTENTION_REASONS[number % len(ATTENTION_REASONS)] if number % 4 == 2 else None,
        "bounces": 0,
        "sample": sample,
        "repoDir": repo_dir,
        "createdAt": events.timestamp(),
    }
    board.setdefault("tickets", []).append(ticket)
    return ticket


def seed(board, route):
    """A fresh board starts with work for every role, so the first cycles show the whole story."""
    if tickets(board, route):
        return
    for stage in ("dev", "dev", "triage", "design", "triage", "triage"):
        new_ticket(board, route, stage=stage)


def queue(board, route, role, release_paused=False):
    stages = STAGE_OF_ROLE[role]
    waiting = [t for t in tickets(board, route) if t["stage"] in stages]
    if release_paused:
        waiting = [t for t in waiting if t["stage"] != "release"]
    # Samples first, then releases before fresh QA work, then oldest first.
    return sorted(waiting, key=lambda t: (not t.get("sample"), stages.index(t["stage"]), t["createdAt"], t["number"]))


def rank(board, ticket_id):
    """The ticket's place among the route's open tickets, oldest first: 1 is the top."""
    ticket = find(board, ticket_id)
    open_tickets = sorted((t for t in tickets(board, ticket["route"]) if t["stage"] != "done"),
                          key=lambda t: (not t.get("sample"), t["createdAt"], t["number"]))
    return 1 + [t["id"] for t in open_tickets].index(ticket_id)


def roles_with_work(board, route, release_paused=False):
    return [role for role in STAGE_OF_ROLE if queue(board, route, role, release_paused)]


def move(board, ticket_id, stage, **changes):
    ticket = find(board, ticket_id)
    if ticket is None:
        return None
    ticket["stage"] = stage
    ticket.update(changes)
    ticket["updatedAt"] = events.timestamp()
    if stage == "done":
        done = [t for t in board["tickets"] if t["stage"] == "done"]
        for old in done[:-KEEP_DONE]:
            board["tickets"].remove(old)
    return ticket


def hold_worktree(board, ticket, path, repo, reason):
    release_worktree(board, path)
    board.setdefault("held", []).append(
        {"repo": repo, "path": path, "ticket": ticket, "reason": reason, "since": events.timestamp()})


def release_worktree(board, path):
    board["held"] = [h for h in board.get("held", []) if h["path"] != path]


def next_version(board, repo):
    versions = board.setdefault("versions", {})
    major, minor, patch = (int(x) for x in versions.get(repo, "1.4.0").split("."))
    versions[repo] = f"{major}.{minor}.{patch + 1}"
    return versions[repo]


def worktree_path(repo_dir, prefix, number):
    return os.path.join(os.path.dirname(repo_dir.rstrip("/")), f"{prefix}{number}")
