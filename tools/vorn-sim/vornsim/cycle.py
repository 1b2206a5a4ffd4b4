"""One cycle of one role: poll → select → worktree → agent → reconcile → merge → release → idle.

The process running a cycle holds the role's lock for its whole life and
appends every step to events.jsonl; the agent's own thoughts and tool calls go
to the run's transcript under streams/. SIGINT or SIGTERM ends the cycle
early and cleanly: the lock is dropped and the worktree is kept and reported
as held, so nothing is lost.
"""

import json
import os
import random
import signal
import time

from . import board as boardmod
from . import events, gitops, service, yamlmini
from .state import StateDir, write_atomically

INCIDENTS = ("error-burst", "outage", "fallback")
SECONDS = {"poll": 2.0, "select": 2.0, "worktree": 3.0, "turn": 6.0, "reconcile": 4.0, "merge": 3.0, "release": 3.0}
NEXT_STAGE = {"triage": "dev", "design": "dev", "dev": "qa"}


class Interrupted(Exception):
    pass


class Failed(Exception):
    """The cycle stops here; its errors stay the last word until the next cycle."""


class Busy(Exception):
    def __init__(self, role, pid):
        super().__init__(f"{role} is already running in pid {pid}")


def new_cycle_id(moment=None):
    moment = moment or events.now()
    return moment.strftime("%Y%m%dT%H%M%S") + "-" + "%04x" % random.randrange(0x10000)


def format_duration(seconds):
    seconds = int(seconds)
    if seconds < 60:
        return f"{seconds}s"
    if seconds < 3600:
        return f"{seconds // 60}m {seconds % 60:02d}s"
    return f"{seconds // 3600}h {seconds % 3600 // 60:02d}m"


