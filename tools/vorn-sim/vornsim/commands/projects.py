"""`vorn projects [--route R] [--json]`: the projects each route's workspace offers."""

from .. import service
from ..common import load_config, parser, print_json, route_named


def choices(route):
    workspace = service.workspace(route.workspace)
    if workspace is None:
        return []
    current = (route.project or "").lower()
    return [{"id": p["id"], "name": p["name"], "issuePrefix": p.get("issuePrefix"),
             "current": p["slug"].lower() == current} for p in workspace["projects"]]


def main(arguments):
    options = parser("projects", "List the projects a route may use.")
    options.add_argument("--route")
    options.add_argument("--json", action="store_true")
    parsed = options.parse_args(arguments)
    config = load_config()
    routes = [route_named(config, parsed.route)] if parsed.route else config.routes
    listing = [{"route": route.name, "projects": choices(route)} for route in routes]
    if parsed.json:
        print_json({"routes": listing})
        return 0
    for entry in listing:
        print(entry["route"])
        for project in entry["projects"]:
            mark = "*" if project["current"] else " "
            print(f"  {mark} {project['name']} ({project['issuePrefix'] or '-'})  {project['id']}")
    return 0
