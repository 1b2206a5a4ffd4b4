"""The probe against a simulated team at work: its report follows the team.

Runs `vorn-app --probe` (the path in VORN_APP) again and again while a team
of the scheduler simulator works in a fresh sandbox, and checks that the
reports show what the team does: a worker with its worktree, cycles ending,
a release, and the error burst of a failing cycle.
"""

import os
import re
import shutil
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
SANDBOX = ROOT / "tools" / "vorn-sim" / "sandbox"
PROBE_TIMEOUT = 60
DEADLINE_SECONDS = 240

# A worker once its ticket's worktree is cut (before that it shows "-").
WORKER = re.compile(r"\nworkers      \n  (Dev|Design|QA|Triage) (\S+) repo=(\S+)\n    worktree (/\S+)\n")
CYCLE = re.compile(r"\ncycle        (\S+) on acme/web\n")
ENDED = re.compile(r"^  \d\d:\d\d:\d\d idle\[\w+\] .*cycle done", re.M)
RELEASED = re.compile(r"^  \d\d:\d\d:\d\d release\[qa\] (WEB-\d+) released \1", re.M)
# The failing cycle: its three errors, counted in the cycle or listed among
# the recent events, whichever a look catches first.
BURST = "warn/err   0/3\n"
FAILED_ATTEMPTS = re.compile(r"reconcile failed: .*attempt [123] of 3$", re.M)


def worktrees_listed(report):
    return set(re.findall(r"^  ISSUE-\d+ \S+ (\S+)$", report, re.M))


class ProbeFollowsTheTeam(unittest.TestCase):
    def setUp(self):
        self.app = os.environ.get("VORN_APP")
        if not self.app:
            self.skipTest("VORN_APP names no vorn-app to run")
        self.folder = Path(tempfile.mkdtemp(prefix="vorn-e2e-"))
        self.sandbox = self.folder / "sandbox"
        subprocess.run([str(SANDBOX), "start", str(self.sandbox), "--fast", "--timer"],
                       check=True, stdout=subprocess.DEVNULL, timeout=120)
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.addCleanup(subprocess.run, [str(SANDBOX), "stop", str(self.sandbox)],
                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=60)
        exports = subprocess.run([str(SANDBOX), "env", str(self.sandbox)], check=True,
                                 capture_output=True, text=True, timeout=30).stdout
        self.environment = {"LANG": "C.UTF-8"}
        for name, value in re.findall(r"^export (\w+)=(.*)$", exports, re.M):
            self.environment[name] = value.strip("'\"")

    def probe(self):
        result = subprocess.run([self.app, "--probe"], env=self.environment, capture_output=True,
                                text=True, timeout=PROBE_TIMEOUT)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stderr, "")
        return result.stdout

    def test_reports_follow_workers_cycles_releases_and_errors(self):
        seen = {"worker": None, "cycles": set(), "ended": False, "release": None, "burst": None}
        deadline = time.monotonic() + DEADLINE_SECONDS
        while time.monotonic() < deadline:
            report = self.probe()
            self.assertIn("structure    vorn status --json (v1)\n", report)
            self.assertIn("run timer     com.pelorinth.vorn installed=true loaded=false "
                          "every 300s\n", report)
            worker = WORKER.search(report)
            if worker and not seen["worker"]:
                # The worker's worktree is one of the route's, in the same look.
                self.assertIn(worker.group(4), worktrees_listed(report), report)
                self.assertIn("health       working \u2014 ", report)
                seen["worker"] = worker.groups()
            cycle = CYCLE.search(report)
            if cycle:
                seen["cycles"].add(cycle.group(1))
            seen["ended"] = seen["ended"] or bool(ENDED.search(report))
            release = RELEASED.search(report)
            if release and not seen["release"]:
                seen["release"] = release.group(1)
            if BURST in report:
                self.assertIn("health       trouble \u2014 ", report)
            if (BURST in report or len(FAILED_ATTEMPTS.findall(report)) == 3) \
                    and not seen["burst"]:
                seen["burst"] = report
            if seen["worker"] and seen["ended"] and seen["release"] and seen["burst"] \
                    and len(seen["cycles"]) >= 3:
                break
        self.assertIsNotNone(seen["worker"], "no report showed a worker")
        self.assertTrue(seen["ended"], "no report showed a cycle ending")
        self.assertGreaterEqual(len(seen["cycles"]), 3, seen["cycles"])
        self.assertIsNotNone(seen["release"], "no report showed a release")
        self.assertIsNotNone(seen["burst"], "no report showed the failing cycle's errors")


if __name__ == "__main__":
    unittest.main()
