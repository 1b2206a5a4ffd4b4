"""`vorn connect [workspace] --json ...`: sign in by device code, pick a workspace and
project, and provision this machine, one JSON object a line.

It never waits for a person's answer on its input. When it needs one it prints a
`choice` and ends with status 3; the caller runs it again with `--choose key=value`
for every answer it holds. `--dry-run` stops before anything is written.
"""

import os
import random
import shutil
import string
import sys
import time

from .. import config as configmod
from .. import service, yamledit
from ..common import parser, print_json
from ..config import ROLES
from ..cycle import resolved_document
from ..state import StateDir

NEEDS_ANSWER = 3
ROLE_LABELS = {"WORKSPACE_ADMIN": "Admin", "WORKSPACE_USER": "Member"}


class Stop(Exception):
    def __init__(self, status):
        super().__init__(status)
        self.status = status


class Output:
    def __init__(self, as_json):
        self.as_json = as_json

    def __call__(self, event, message=None, **fields):
        line = {"event": event, **fields}
        if message is not None:
            line["message"] = message
        if self.as_json:
            print_json(line)
        else:
            print(message or " ".join(f"{k}={v}" for k, v in line.items()), flush=True)
        time.sleep(0.15 / service.speed())

    def problem(self, stage, message, status=2):
        self(event="problem", stage=stage, message=message)
        raise Stop(status)


def user_code():
    letters = "".join(random.choice(string.ascii_uppercase) for _ in range(8))
    return f"{letters[:4]}-{letters[4:]}"


def sign_in(emit, host):
    account = service.account()
    if account.get("signedIn"):
        return account["signedIn"]
    code = user_code()
    emit("device_code", f"Open {host}/device and enter {code}", userCode=code,
         verificationUri=f"{host}/device", verificationUriComplete=f"{host}/device?code={code}", expiresIn=900)
    outcome = os.environ.get("VORN_SIM_SIGNIN", "approve")
    delay = float(os.environ.get("VORN_SIM_APPROVE_SECONDS", service.catalogue().get("approveAfterSeconds", 4.0)))
    time.sleep(max(0.0, delay))
    if outcome == "deny":
        emit.problem("sign-in", "The sign-in was denied in the browser.")
    if outcome == "expire":
        emit.problem("sign-in", "The code expired before it was approved.")
    identity = dict(service.catalogue()["identity"], host=host)
    with service.edit_account() as stored:
        stored["signedIn"] = identity
        stored["host"] = host
    return identity


def choose_workspace(emit, slug, answers, workspaces):
    slug = slug or answers.get("workspace")
    if not slug and len(workspaces) == 1:
        slug = workspaces[0]["slug"]
    if not slug:
        emit("choice", "Which workspace should this machine work for?", key="workspace",
             options=[{"value": w["slug"], "label": w["name"], "detail": ROLE_LABELS.get(w["role"], w["role"])}
                      for w in workspaces])
        raise Stop(NEEDS_ANSWER)
    workspace = service.workspace(slug)
    if workspace is None:
        emit.problem("workspace", f"This account has no workspace \u201c{slug}\u201d.")
    emit("workspace_resolved", f"workspace {workspace['name']}", slug=workspace["slug"], name=workspace["name"],
         role=workspace["role"])
    return workspace


def check_template(emit, workspace, answers):
    if workspace.get("template"):
        return
    can_install = workspace.get("canInstallTemplate", workspace["role"] == "WORKSPACE_ADMIN")
    if can_install and answers.get("install-template") == "yes":
        emit("template_installed", "installed the vorn template", projectSlug="vorn")
        return
    emit("template_missing", "this workspace lacks the vorn template", canInstall=can_install)
    if not can_install:
        emit.problem("template", "The workspace lacks the vorn template, and this account cannot install it. "
                                 "Ask a workspace admin.")
    emit("choice", "Install the vorn template in this workspace?", key="install-template",
         options=[{"value": "yes", "label": "Install it"}, {"value": "no", "label": "Not now"}])
    raise Stop(NEEDS_ANSWER)


def open_questions(emit, workspace, answers, identity):
    """Prints the project and operator questions still open; gives (project, operator) when none is."""
    projects = workspace["projects"]
    emit("project_options", f"{len(projects)} projects", options=[{"slug": p["slug"], "name": p["name"]} for p in projects])
    project = answers.get("project") or (projects[0]["slug"] if len(projects) == 1 else None)
    open_keys = []
    if project is None:
        emit("choice", "Which project should this machine take tickets from?", key="project",
             options=[{"value": p["slug"], "label": p["name"], "detail": p.get("issuePrefix")} for p in projects])
        open_keys.append("project")
    elif service.project(workspace["slug"], project) is None:
        emit.problem("project", f"{workspace['name']} has no project \u201c{project}\u201d.")
    capabilities(emit)
    operator = answers.get("operator")
    if operator is None:
        operators = service.catalogue()["operators"]
        emit("choice", "Which operator record is you?", key="operator",
             options=operators + [{"value": "new", "label": f"Create one for {identity['name']}"}])
        open_keys.append("operator")
    if open_keys:
        raise Stop(NEEDS_ANSWER)
    return service.project(workspace["slug"], project), operator


def capabilities(emit):
    agent = shutil.which("claude")
    emit("capabilities", "checked this machine", items=[
        {"key": "git", "label": "git", "status": "ok" if shutil.which("git") else "missing"},
        {"key": "agent", "label": "Agent CLI", "status": "ok" if agent else "missing", "askFor": "agent-bin"},
    ])


