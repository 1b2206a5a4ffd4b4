"""A sandbox to run the simulator in: a home of its own with vorn.yaml, a state
folder, a checkout with history and bare "remotes" it can push to, and a signed-in
account; plus starting and stopping a team in the background."""

import argparse
import json
import os
import shlex
import shutil
import signal
import subprocess
import sys
import time

from . import gitops, service, state, timers, yamledit
from .config import ROLES

ENTRY = os.path.join(os.path.dirname(os.path.dirname(os.path.realpath(__file__))), "vorn")

WEB_FILES = {
    "README.md": "# web\n\nThe storefront. `make test` runs the tests.\n",
    "Makefile": "test:\n\tpython3 -m unittest discover -q -s tests\n\nbuild:\n\tpython3 -m compileall -q src\n",
    "VERSION": "1.4.0\n",
    "src/__init__.py": "",
    "src/app.py": '"""The storefront\'s entry."""\n\n\ndef greeting(name):\n    return f"Hello, {name}!"\n',
    "tests/test_app.py": "import unittest\n\nfrom src.app import greeting\n\n\nclass GreetingTest(unittest.TestCase):\n"
                         "    def test_names_the_person(self):\n        self.assertEqual(greeting(\"Ada\"), \"Hello, Ada!\")\n",
}
OTHER_FILES = {"docs": {"README.md": "# docs\n\nThe handbook.\n"},
               "api": {"README.md": "# api\n\nThe public API.\n", "Makefile": "test:\n\ttrue\n"}}


class Layout:
    def __init__(self, root):
        self.root = os.path.abspath(root)
        self.home = os.path.join(self.root, "home")
        self.bin = os.path.join(self.home, "bin")
        self.config = os.path.join(self.home, ".config", "vorn", "vorn.yaml")
        self.state = os.path.join(self.home, ".vorn", "state")
        self.sim_home = os.path.join(self.home, ".vorn-sim")
        self.remotes = os.path.join(self.root, "remotes", "acme")
        self.pid_file = os.path.join(self.root, "team.pid")
        self.log_file = os.path.join(self.root, "team.log")

    def checkout(self, name):
        return os.path.join(self.home, "src", name)

    def remote(self, name):
        return os.path.join(self.remotes, f"{name}.git")

    def environment(self):
        path = f"{self.bin}:{os.environ.get('PATH', '/usr/bin:/bin')}"
        return {"HOME": self.home, "VORN_CONFIG": self.config, "PATH": path}


def config_text(layout):
    q = yamledit.quoted
    return f"""# A sandbox ship for the vorn simulator. Edit freely: vorn keeps comments.
ship:
  name: Sandbox
  platform: linux
  stateDir: {q(layout.state)}
  logFile: {q(os.path.join(layout.home, '.vorn', 'vorn.log'))}
  toolchain: default
  toolchains:
    default:
      harness: claude
      model: standard
    backup:
      harness: codex
      model: light

routes:
  - route: acme/web
    enabled: yes    # the team works this one
    repos:
      web: {q(layout.checkout('web'))}
  - route: acme/api
    repos:
      api: {q(layout.checkout('api'))}
"""


def catalogue(layout, speed):
    found = json.loads(json.dumps(service.BUILT_IN_CATALOGUE))
    for workspace in found["workspaces"]:
        for project in workspace["projects"]:
            for row in project["repos"]:
                row["remote"] = "file://" + layout.remote(row["name"])
    found["speed"] = speed
    return found


def account():
    personas = service.BUILT_IN_CATALOGUE["personas"]
    return {
        "signedIn": dict(service.BUILT_IN_CATALOGUE["identity"], host=service.DEFAULT_HOST),
        "host": service.DEFAULT_HOST,
        "ship": {"rowName": "Sandbox", "syncedName": "Sandbox"},
        "seats": [{"role": role, "name": f"{'QA' if role == 'qa' else role.capitalize()} on Sandbox",
                   "personaName": personas[role], "route": "acme/web"} for role in ROLES],
        "mcp": {"claude": "key-acme"},
        "pair": True,
    }


def create(layout, speed=1.0, timer=False):
    if os.path.exists(layout.root) and os.listdir(layout.root):
        raise SystemExit(f"sandbox: {layout.root} is not empty; remove it or choose another folder")
    os.makedirs(layout.bin)
    os.symlink(ENTRY, os.path.join(layout.bin, "vorn"))
    # A login shell resets PATH; this puts the sandbox's vorn first again, as a
    # person's own profile would for a scheduler installed under their home.
    with open(os.path.join(layout.home, ".profile"), "w", encoding="utf-8") as handle:
        handle.write('PATH="$HOME/bin:$PATH"\nexport PATH\n')
    os.makedirs(layout.state)
    os.makedirs(os.path.dirname(layout.config))
    with open(layout.config, "w", encoding="utf-8") as handle:
        handle.write(config_text(layout))
    gitops.init(layout.checkout("web"), WEB_FILES, "Start the storefront", bare_remote=layout.remote("web"))
    for name, files in OTHER_FILES.items():
        scratch = os.path.join(layout.root, "scratch", name)
        gitops.init(scratch, files, f"Start {name}", bare_remote=layout.remote(name))
    shutil.rmtree(os.path.join(layout.root, "scratch"))
    state.write_atomically(os.path.join(layout.sim_home, "service.json"), json.dumps(catalogue(layout, speed), indent=2))
    state.write_atomically(os.path.join(layout.sim_home, "account.json"), json.dumps(account(), indent=2))
    if timer:
        with environment(layout):
            timers.install(os.path.join(layout.bin, "vorn"), layout.config, os.path.join(layout.home, ".vorn", "vorn.log"))