class Cycle:
    def __init__(self, config, route, role, speed=1.0, incident=None, rng=None, echo=None):
        self.config = config
        self.route = route
        self.role = role
        self.speed = speed
        self.incident = incident
        self.rng = rng or random.Random()
        self.echo = echo
        self.state = StateDir(config.state_dir)
        self.cycle_id = new_cycle_id()
        self.started = time.monotonic()
        self.signal_name = None
        self.parent = os.getppid()
        self.ticket = None
        self.worktree = None
        self.transcript_meta = None

    # Plumbing

    def emit(self, step, message, level="info", ticket=None, data=None):
        if ticket is None and self.ticket is not None:
            ticket = self.ticket["id"]
        line = events.make(message, step, self.route.name, self.cycle_id, level, self.role, ticket, data)
        self.state.append_event(line)
        if self.echo:
            self.echo(line)

    def wait(self, seconds):
        """Sleeps `seconds` of team time, waking for a signal or a vanished parent."""
        deadline = time.monotonic() + seconds / self.speed
        while True:
            if self.signal_name:
                raise Interrupted()
            if os.getppid() != self.parent:
                self.signal_name = "the loss of its team"
                raise Interrupted()
            left = deadline - time.monotonic()
            if left <= 0:
                return
            time.sleep(min(left, 0.1))

    def on_signal(self, number, _frame):
        self.signal_name = signal.Signals(number).name

    def edit_board(self):
        return boardmod.edit(self.state)

    # The cycle

    def run(self):
        """0 for a cycle that reached idle, 1 for one that stopped on errors, 130 when interrupted."""
        previous = {s: signal.signal(s, self.on_signal) for s in (signal.SIGINT, signal.SIGTERM)}
        holder = self.state.take_lock(self.role, os.getpid())
        if holder is not None:
            raise Busy(self.role, holder)
        try:
            self.poll()
            self.ticket = self.select()
            if self.ticket is None:
                self.idle(f"nothing ready for {self.role}")
            else:
                self.work()
                self.idle(f"cycle done in {format_duration(self.elapsed())}")
            return 0
        except Failed:
            return 1
        except (gitops.GitError, OSError) as error:
            # Something on the machine went wrong mid-step: say so in the log, as any failure.
            self.emit("reconcile", f"cycle failed: {error}", "error")
            return 1
        except Interrupted:
            self.interrupted()
            return 130
        finally:
            self.state.drop_lock(self.role, os.getpid())
            for number, handler in previous.items():
                signal.signal(number, handler)

    def elapsed(self):
        return (time.monotonic() - self.started) * self.speed

    def poll(self):
        self.wait(SECONDS["poll"])
        if self.incident == "outage":
            reason = self.rng.choice(["fetch failed", "503 Service Unavailable"])
            self.emit("poll", f"poll failed: {reason}", "error")
            raise Failed()
        with self.edit_board() as board:
            boardmod.seed(board, self.route.name)
            open_tickets = [t for t in boardmod.tickets(board, self.route.name) if t["stage"] != "done"]
            ready = boardmod.queue(board, self.route.name, self.role, self.state.is_paused("release"))
        self.state.write_watermark()
        self.state.write_resolved(self.route.name, resolved_document(self.route))
        self.emit("poll", f"polled {self.route.name}: {len(open_tickets)} open, {len(ready)} ready for {self.role}")
        if self.rng.random() < 0.06:
            self.emit("poll", f"poll slow: tracker answered in {self.rng.uniform(5, 9):.1f} s", "warn")

    def select(self):
        self.wait(SECONDS["select"])
        release_paused = self.state.is_paused("release")
        with self.edit_board() as board:
            waiting = boardmod.queue(board, self.route.name, self.role, release_paused)
            pending = [r for r in boardmod.roles_with_work(board, self.route.name, release_paused) if r != self.role]
            rank = boardmod.rank(board, waiting[0]["id"]) if waiting else None
        if not waiting:
            self.emit("select", f"nothing ready for {self.role}", data={"pending": pending} if pending else None)
            return None
        ticket = waiting[0]
        if self.role == "triage" and ticket.get("attention"):
            self.emit("sweep", f"{ticket['id']} needs a human: {ticket['attention']}", "info", ticket["id"],
                      {"attention": [ticket["attention"]], "url": service.ticket_url(self.route, ticket["id"]),
                       "title": ticket["title"]})
        self.emit("select", f"picked {ticket['id']} for {self.role}: {ticket['title']}", ticket=ticket["id"],
                  data={"rank": rank, "pending": pending, "title": ticket["title"],
                        "url": service.ticket_url(self.route, ticket["id"])})
        return ticket

    def work(self):
        if self.ticket["stage"] == "release":
            self.merge_and_release()
            return
        if self.role != "triage":
            self.cut_worktree()
        self.agent()
        self.reconcile()

    def repo(self):
        if self.ticket.get("repoDir"):
            folder = self.ticket["repoDir"]
            return os.path.basename(folder.rstrip("/")), folder, "sample-issue-"
        if not self.route.repos:
            self.emit("worktree", f"worktree failed: route {self.route.name} has no repository", "error")
            raise Failed()
        repo = self.route.repos[0]
        return repo.name, repo.dir, repo_worktree_prefix(repo.dir, self.route.worktree_prefix)

    def cut_worktree(self):
        self.wait(SECONDS["worktree"])
        name, folder, prefix = self.repo()
        path = boardmod.worktree_path(folder, prefix, self.ticket["number"])
        branch = f"vorn/{self.ticket['id'].lower()}"
        reused = os.path.isdir(path)
        try:
            if not reused:
                gitops.add_worktree(folder, path, branch)
        except gitops.GitError as error:
            self.emit("worktree", f"worktree failed: {error}", "error")
            raise Failed() from error
        self.worktree = {"repo": name, "dir": folder, "path": path, "branch": branch}
        with self.edit_board() as board:
            boardmod.release_worktree(board, path)
            found = boardmod.find(board, self.ticket["id"])
            if found is not None:
                found.update(worktree=path, branch=branch, repo=name)
        verb = "reusing" if reused else "cut"
        self.emit("worktree", f"{verb} worktree {os.path.basename(path)} on {branch}")

    def agent(self):
        chain = self.config.toolchain_for(self.route)
        harness = chain.harness or "claude"
        model = chain.model or self.config.ship.agent_model or "standard"
        stream = self.state.stream_base(self.route.name, self.role, self.cycle_id)
        self.transcript_meta = meta = {"route": self.route.name, "startedAt": events.timestamp(), "role": self.role,
                "ticket": self.ticket["id"], "model": model, "toolchain": chain.name, "harness": harness,
                "provider": "simulated", "sessionId": f"sess-{self.cycle_id}"}
        self.write_meta()
        self.emit("agent", f"agent started: {chain.name} ({harness} \u00b7 {model})")
        if self.incident == "fallback":
            self.emit("agent", f"seat {self.role} fell back to toolchain backup: {chain.name} is rate limited", "warn")
        began = time.monotonic()
        turns = self.rng.randint(3, 6)
        transcript = Transcript(stream + ".events.jsonl", self)
        for index in range(1, turns + 1):
            transcript.turn(index, turns)
            self.wait(SECONDS["turn"] * self.rng.uniform(0.6, 1.4))
        self.change_files()
        cost = round(turns * self.rng.uniform(0.04, 0.11), 2)
        self.emit("agent", f"agent finished: {turns} turns, ${cost:.2f}",
                  data={"ms": int((time.monotonic() - began) * 1000 * self.speed)})
        self.write_meta(exitCode=0, numTurns=turns, totalCostUsd=cost)

    def write_meta(self, **ending):
        meta = self.transcript_meta
        meta.update(ending)
        path = self.state.stream_base(self.route.name, self.role, self.cycle_id) + ".jsonl.meta.json"
        write_atomically(path, json.dumps(meta, indent=2) + "\n")

    def change_files(self):
        """The agent's actual work: a commit on the ticket's branch."""
        if not self.worktree or self.role == "qa":
            return
        ticket = self.ticket
        if ticket.get("sample"):
            files = sample_solution()
        elif self.role == "design":
            files = {f"design/{ticket['id']}.md": f"# {ticket['title']}\n\nLayout notes for {ticket['id']}.\n"}
        else:
            slug = ticket["id"].lower().replace("-", "_")
            files = {f"src/{slug}.py": f'"""{ticket["title"]}."""\n\n\ndef enabled():\n    return True\n',
                     f"tests/test_{slug}.py": f"from src.{slug} import enabled\n\n\ndef test_enabled():\n"
                                              "    assert enabled()\n"}
        gitops.write_files(self.worktree["path"], files)
        gitops.commit_all(self.worktree["path"], f"{ticket['id']}: {ticket['title']}")

    def reconcile(self):
        self.wait(SECONDS["reconcile"])
        ticket = self.ticket
        if self.incident == "error-burst":
            self.error_burst()
        if self.role == "dev":
            self.hooks()
            branch = self.worktree["branch"]
            try:
                pushed = gitops.push(self.worktree["dir"], branch)
            except gitops.GitError as error:
                self.emit("reconcile", f"reconcile failed: {error}", "error")
                raise Failed() from error
            where = f"pushed {branch}; " if pushed else ""
            self.advance("qa")
            self.emit("reconcile", f"{where}{ticket['id']} moved to QA")
        elif self.role == "qa":
            self.hooks()
            if ticket.get("bounces", 0) == 0 and not ticket.get("sample") and self.rng.random() < 0.15:
                self.advance("dev", bounces=ticket.get("bounces", 0) + 1)
                self.emit("reconcile", f"QA bounced {ticket['id']}: the new test fails on an empty list", "warn")
                return
            self.advance("release")
            self.emit("reconcile", f"QA passed {ticket['id']}")
            self.merge_and_release()
        else:
            target = "dev" if self.role == "design" or not ticket.get("needsDesign") else "design"
            self.advance(target)
            verb = "attached design notes to" if self.role == "design" else "triaged"
            self.emit("reconcile", f"{verb} {ticket['id']}; ready for {target}")

    def hooks(self):
        passed = self.rng.randint(8, 40)
        self.emit("reconcile", f"test: {passed} passed in {self.rng.uniform(0.8, 4):.1f}s", data={"hook": "test"})
        if self.rng.random() < 0.2:
            self.emit("reconcile", "lint: 2 warnings (unused import)", "warn", data={"hook": "lint"})

    def error_burst(self):
        for attempt in range(1, 4):
            self.emit("reconcile", f"reconcile failed: the tracker refused the update (409 Conflict, "
                                   f"attempt {attempt} of 3)", "error")
            self.wait(SECONDS["reconcile"])
        raise Failed()

    def advance(self, stage, **changes):
        with self.edit_board() as board:
            boardmod.move(board, self.ticket["id"], stage, **changes)
        self.ticket["stage"] = stage

    def merge_and_release(self):
        ticket = self.ticket
        if self.state.is_paused("release"):
            self.emit("reconcile", f"releases are paused; {ticket['id']} waits")
            return
        if self.worktree is None:
            self.cut_worktree()
        self.wait(SECONDS["merge"])
        folder, branch = self.worktree["dir"], self.worktree["branch"]
        try:
            changed = gitops.merge(folder, branch, f"Merge {branch}: {ticket['title']}")
            gitops.push(folder, "main")
        except gitops.GitError as error:
            self.emit("merge", f"merge failed: {error}", "error")
            raise Failed() from error
        self.emit("merge", f"merged {branch} into main ({changed} file{'s' if changed != 1 else ''})")
        self.wait(SECONDS["release"])
        with self.edit_board() as board:
            version = boardmod.next_version(board, self.worktree["repo"])
        gitops.remove_worktree(folder, self.worktree["path"], branch)
        self.advance("done")
        self.emit("release", f"released {ticket['id']} in {self.worktree['repo']} {version}",
                  data={"url": service.ticket_url(self.route, ticket["id"])})

    def idle(self, message):
        self.emit("idle", message)

    def interrupted(self):
        if self.transcript_meta is not None and "exitCode" not in self.transcript_meta:
            self.write_meta(exitCode=130)
        message = f"cycle interrupted by {self.signal_name}"
        if self.worktree and os.path.isdir(self.worktree["path"]):
            with self.edit_board() as board:
                boardmod.hold_worktree(board, self.ticket["id"], self.worktree["path"], self.worktree["repo"],
                                       f"interrupted by {self.signal_name}")
            message += f"; {self.ticket['id']} stays in {os.path.basename(self.worktree['path'])}"
        self.emit("idle", message, "warn")


