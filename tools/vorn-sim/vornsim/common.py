"""What every subcommand needs: the configuration, JSON output, and failing plainly."""

import argparse
import json
import os
import sys

from . import config as configmod
from .config import ROLES
from .state import StateDir


class CommandError(Exception):
    """Ends the command with the message on standard error and the given status."""

    def __init__(self, message, status=1):
        super().__init__(message)
        self.status = status


class Parser(argparse.ArgumentParser):
    def error(self, message):
        raise CommandError(f"vorn {self.prog.split(' ', 1)[-1]}: {message}", 2)


def parser(name, description):
    return Parser(prog=f"vorn {name}", description=description, add_help=True)


def load_config():
    try:
        return configmod.discover_and_load()
    except (configmod.ConfigNotFound, configmod.ConfigMalformed) as error:
        raise CommandError(str(error)) from error


def state_of(config):
    return StateDir(config.state_dir)


def route_named(config, name):
    """The named route, the serving route when no name is given, or a plain failure."""
    route = config.route(name) if name else config.serving_route()
    if route is None:
        raise CommandError(f"no route {name} in {config.file}" if name else f"{config.file} has no routes")
    return route


def route_and_role(config, words):
    """Splits `[route] [role]` positionals: a role word may stand alone."""
    route_name, role = None, None
    for word in words:
        if word in ROLES or word == "release":
            role = word
        elif route_name is None:
            route_name = word
        else:
            raise CommandError(f"unexpected argument {word}", 2)
    if route_name is not None:
        route_named(config, route_name)
    return route_name, role


def print_json(value, stream=None):
    print(json.dumps(value, ensure_ascii=False), file=stream or sys.stdout, flush=True)


def vorn_path():
    """The simulator's own entry, as timers and team children must start it."""
    return os.path.abspath(sys.argv[0])
