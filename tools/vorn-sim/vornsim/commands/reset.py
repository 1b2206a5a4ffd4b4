"""`vorn disconnect --reset [--remove-checkouts] [--dry-run] [--json]`: take this machine's setup apart.

It is not a transaction: each step is reported as it goes, and the first failure
stops the rest. Checkouts with changes are never deleted: when asked to delete
them, a dirty one refuses the whole run before anything is touched.
"""

import os
import shutil
import signal

from .. import config as configmod
from .. import gitops, service, timers
from ..common import parser, print_json
from ..config import ROLES
from ..state import StateDir


def step(kind, target, action, detail=None):
    found = {"step": kind, "target": target, "action": action}
    if detail:
        found["detail"] = detail
    return found


def current_config():
    try:
        return configmod.discover_and_load()
    except configmod.ConfigNotFound:
        return None
    except configmod.ConfigMalformed:
        return configmod.Config(ship=None, routes=[], file=configmod.discover())


def dirty_checkouts(account):
    return [step("checkout", folder, "kept", "has changes that are not committed or pushed")
            for folder in account.get("cloned", []) if os.path.isdir(folder) and gitops.is_dirty(folder)]


def planned(config, account, remove_checkouts):
    """Every step, in order, as (report entry, function doing it)."""
    plan = []
    if config and config.ship:
        state_dir = StateDir(config.state_dir)
        for role in ROLES:
            pid = state_dir.lock_holder(role)
            if pid:
                plan.append((step("cycle", f"{role} (pid {pid})", "stopped"), lambda p=pid: os.kill(p, signal.SIGTERM)))
    for label in timers.installed():
        plan.append((step("timer", label, "removed"), lambda l=label: os.unlink(timers.plist_path(l))))
    if remove_checkouts:
        for folder in account.get("cloned", []):
            if os.path.isdir(folder):
                plan.append((step("checkout", folder, "deleted"), lambda f=folder: shutil.rmtree(f)))
    if account.get("signedIn"):
        plan.append((step("signin", account["signedIn"]["email"], "signed out"), None))
    for seat in account.get("seats", []):
        plan.append((step("seat", f"{seat['role']} on {seat.get('route', '-')}", "revoked"), None))
    for harness in account.get("mcp", {}):
        plan.append((step("mcp", harness, "removed"), None))
    if account.get("pair"):
        plan.append((step("pair", "skills", "removed"), None))
    if config:
        plan.append((step("config", config.file, "removed"), lambda: os.unlink(config.file)))
    return plan


def forget_account(remove_checkouts):
    with service.edit_account() as account:
        kept_clones = [] if remove_checkouts else account.get("cloned", [])
        account.clear()
        if kept_clones:
            account["cloned"] = kept_clones


def reset(remove_checkouts, dry_run):
    config = current_config()
    account = service.account()
    if remove_checkouts:
        refused = dirty_checkouts(account)
        if refused:
            return {"dryRun": dry_run, "ok": False, "steps": refused}
    steps = []
    for entry, action in planned(config, account, remove_checkouts):
        if dry_run:
            steps.append(dict(entry, action=f"would be {entry['action']}"))
            continue
        try:
            if action:
                action()
        except OSError as error:
            steps.append(dict(entry, action="failed", detail=error.strerror or str(error)))
            return {"dryRun": False, "ok": False, "steps": steps}
        steps.append(entry)
    if not dry_run:
        forget_account(remove_checkouts)
    return {"dryRun": dry_run, "ok": True, "steps": steps}


def main(arguments):
    options = parser("disconnect", "Remove this machine's setup: vorn disconnect --reset.")
    options.add_argument("--reset", action="store_true", required=True)
    options.add_argument("--remove-checkouts", action="store_true")
    options.add_argument("--dry-run", action="store_true")
    options.add_argument("--json", action="store_true")
    parsed = options.parse_args(arguments)
    report = reset(parsed.remove_checkouts, parsed.dry_run)
    if parsed.json:
        print_json(report)
    else:
        for entry in report["steps"]:
            detail = f" \u2014 {entry['detail']}" if entry.get("detail") else ""
            print(f"{entry['step']:<9} {entry['target']}: {entry['action']}{detail}")
        if not report["steps"]:
            print("nothing to remove; this machine was already clean")
    return 0 if report["ok"] else 1

