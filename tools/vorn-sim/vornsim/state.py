"""The scheduler's state folder: marker files, role locks, the poll watermark,
resolved routes, transcripts, and the JSON files the scheduler keeps for itself."""

import contextlib
import fcntl
import json
import os
import tempfile

from . import events


def write_atomically(path, text):
    folder = os.path.dirname(os.path.abspath(path))
    os.makedirs(folder, exist_ok=True)
    handle, staging = tempfile.mkstemp(prefix=f".{os.path.basename(path)}.", dir=folder)
    try:
        with os.fdopen(handle, "w", encoding="utf-8") as out:
            out.write(text)
        os.replace(staging, path)
    finally:
        if os.path.exists(staging):
            os.unlink(staging)


def read_json(path, default):
    try:
        with open(path, encoding="utf-8") as handle:
            value = json.load(handle)
        return value if isinstance(value, type(default)) else default
    except (OSError, ValueError):
        return default


@contextlib.contextmanager
def locked_json(path, default):
    """Read, change and write back one JSON file while holding its lock, so a
    team cycle and a command run at the same moment never lose each other's change."""
    os.makedirs(os.path.dirname(os.path.abspath(path)), exist_ok=True)
    with open(path + ".lock", "a") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        try:
            value = read_json(path, default)
            yield value
            write_atomically(path, json.dumps(value, indent=2, ensure_ascii=False) + "\n")
        finally:
            fcntl.flock(lock, fcntl.LOCK_UN)


def pid_is_alive(pid):
    if pid < 1:
        return False
    try:
        os.kill(pid, 0)
    except ProcessLookupError:
        return False
    except PermissionError:
        return True
    return True


class StateDir:
    def __init__(self, path):
        self.path = path

    def file(self, *parts):
        return os.path.join(self.path, *parts)

    @property
    def events_file(self):
        return self.file("events.jsonl")

    @property
    def streams_dir(self):
        return self.file("streams")

    @property
    def board_file(self):
        return self.file("board.json")

    @property
    def selftest_file(self):
        return self.file("selftest.json")

    def resolved_file(self, route):
        # The route name is appended as a path: acme/web lives one level deeper.
        return os.path.join(self.path, "resolved", route + ".json")

    def stream_base(self, route, role, cycle):
        return os.path.join(self.streams_dir, f"{route}-{role}-{cycle}")

    # Markers

    def marker(self, what):
        """`what` is None for the whole scheduler, "release", or a role."""
        if what is None:
            return self.file(".vorn-paused")
        if what == "release":
            return self.file(".release-paused")
        return self.file(f".role-paused-{what}")

    def is_paused(self, what=None):
        return os.path.exists(self.marker(what))

    def set_paused(self, what, paused):
        """Gives True when that changed anything."""
        path = self.marker(what)
        if paused == os.path.exists(path):
            return False
        if paused:
            os.makedirs(self.path, exist_ok=True)
            with open(path, "w", encoding="utf-8") as handle:
                handle.write(events.timestamp() + "\n")
        else:
            os.unlink(path)
        return True

    # Locks: a role's lock holds the pid of the process working for it.

    def lock_file(self, role):
        return self.file(f".vorn-role-{role}.lock")

    def lock_holder(self, role):
        try:
            with open(self.lock_file(role), encoding="utf-8") as handle:
                pid = int(handle.read().strip())
        except (OSError, ValueError):
            return None
        return pid if pid_is_alive(pid) else None

    def take_lock(self, role, pid):
        """Gives the live holder's pid when someone else has it, else None."""
        os.makedirs(self.path, exist_ok=True)
        with open(self.file(".locks.lock"), "a") as guard:
            fcntl.flock(guard, fcntl.LOCK_EX)
            holder = self.lock_holder(role)
            if holder is not None and holder != pid:
                return holder
            write_atomically(self.lock_file(role), f"{pid}\n")
            return None

    def drop_lock(self, role, pid):
        if self.lock_holder(role) in (pid, None):
            with contextlib.suppress(FileNotFoundError):
                os.unlink(self.lock_file(role))

    # Poll watermark and resolved routes

    def write_watermark(self, moment=None):
        write_atomically(self.file(".poll-watermark"), events.timestamp(moment) + "\n")

    def watermark(self):
        try:
            with open(self.file(".poll-watermark"), encoding="utf-8") as handle:
                return handle.read().strip() or None
        except OSError:
            return None

    def write_resolved(self, route, document):
        write_atomically(self.resolved_file(route), json.dumps(document, indent=2) + "\n")

    def append_event(self, line):
        events.append(self.events_file, line)
