"""A living team: one cycle after another, each in its own process, the way a timer
would start them, with the scheduler's pauses honoured and a few bad moments on a
fixed schedule (warnings, an error burst, a service outage) so a watcher sees them.
"""

import os
import random
import signal
import subprocess
import sys
import time

from . import board as boardmod
from . import config as configmod
from . import service
from .state import StateDir

ROTATION = ("dev", "qa", "design", "triage")
SCHEDULE_LENGTH = 24
NEW_TICKET_EVERY = 3
OPEN_TICKET_LIMIT = 12
GAP_SECONDS = (12.0, 30.0)
OUTAGE_RETRY_SECONDS = 65.0


def incident_for(number):
    """Cycle 4 of every 24 ends in an error burst, cycles 9 to 14 meet an outage
    (six failed polls a minute apart, long enough to count as one), and cycle 17
    falls back to another toolchain."""
    phase = number % SCHEDULE_LENGTH
    if phase == 4:
        return "error-burst"
    if 9 <= phase <= 14:
        return "outage"
    if phase == 17:
        return "fallback"
    return None


def choose_role(board, route, state_dir, turn):
    """The next role in rotation that has work and isn't paused; samples go first."""
    release_paused = state_dir.is_paused("release")
    free = [r for r in ROTATION if not state_dir.is_paused(r)]
    if not free:
        return None
    for role in free:
        if any(t.get("sample") for t in boardmod.queue(board, route, role, release_paused)):
            return role
    busy = set(boardmod.roles_with_work(board, route, release_paused))
    for offset in range(len(ROTATION)):
        role = ROTATION[(turn + offset) % len(ROTATION)]
        if role in free and role in busy:
            return role
    return free[turn % len(free)]


class Team:
    def __init__(self, vorn_path, speed=1.0, cycles=None, route=None, incidents=True, seed=None, out=sys.stdout):
        self.vorn_path = vorn_path
        self.speed = speed
        self.limit = cycles
        self.route_name = route
        self.incidents = incidents
        self.rng = random.Random(seed)
        self.out = out
        self.stopping = False
        self.child = None
        self.turn = 0
        self.seeded = seed is not None
        self.waiting_for = None

    def log(self, text):
        print(f"{time.strftime('%H:%M:%S')} team: {text}", file=self.out, flush=True)

    def waiting(self, reason):
        """Says why nothing runs, once, not on every look."""
        if reason != self.waiting_for:
            self.log(f"waiting: {reason}")
        self.waiting_for = reason

    def on_signal(self, number, _frame):
        self.stopping = True
        if self.child and self.child.poll() is None:
            self.child.send_signal(signal.SIGTERM)

    def sleep(self, seconds):
        deadline = time.monotonic() + seconds / self.speed
        while not self.stopping and time.monotonic() < deadline:
            time.sleep(min(0.1, max(0.0, deadline - time.monotonic())))

    def run(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, self.on_signal)
        self.log(f"started, pid {os.getpid()}, speed {self.speed:g}")
        done = 0
        while not self.stopping and (self.limit is None or done < self.limit):
            outcome = self.one_cycle(done)
            if outcome is None:
                self.sleep(10.0)
                continue
            done += 1
            self.sleep(OUTAGE_RETRY_SECONDS if outcome == "outage" else self.rng.uniform(*GAP_SECONDS))
        self.log("stopped")
        return 0

    def load(self):
        try:
            config = configmod.discover_and_load()
        except (configmod.ConfigNotFound, configmod.ConfigMalformed) as error:
            self.waiting(str(error).splitlines()[0])
            return None, None
        routes = [r for r in config.routes if r.enabled and (self.route_name in (None, r.name))]
        if not routes:
            self.waiting("no enabled route")
            return config, None
        return config, routes[self.turn % len(routes)]

    def one_cycle(self, number):
        """Runs one cycle; gives the incident it played ("" for none), or None when nothing could run."""
        config, route = self.load()
        if route is None:
            return None
        state_dir = StateDir(config.state_dir)
        if state_dir.is_paused():
            self.waiting("vorn is paused")
            return None
        with boardmod.edit(state_dir) as board:
            boardmod.seed(board, route.name)
            if number % NEW_TICKET_EVERY == NEW_TICKET_EVERY - 1:
                open_count = len([t for t in boardmod.tickets(board, route.name) if t["stage"] != "done"])
                if open_count < OPEN_TICKET_LIMIT:
                    boardmod.new_ticket(board, route.name)
            role = choose_role(board, route.name, state_dir, self.turn)
        self.turn += 1
        if role is None:
            self.waiting("every role is paused")
            return None
        self.waiting_for = None
        incident = incident_for(number) if self.incidents else None
        status = self.spawn(config, route, role, incident)
        self.log(f"cycle {number}: {role} on {route.name}{f' ({incident})' if incident else ''} exited {status}")
        return incident or ""

    def spawn(self, config, route, role, incident):
        command = [sys.executable, self.vorn_path, "run", route.name, "--role", role, "--quiet",
                   "--speed", repr(self.speed), "--incident", incident or "none"]
        if self.seeded:
            command += ["--seed", str(self.rng.randrange(2**31))]
        environment = dict(os.environ, VORN_CONFIG=config.file)
        self.child = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL)
        try:
            return self.child.wait()
        finally:
            if self.child.poll() is None:
                self.child.kill()
                self.child.wait()
            self.child = None


def main(vorn_path, arguments):
    import argparse

    parser = argparse.ArgumentParser(prog="vorn team", description="Play a living team against this vorn.yaml.")
    parser.add_argument("--speed", type=float, help="times faster than real time (default 1, or the sandbox's)")
    parser.add_argument("--fast", action="store_true", help="the pace for tests: --speed 60")
    parser.add_argument("--cycles", type=int, help="stop after this many cycles")
    parser.add_argument("--route", help="serve only this route")
    parser.add_argument("--no-incidents", action="store_true", help="no error burst, outage or fallback")
    parser.add_argument("--seed", type=int, help="seed for the team's choices")
    options = parser.parse_args(arguments)
    speed = 60.0 if options.fast else service.speed(options.speed)
    team = Team(vorn_path, speed, options.cycles, options.route, not options.no_incidents, options.seed)
    return team.run()
