"""The `vorn` command line: one subcommand per word, dispatched to its module."""

import os
import sys

from . import gitops, team, yamledit
from .commands import connect, control, doctor, projects, repos, reset, sample, selftest, ship, status
from .common import CommandError

VERSION = "2.3.0"

USAGE = """vorn \u2014 a standing team of headless agents (simulated)

Usage: vorn <command> [arguments]

Commands:
  status [--json]                      the resolved configuration and this ship's standing
  pause [route] [role|release]         pause the team, one role, or releases
  resume [route] [role|release]        undo a pause
  run [route] [--role R]               run one cycle now, in the foreground
  poll [route]                         poll the tracker and bring the ship's records in step
  reload                               read vorn.yaml again
  projects [--route R] [--json]        the projects each route's workspace offers
  doctor [route] [--json | --fix]      check this machine; --fix installs the timers
  install                              install the run and release timers
  selftest [--toolchain T] [--json]    make each toolchain answer a small prompt
  sample-ticket [--json] [--remove]    file a throw-away ticket on a throw-away repository
  repos list|add|clone|hooks ROUTE ... a route's repositories, checkouts and hooks
  ship rename NAME [--json]            rename this ship
  connect [workspace] --json ...       sign in and connect this machine to a workspace
  disconnect --reset [--json]          remove this machine's setup

Simulator only:
  team [--fast | --speed X] [--cycles N]   play a living team until stopped

vorn finds vorn.yaml through $VORN_CONFIG, then $XDG_CONFIG_HOME/vorn/vorn.yaml,
then ~/.config/vorn/vorn.yaml.
"""

COMMANDS = {
    "status": status.main,
    "pause": control.pause,
    "resume": control.resume,
    "run": control.run,
    "poll": control.poll,
    "reload": control.reload,
    "projects": projects.main,
    "doctor": doctor.main,
    "install": doctor.install,
    "selftest": selftest.main,
    "sample-ticket": sample.main,
    "repos": repos.main,
    "ship": ship.main,
    "connect": connect.main,
    "disconnect": reset.main,
}


def main(arguments=None):
    arguments = sys.argv[1:] if arguments is None else arguments
    if not arguments or arguments[0] in ("--help", "-h", "help"):
        print(USAGE, end="")
        return 0
    if arguments[0] == "--version":
        print(VERSION)
        return 0
    if arguments[0] == "team":
        return team.main(os.path.abspath(sys.argv[0]), arguments[1:])
    command = COMMANDS.get(arguments[0])
    if command is None:
        print(f"vorn: unknown command {arguments[0]}\n", file=sys.stderr)
        print(USAGE, end="", file=sys.stderr)
        return 2
    try:
        return command(arguments[1:])
    except CommandError as error:
        print(str(error), file=sys.stderr)
        return error.status
    except (yamledit.EditError, gitops.GitError, OSError) as error:
        print(f"vorn {arguments[0]}: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