class Transcript:
    """The agent run's detail: thoughts, tool calls and prose, one event line each."""

    TOOLS = [("Read", "README.md"), ("Grep", "def "), ("Read", "src/app.py"), ("Edit", "src/app.py"),
             ("Bash", "make test"), ("Read", "tests/test_app.py"), ("Write", "tests/test_new.py")]
    THOUGHTS = ["The ticket asks for a small, contained change.", "The existing tests cover the happy path only.",
                "A helper keeps the change readable.", "The edge case is an empty input."]

    def __init__(self, path, cycle):
        self.path = path
        self.cycle = cycle

    def write(self, kind, message, **data):
        c = self.cycle
        line = events.make(message, "agent", c.route.name, c.cycle_id, "info", c.role, c.ticket["id"],
                           {"kind": kind, **data})
        events.append(self.path, line)

    def turn(self, index, turns):
        rng = self.cycle.rng
        self.write("cycle", f"turn {index} of {turns}", cycleIndex=index)
        thought = rng.choice(self.THOUGHTS)
        self.write("thought", thought, text=thought, cycleIndex=index)
        tool, target = rng.choice(self.TOOLS)
        self.write("tool", f"{tool} {target}", tool=tool, target=target, cycleIndex=index)
        if index == turns:
            prose = f"Done: {self.cycle.ticket['title'].lower()}, with a test."
            self.write("text", prose, text=prose, cycleIndex=index)


