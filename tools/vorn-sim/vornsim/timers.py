"""The two timer units (run and release) as property lists under ~/Library/LaunchAgents."""

import contextlib
import os
import plistlib
import sys

from .config import home_folder
from .state import write_atomically

RUN_LABEL = "com.pelorinth.vorn"
RELEASE_LABEL = "com.pelorinth.vorn-release"
UNITS = ((RUN_LABEL, ["run"], 300), (RELEASE_LABEL, ["run", "--role", "qa"], 900))


def folder():
    return os.path.join(home_folder(), "Library", "LaunchAgents")


def plist_path(label):
    return os.path.join(folder(), f"{label}.plist")


def installed():
    return [label for label, _, _ in UNITS if os.path.isfile(plist_path(label))]


def install(vorn_path, config_file, log_file):
    """Writes both units; gives (label, interval) for each. The interpreter comes first
    in ProgramArguments, as it does for any script-run scheduler."""
    written = []
    for label, arguments, interval in UNITS:
        document = {
            "Label": label,
            "ProgramArguments": [sys.executable, os.path.abspath(vorn_path), *arguments],
            "StartInterval": interval,
            "EnvironmentVariables": {"VORN_CONFIG": config_file},
            "StandardOutPath": log_file,
            "StandardErrorPath": log_file,
        }
        write_atomically(plist_path(label), plistlib.dumps(document).decode("utf-8"))
        written.append((label, interval))
    return written


def remove():
    removed = []
    for label in installed():
        with contextlib.suppress(FileNotFoundError):
            os.unlink(plist_path(label))
            removed.append(label)
    return removed
