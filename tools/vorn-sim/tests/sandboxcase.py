"""A test case with a fresh sandbox of its own, and helpers to run the simulator in it."""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
VORN = os.path.join(ROOT, "vorn")
SANDBOX = os.path.join(ROOT, "sandbox")
sys.path.insert(0, ROOT)


def first_json(text):
    """Like every reader of vorn's output: parse from the first "{" or "["."""
    starts = [i for i in (text.find("{"), text.find("[")) if i >= 0]
    return json.loads(text[min(starts):])


class SandboxCase(unittest.TestCase):
    speed = 500

    def setUp(self):
        self.scratch = tempfile.mkdtemp(prefix="vorn-sim-test-")
        self.addCleanup(shutil.rmtree, self.scratch, True)
        self.root = os.path.join(self.scratch, "sandbox")
        subprocess.run([sys.executable, SANDBOX, "create", self.root, "--speed", str(self.speed)], check=True,
                       capture_output=True, timeout=120)
        shown = subprocess.run([sys.executable, SANDBOX, "env", self.root, "--json"], check=True,
                               capture_output=True, text=True, timeout=30)
        self.env = dict(os.environ, **json.loads(shown.stdout), VORN_SIM_APPROVE_SECONDS="0")
        for key in ("XDG_CONFIG_HOME", "VORN_SIM_HOME", "VORN_SIM_SPEED", "VORN_SIM_SIGNIN"):
            self.env.pop(key, None)
        self.home = self.env["HOME"]
        self.config = self.env["VORN_CONFIG"]
        self.state = os.path.join(self.home, ".vorn", "state")

    def vorn(self, *arguments, env=None, timeout=120):
        return subprocess.run([sys.executable, VORN, *arguments], capture_output=True, text=True,
                              env=dict(self.env, **(env or {})), timeout=timeout, stdin=subprocess.DEVNULL)

    def vorn_ok(self, *arguments, **options):
        result = self.vorn(*arguments, **options)
        self.assertEqual(result.returncode, 0, f"vorn {' '.join(arguments)}: {result.stderr}{result.stdout}")
        return result.stdout

    def vorn_json(self, *arguments, **options):
        return first_json(self.vorn_ok(*arguments, **options))

    def json_lines(self, text):
        return [json.loads(line) for line in text.splitlines() if line.startswith("{")]

    def read(self, *parts):
        with open(os.path.join(*parts), encoding="utf-8") as handle:
            return handle.read()

    def event_lines(self):
        path = os.path.join(self.state, "events.jsonl")
        if not os.path.exists(path):
            return []
        with open(path, encoding="utf-8") as handle:
            return [json.loads(line) for line in handle]