def repo_worktree_prefix(folder, route_prefix):
    """The checkout's own .vorn.yaml may name the prefix; otherwise the route's."""
    try:
        with open(os.path.join(folder, ".vorn.yaml"), encoding="utf-8") as handle:
            document = yamlmini.parse(handle.read())
        prefix = document.get("worktrees").get("prefix")
        if isinstance(prefix, str) and prefix:
            return prefix
    except (OSError, yamlmini.YAMLError, AttributeError):
        pass
    return route_prefix


def resolved_document(route):
    workspace = service.workspace(route.workspace) or {"slug": route.workspace, "name": route.workspace}
    project = service.project(route.workspace, route.project)
    return {
        "route": route.name,
        "workspace": {"slug": workspace["slug"], "name": workspace["name"]},
        "project": {"id": project["id"], "slug": project["slug"], "name": project["name"]} if project else None,
        "resolvedAt": events.timestamp(),
    }


def sample_solution():
    return {
        "reverse.py": '"""Reverses text."""\n\n\ndef reverse(text):\n    return text[::-1]\n',
        "test_reverse.py": "import unittest\n\nfrom reverse import reverse\n\n\nclass ReverseTest(unittest.TestCase):\n"
                           "    def test_reverses(self):\n        self.assertEqual(reverse(\"abc\"), \"cba\")\n\n"
                           "    def test_empty(self):\n        self.assertEqual(reverse(\"\"), \"\")\n",
    }