def provision(emit, parsed, identity, workspace, project, operator):
    route = f"{workspace['slug']}/{project['slug']}"
    existing = existing_config()
    ship_name = parsed.ship_name or (existing.ship.name if existing else "this ship")
    with service.edit_account() as account:
        had_row = bool(account.get("ship"))
        account["ship"] = {"rowName": ship_name, "syncedName": ship_name}
        mcp = account.setdefault("mcp", {})
        mcp_before = mcp.get("claude")
        replace = parsed.mcp == "replace"
        if mcp_before is None or replace:
            mcp["claude"] = f"key-{workspace['slug']}"
        personas = service.catalogue()["personas"]
        account["seats"] = [s for s in account.get("seats", []) if s.get("route") != route] + [
            {"role": role, "name": f"{role.capitalize() if role != 'qa' else 'QA'} on {ship_name}",
             "personaName": personas.get(role), "route": route} for role in ROLES]
        account["pair"] = True
    emit("ship_row", f"ship {ship_name}", name=ship_name, action="matched" if had_row else "created")
    emit("operator_row", f"operator {identity['name']}", action="created" if operator == "new" else "linked",
         name=identity["name"], email=identity["email"])
    for role in ROLES:
        emit("seat", f"seat {role}", role=role, action="created", key="minted")
    if mcp_before is not None and not replace:
        emit("mcp_registered", "Left your existing connection alone: it uses a different key.", harness="claude")
    else:
        emit("mcp_registered", "replaced your previous connection" if mcp_before else "registered the vorn connection",
             harness="claude")
    emit("pair_installed", "installed the Pair skills", harness="claude")
    admin = workspace["role"] == "WORKSPACE_ADMIN"
    emit("agents_synced", "agents synced", admin=admin,
         personas=[{"role": role, "name": personas.get(role), "action": "linked" if admin else "missing"}
                   for role in ROLES])
    write_config(emit, parsed, route, ship_name)
    emit("done", "this machine is connected", dryRun=False)


def existing_config():
    try:
        return configmod.discover_and_load()
    except (configmod.ConfigNotFound, configmod.ConfigMalformed):
        return None


def write_config(emit, parsed, route_name, ship_name):
    base_url = parsed.base_url if parsed.base_url and parsed.base_url != service.DEFAULT_HOST else None
    item = yamledit.route_item_lines(route_name, base_url=base_url)
    try:
        path = configmod.discover()
    except configmod.ConfigNotFound:
        path = configmod.file_to_write()
        os.makedirs(os.path.dirname(path), exist_ok=True)
        state_dir = os.path.join(os.path.dirname(path), "state")
        with open(path, "w", encoding="utf-8") as handle:
            handle.write(yamledit.new_document(ship_name, state_dir, item, parsed.agent_bin, parsed.extra_path))
        emit("config", f"wrote {path}", written=True, path=path)
    else:
        current = configmod.load(path)
        if current.route(route_name):
            emit("config", f"{path} already has {route_name}", written=False, reason="exists", path=path)
        else:
            yamledit.edit_file(path, lambda document: document.append_route(item))
            emit("config", f"added {route_name} to {path}", written=True, path=path)
    written = configmod.load(path)
    StateDir(written.state_dir).write_resolved(route_name, resolved_document(written.route(route_name)))


def sign_out(parsed):
    with service.edit_account() as account:
        identity = account.pop("signedIn", None)
    result = {"event": "signed_out", "ok": True}
    if identity:
        result["email"] = identity["email"]
    if parsed.json:
        print_json(result)
    else:
        print(f"signed out of {identity['email']}" if identity else "not signed in")
    return 0


def main(arguments):
    options = parser("connect", "Sign in and connect this machine to a workspace.")
    options.add_argument("workspace", nargs="?")
    options.add_argument("--json", action="store_true")
    options.add_argument("--no-wizard", action="store_true")
    options.add_argument("--base-url")
    options.add_argument("--dry-run", action="store_true")
    options.add_argument("--ship-name")
    options.add_argument("--agent-bin")
    options.add_argument("--extra-path")
    options.add_argument("--mcp", choices=("replace",))
    options.add_argument("--choose", action="append", default=[], metavar="KEY=VALUE")
    options.add_argument("--sign-out", action="store_true")
    parsed = options.parse_args(arguments)
    if parsed.sign_out:
        return sign_out(parsed)
    answers = dict(choice.partition("=")[::2] for choice in parsed.choose)
    emit = Output(parsed.json)
    host = (parsed.base_url or service.account().get("host") or service.DEFAULT_HOST).rstrip("/")
    try:
        identity = sign_in(emit, host)
        workspaces = service.catalogue()["workspaces"]
        emit("signed_in", f"signed in as {identity['email']}", identity={"email": identity["email"],
             "name": identity["name"]}, workspaces=[{"slug": w["slug"], "name": w["name"], "role": w["role"]}
                                                    for w in workspaces])
        workspace = choose_workspace(emit, parsed.workspace, answers, workspaces)
        check_template(emit, workspace, answers)
        project, operator = open_questions(emit, workspace, answers, identity)
        if parsed.dry_run:
            emit("done", "ready to connect", dryRun=True)
            return 0
        provision(emit, parsed, identity, workspace, project, operator)
        return 0
    except Stop as stop:
        return stop.status
    except (OSError, configmod.ConfigMalformed, yamledit.EditError) as error:
        print(f"vorn connect: {error}", file=sys.stderr)
        emit("problem", str(error), stage="config")
        return 1
