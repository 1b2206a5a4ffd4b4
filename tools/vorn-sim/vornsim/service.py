"""The workspace service as this simulator knows it, and this machine's standing with it.

The catalogue (workspaces, projects, the repository table, people) is read from
service.json in the simulator's home, which the sandbox script writes; without
one a built-in catalogue stands in. The account (sign-in, seats, the ship's
row in the Ships table) lives beside it in account.json: it belongs to the
machine, not to a configuration, so it survives a missing vorn.yaml.
"""

import copy
import os

from . import config as configmod
from . import state

DEFAULT_HOST = "https://pelorinth.example"

BUILT_IN_CATALOGUE = {
    "identity": {"email": "ada@acme.example", "name": "Ada Lovelace"},
    "workspaces": [
        {
            "slug": "acme", "name": "Acme", "role": "WORKSPACE_ADMIN", "template": True,
            "projects": [
                {"id": "prj_web", "slug": "web", "name": "Web", "issuePrefix": "WEB",
                 "repos": [{"name": "web", "remote": "https://git.acme.example/acme/web.git", "repoRowId": "row_web"},
                           {"name": "docs", "remote": "https://git.acme.example/acme/docs.git", "repoRowId": "row_docs"}]},
                {"id": "prj_api", "slug": "api", "name": "API", "issuePrefix": "API",
                 "repos": [{"name": "api", "remote": "https://git.acme.example/acme/api.git", "repoRowId": "row_api"}]},
            ],
        },
        {
            "slug": "globex", "name": "Globex", "role": "WORKSPACE_USER", "template": False, "canInstallTemplate": False,
            "projects": [{"id": "prj_shop", "slug": "shop", "name": "Shop", "issuePrefix": "SHOP", "repos": []}],
        },
    ],
    "operators": [
        {"value": "op_ada", "label": "Ada Lovelace", "detail": "ada@acme.example"},
        {"value": "op_grace", "label": "Grace Hopper", "detail": "grace@acme.example"},
    ],
    "personas": {"dev": "Ada", "design": "Iris", "qa": "Quinn", "triage": "Tess"},
    "speed": 1.0,
    "approveAfterSeconds": 4.0,
}


def home(environ=None):
    environ = os.environ if environ is None else environ
    return environ.get("VORN_SIM_HOME") or os.path.join(configmod.home_folder(environ), ".vorn-sim")


def catalogue_file():
    return os.path.join(home(), "service.json")


def account_file():
    return os.path.join(home(), "account.json")


def catalogue():
    stored = state.read_json(catalogue_file(), {})
    merged = copy.deepcopy(BUILT_IN_CATALOGUE)
    merged.update(stored)
    return merged


def account():
    return state.read_json(account_file(), {})


def edit_account():
    return state.locked_json(account_file(), {})


def speed(override=None):
    """How much faster than real time the team works: flag, then environment, then service.json."""
    for value in (override, os.environ.get("VORN_SIM_SPEED"), catalogue().get("speed")):
        try:
            if value is not None and float(value) > 0:
                return float(value)
        except ValueError:
            continue
    return 1.0


def workspace(slug):
    return next((w for w in catalogue()["workspaces"] if w["slug"].lower() == (slug or "").lower()), None)


def project(workspace_slug, project_slug):
    found = workspace(workspace_slug)
    if not found or project_slug is None:
        return None
    return next((p for p in found["projects"] if p["slug"].lower() == project_slug.lower()), None)


def repo_rows(route_name):
    workspace_slug, _, project_slug = route_name.partition("/")
    found = project(workspace_slug, project_slug or None)
    if found is None and not project_slug and workspace(workspace_slug):
        return [row for p in workspace(workspace_slug)["projects"] for row in p.get("repos", [])]
    return list(found.get("repos", [])) if found else []


def issue_prefix(route_name):
    workspace_slug, _, project_slug = route_name.partition("/")
    found = project(workspace_slug, project_slug or None)
    if found and found.get("issuePrefix"):
        return found["issuePrefix"]
    return (project_slug or workspace_slug).upper().replace("-", "")


def signed_in():
    return account().get("signedIn")


def seats():
    return account().get("seats", [])


def ticket_url(route, ticket):
    host = (route.base_url if route and route.base_url else None) or account().get("host") or DEFAULT_HOST
    return f"{host.rstrip('/')}/{route.name}/issues/{ticket}"


def name_drift(local_name):
    """Which side moved since the ship's name and its row were last in step."""
    ship = account().get("ship")
    if not ship:
        return None, None
    synced = ship.get("syncedName")
    row = ship.get("rowName")
    local_moved = local_name != synced
    row_moved = row != synced
    drift = {(False, False): "none", (False, True): "row", (True, False): "local", (True, True): "both"}
    if local_moved and row_moved and row == local_name:
        return row, "none"
    return row, drift[(local_moved, row_moved)]
