"""Event-log lines: one JSON object a line, appended whole so writers never interleave."""

import datetime
import json
import os


def now():
    return datetime.datetime.now(datetime.timezone.utc)


def timestamp(moment=None):
    """UTC with milliseconds, the form every dated file of the state folder uses."""
    moment = moment or now()
    return moment.strftime("%Y-%m-%dT%H:%M:%S.") + f"{moment.microsecond // 1000:03d}Z"


def from_epoch(seconds):
    return datetime.datetime.fromtimestamp(seconds, datetime.timezone.utc)


def parse_timestamp(text):
    try:
        return datetime.datetime.strptime(text[:19], "%Y-%m-%dT%H:%M:%S").replace(tzinfo=datetime.timezone.utc)
    except (TypeError, ValueError):
        return None


def make(message, step, route="", cycle="", level="info", role=None, ticket=None, data=None, at=None):
    line = {"at": timestamp(at), "cycle": cycle, "route": route, "step": step, "level": level}
    if role:
        line["role"] = role
    if ticket:
        line["ticket"] = ticket
    line["message"] = message
    if data:
        line["data"] = data
    return line


def append(path, line):
    """One write of one whole line with O_APPEND: concurrent appenders can't tear it."""
    os.makedirs(os.path.dirname(path), exist_ok=True)
    payload = (json.dumps(line, ensure_ascii=False) + "\n").encode("utf-8")
    handle = os.open(path, os.O_WRONLY | os.O_APPEND | os.O_CREAT, 0o644)
    try:
        os.write(handle, payload)
    finally:
        os.close(handle)


def read(path):
    """Every decodable line of an event file; a bad line costs only itself."""
    lines = []
    try:
        with open(path, encoding="utf-8", errors="replace") as handle:
            for raw in handle:
                try:
                    value = json.loads(raw)
                except ValueError:
                    continue
                if isinstance(value, dict):
                    lines.append(value)
    except OSError:
        pass
    return lines
