"""The living team in fast mode: what it leaves in the state folder and the
sandbox repository, and how it starts and stops."""

import collections
import json
import os
import signal
import subprocess
import sys
import time
import unittest

from sandboxcase import SANDBOX, VORN, SandboxCase
from vornsim import board, team

STEPS = {"poll", "sweep", "select", "worktree", "agent", "reconcile", "merge", "release", "idle"}
ROLES = {"dev", "design", "qa", "triage"}
DATA_TYPES = {"hook": str, "rank": int, "pending": list, "ms": int, "kind": str, "text": str, "tool": str,
              "target": str, "cycleIndex": int, "attention": list, "url": str, "title": str}


def by_cycle(lines):
    cycles = collections.OrderedDict()
    for line in lines:
        cycles.setdefault(line["cycle"], []).append(line)
    return list(cycles.values())


class EventLineChecks:
    def assert_event_line(self, line):
        self.assertIsInstance(line["message"], str)
        self.assertRegex(line["at"], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")
        self.assertIn(line["step"], STEPS)
        self.assertIn(line["level"], {"info", "warn", "error"})
        self.assertIn(line["role"], ROLES)
        for key, value in line.get("data", {}).items():
            self.assertIsInstance(value, DATA_TYPES[key], key)
        for role in line.get("data", {}).get("pending", []):
            self.assertIn(role, ROLES)


class FastTeamTest(SandboxCase, EventLineChecks):
    speed = 400

    def run_team(self, cycles):
        result = subprocess.run([sys.executable, VORN, "team", "--cycles", str(cycles), "--seed", "7"],
                                env=self.env, capture_output=True, text=True, timeout=300)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout

    def test_a_dozen_cycles_tell_the_whole_story(self):
        log = self.run_team(12)
        self.assertEqual(log.count(" team: cycle "), 12)
        lines = self.event_lines()
        for line in lines:
            self.assert_event_line(line)
        cycles = by_cycle(lines)
        self.assertEqual(len(cycles), 12)
        for cycle in cycles:
            self.assertEqual(cycle[0]["step"], "poll")
            self.assertTrue(cycle[-1]["step"] == "idle" or cycle[-1]["level"] == "error", cycle[-1])
            self.assertEqual(len({line["role"] for line in cycle}), 1)
        roles = [cycle[0]["role"] for cycle in cycles]
        self.assertEqual(roles[:4], ["dev", "qa", "design", "triage"])

        burst = [l for l in cycles[4] if l["level"] == "error"]
        self.assertEqual(len(burst), 3)
        self.assertEqual({l["message"].split(": ")[0] for l in burst}, {"reconcile failed"})
        for cycle in cycles[9:12]:
            self.assertEqual(len(cycle), 1)
            self.assertRegex(cycle[0]["message"], r"^poll failed: (fetch failed|503 Service Unavailable)$")

        releases = [l for l in lines if l["step"] == "release"]
        self.assertTrue(releases)
        for release in releases:
            self.assertTrue(release["data"]["url"].endswith("/acme/web/issues/" + release["ticket"]))
            steps = [l["step"] for l in lines if l["cycle"] == release["cycle"]]
            self.assertEqual(steps[-3:], ["merge", "release", "idle"])

    def test_real_worktrees_transcripts_and_bookkeeping(self):
        self.run_team(4)
        lines = self.event_lines()
        web = os.path.join(self.home, "src", "web")
        listed = subprocess.run(["git", "-C", web, "worktree", "list", "--porcelain"], capture_output=True,
                                text=True, check=True).stdout
        open_worktrees = [l.split(" ", 1)[1] for l in listed.splitlines() if l.startswith("worktree ")][1:]
        self.assertTrue(open_worktrees)
        for path in open_worktrees:
            self.assertRegex(os.path.basename(path), r"^web-issue-\d+$")
            self.assertEqual(os.path.dirname(path), os.path.dirname(web))
            gitfile = self.read(path, ".git")
            self.assertIn(f"gitdir: {web}/.git/worktrees/", gitfile)
        released = [l["ticket"] for l in lines if l["step"] == "release"]
        merged_log = subprocess.run(["git", "-C", web, "log", "--oneline", "main"], capture_output=True,
                                    text=True, check=True).stdout
        for ticket in released:
            self.assertIn(f"Merge vorn/{ticket.lower()}", merged_log)
            self.assertFalse(os.path.exists(os.path.join(os.path.dirname(web), f"web-issue-{ticket.split('-')[1]}")))

        agent_runs = {(l["role"], l["cycle"]) for l in lines if l["step"] == "agent"}
        for role, cycle in agent_runs:
            base = os.path.join(self.state, "streams", "acme", f"web-{role}-{cycle}")
            meta = json.loads(self.read(base + ".jsonl.meta.json"))
            self.assertEqual((meta["route"], meta["role"], meta["exitCode"]), ("acme/web", role, 0))
            detail = [json.loads(l) for l in self.read(base + ".events.jsonl").splitlines()]
            for line in detail:
                self.assert_event_line(line)
            self.assertEqual({l["data"]["kind"] for l in detail} - {"cycle", "thought", "tool", "text"}, set())

        resolved = json.loads(self.read(self.state, "resolved", "acme", "web.json"))
        self.assertEqual(resolved["route"], "acme/web")
        self.assertRegex(self.read(self.state, ".poll-watermark"), r"^\d{4}-\d\d-\d\dT")
        self.assertEqual([f for f in os.listdir(self.state) if f.endswith(".lock") and f.startswith(".vorn-role")], [])

    def test_paused_roles_are_skipped_and_a_paused_team_does_nothing(self):
        self.vorn_ok("pause", "dev")
        self.run_team(3)
        self.assertNotIn("dev", {l["role"] for l in self.event_lines()})
        self.vorn_ok("pause")
        before = len(self.event_lines())
        stopper = subprocess.Popen([sys.executable, VORN, "team"], env=self.env, stdout=subprocess.PIPE, text=True)
        time.sleep(1.5)
        stopper.send_signal(signal.SIGINT)
        output, _ = stopper.communicate(timeout=30)
        self.assertEqual(stopper.returncode, 0)
        self.assertEqual(output.count("waiting: vorn is paused"), 1)
        self.assertEqual(len(self.event_lines()), before)


class LiveTeamTest(SandboxCase):
    speed = 15

    def test_a_live_process_holds_the_lock_and_a_stop_leaves_no_children(self):
        started = subprocess.run([sys.executable, SANDBOX, "start", self.root], capture_output=True, text=True,
                                 timeout=60, env=self.env)
        self.assertEqual(started.returncode, 0, started.stderr)
        self.assertIn(f"export VORN_CONFIG={self.config}", started.stdout)
        team_pid = int(self.read(self.root, "team.pid"))
        self.addCleanup(subprocess.run, [sys.executable, SANDBOX, "stop", self.root], capture_output=True, timeout=60)
        holder = self.wait_for_lock()
        with open(f"/proc/{holder}/stat", encoding="utf-8") as handle:
            self.assertEqual(int(handle.read().rsplit(")", 1)[1].split()[1]), team_pid)
        self.assertNotEqual(self.event_lines()[-1]["step"], "idle")
        stopped = subprocess.run([sys.executable, SANDBOX, "stop", self.root], capture_output=True, text=True,
                                 timeout=60)
        self.assertEqual(stopped.stdout.strip(), "stopped")
        for pid in (team_pid, holder):
            self.assertFalse(os.path.exists(f"/proc/{pid}") and "zombie" not in self.status_of(pid), pid)
        self.assertIn("team: stopped", self.read(self.root, "team.log"))
        last = self.event_lines()[-1]
        self.assertEqual((last["step"], last["level"]), ("idle", "warn"))
        self.assertIn("SIGTERM", last["message"])

    def status_of(self, pid):
        try:
            return self.read(f"/proc/{pid}/status").lower()
        except OSError:
            return "zombie"

    def wait_for_lock(self):
        deadline = time.monotonic() + 60
        while time.monotonic() < deadline:
            for role in ROLES:
                try:
                    pid = int(self.read(self.state, f".vorn-role-{role}.lock"))
                except (OSError, ValueError):
                    continue
                if os.path.exists(f"/proc/{pid}") and any(l["step"] == "worktree" for l in self.event_lines()):
                    return pid
            time.sleep(0.05)
        self.fail("no cycle took a lock")


class ScheduleTest(unittest.TestCase):
    def test_incidents_come_round_on_a_fixed_schedule(self):
        played = [team.incident_for(n) for n in range(team.SCHEDULE_LENGTH * 2)]
        self.assertEqual(played[4], "error-burst")
        self.assertEqual(played[9:15], ["outage"] * 6)
        self.assertEqual(played[17], "fallback")
        self.assertEqual(played[:team.SCHEDULE_LENGTH], played[team.SCHEDULE_LENGTH:])

    def test_roles_rotate_over_those_with_work_and_samples_go_first(self):
        class Markers:
            paused = set()

            def is_paused(self, what=None):
                return what in self.paused

        state_dir = Markers()
        tickets = {"tickets": []}
        board.new_ticket(tickets, "acme/web", stage="triage")
        board.new_ticket(tickets, "acme/web", stage="qa")
        self.assertEqual(team.choose_role(tickets, "acme/web", state_dir, 0), "qa")
        self.assertEqual(team.choose_role(tickets, "acme/web", state_dir, 2), "triage")
        board.new_ticket(tickets, "acme/web", stage="dev", sample=True)
        self.assertEqual(team.choose_role(tickets, "acme/web", state_dir, 3), "dev")
        Markers.paused = {"dev", "qa", "design", "triage"}
        self.assertIsNone(team.choose_role(tickets, "acme/web", state_dir, 0))


if __name__ == "__main__":
    unittest.main()