class environment:
    """Runs a block with the sandbox's HOME, as the simulator itself would see it."""

    def __init__(self, layout):
        self.layout = layout
        self.saved = None

    def __enter__(self):
        self.saved = {k: os.environ.get(k) for k in ("HOME", "VORN_CONFIG", "VORN_SIM_HOME")}
        os.environ.update(HOME=self.layout.home, VORN_CONFIG=self.layout.config)
        os.environ.pop("VORN_SIM_HOME", None)

    def __exit__(self, *_):
        for key, value in self.saved.items():
            if value is None:
                os.environ.pop(key, None)
            else:
                os.environ[key] = value


def running_pid(layout):
    try:
        with open(layout.pid_file, encoding="utf-8") as handle:
            pid = int(handle.read().strip())
    except (OSError, ValueError):
        return None
    return pid if state.pid_is_alive(pid) else None


def start(layout, team_arguments):
    if running_pid(layout):
        raise SystemExit(f"sandbox: a team already runs in pid {running_pid(layout)}")
    environment_now = dict(os.environ, **layout.environment())
    environment_now.pop("VORN_SIM_HOME", None)
    with open(layout.log_file, "a", encoding="utf-8") as log:
        team = subprocess.Popen([sys.executable, os.path.join(layout.bin, "vorn"), "team", *team_arguments],
                                env=environment_now, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                start_new_session=True)
    with open(layout.pid_file, "w", encoding="utf-8") as handle:
        handle.write(f"{team.pid}\n")
    return team.pid


def stop(layout, timeout=15.0):
    pid = running_pid(layout)
    if pid is None:
        return False
    os.kill(pid, signal.SIGTERM)
    deadline = time.monotonic() + timeout
    while state.pid_is_alive(pid) and time.monotonic() < deadline:
        _reap(pid)
        time.sleep(0.1)
    if state.pid_is_alive(pid):
        os.kill(pid, signal.SIGKILL)
    _reap(pid)
    os.unlink(layout.pid_file)
    return True


def remove(layout):
    """Stops the sandbox's team and deletes the sandbox; refuses a folder that isn't one."""
    if not os.path.exists(layout.root):
        return
    if not os.path.isdir(layout.sim_home):
        raise SystemExit(f"sandbox: {layout.root} does not look like a sandbox; not removing it")
    stop(layout)
    shutil.rmtree(layout.root)


def _reap(pid):
    try:
        os.waitpid(pid, os.WNOHANG)
    except ChildProcessError:
        pass


def print_environment(layout, as_json):
    values = layout.environment()
    if as_json:
        print(json.dumps(values))
    else:
        for key, value in values.items():
            print(f"export {key}={shlex.quote(value)}")


def main(arguments=None):
    options = argparse.ArgumentParser(prog="sandbox", description="Lay out, start and stop a simulator sandbox.")
    actions = options.add_subparsers(dest="action", required=True)
    make = actions.add_parser("create", help="lay out a sandbox in an empty or new folder")
    make.add_argument("folder")
    make.add_argument("--speed", type=float, default=1.0, help="the sandbox's default pace")
    make.add_argument("--timer", action="store_true", help="also install the timer property lists")
    run = actions.add_parser("start", help="lay out the sandbox if needed and start a team in the background")
    run.add_argument("folder")
    run.add_argument("--speed", type=float)
    run.add_argument("--fast", action="store_true")
    run.add_argument("--cycles", type=int)
    run.add_argument("--json", action="store_true", help="print the environment as JSON")
    run.add_argument("--timer", action="store_true", help="also install the timer property lists")
    run.add_argument("--fresh", action="store_true", help="stop and remove an earlier sandbox there first")
    halt = actions.add_parser("stop", help="stop the sandbox's team")
    halt.add_argument("folder")
    show = actions.add_parser("env", help="print the environment to use the sandbox with")
    show.add_argument("folder")
    show.add_argument("--json", action="store_true")
    parsed = options.parse_args(arguments)
    layout = Layout(parsed.folder)
    if parsed.action == "create":
        create(layout, parsed.speed, parsed.timer)
        print_environment(layout, False)
    elif parsed.action == "start":
        if parsed.fresh:
            remove(layout)
        if not os.path.exists(layout.config):
            create(layout, parsed.speed or (60.0 if parsed.fast else 1.0), parsed.timer)
        team_arguments = (["--fast"] if parsed.fast else []) + (["--speed", str(parsed.speed)] if parsed.speed else [])
        team_arguments += ["--cycles", str(parsed.cycles)] if parsed.cycles else []
        pid = start(layout, team_arguments)
        print(f"# team pid {pid}, log {layout.log_file}", file=sys.stderr)
        print_environment(layout, parsed.json)
    elif parsed.action == "stop":
        print("stopped" if stop(layout) else "no team was running")
    else:
        print_environment(layout, parsed.json)
    return 0
