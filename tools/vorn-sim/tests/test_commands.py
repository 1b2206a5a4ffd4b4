"""The subcommands the app runs, answering in the formats it reads, against a sandbox."""

import itertools
import json
import os
import plistlib
import shutil
import signal
import subprocess
import sys
import time
import unittest

from sandboxcase import VORN, SandboxCase, first_json


class BasicsTest(SandboxCase):
    def test_version_and_usage(self):
        self.assertRegex(self.vorn_ok("--version").strip(), r"^v?\d+(\.\d+)+\S*$")
        self.assertIn("vorn \u2014 a standing team of headless agents", self.vorn_ok("--help"))
        unknown = self.vorn("frobnicate")
        self.assertEqual(unknown.returncode, 2)
        self.assertRegex(unknown.stderr, r"(?m)^\s*Usage:")

    def test_missing_configuration_names_where_it_looked(self):
        missing = os.path.join(self.scratch, "nowhere.yaml")
        os.unlink(self.config)
        result = self.vorn("status", "--json", env={"VORN_CONFIG": missing})
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr, f"no vorn.yaml found. Looked in:\n  {missing}\n  "
                                        f"{self.home}/.config/vorn/vorn.yaml\n")

    def test_malformed_configuration(self):
        with open(self.config, "w", encoding="utf-8") as handle:
            handle.write("ship:\n  a: 1\n b: 2\n")
        result = self.vorn("reload")
        self.assertEqual((result.returncode, result.stderr),
                         (1, "vorn.yaml could not be read \u2014 line 3: unexpected indentation\n"))


class StatusAndPauseTest(SandboxCase):
    def test_status_document(self):
        document = self.vorn_json("status", "--json")
        self.assertEqual(document["version"], 1)
        self.assertEqual(document["configFile"], self.config)
        self.assertEqual(document["ship"]["stateDir"], self.state)
        self.assertEqual([t["name"] for t in document["ship"]["toolchains"]], ["default", "backup"])
        self.assertEqual(document["route"]["name"], "acme/web")
        self.assertIs(document["route"]["enabled"], True)
        self.assertEqual(document["route"]["repos"],
                         [{"name": "web", "dir": f"{self.home}/src/web", "worktreePrefix": "web-issue-"}])
        self.assertEqual([s["role"] for s in document["vorn"]["seats"]], ["dev", "design", "qa", "triage"])
        self.assertEqual(document["passenger"], {"connected": True, "active": False})
        self.assertEqual((document["nameDrift"], document["rowName"]), ("none", "Sandbox"))
        self.assertEqual(document["attention"], [])

    def test_pause_and_resume_write_and_remove_the_markers(self):
        cases = [((), ".vorn-paused"), (("dev",), ".role-paused-dev"), (("acme/web", "release"), ".release-paused"),
                 (("acme/web", "qa"), ".role-paused-qa")]
        for words, marker in cases:
            with self.subTest(words=words):
                self.vorn_ok("pause", *words)
                self.assertTrue(os.path.exists(os.path.join(self.state, marker)))
        kinds = {item["kind"] for item in self.vorn_json("status", "--json")["attention"]}
        self.assertEqual(kinds, {"role_parked"})
        for words, marker in cases:
            self.assertIn("resumed", self.vorn_ok("resume", *words))
            self.assertFalse(os.path.exists(os.path.join(self.state, marker)))
        self.assertIn("was not paused", self.vorn_ok("resume"))
        self.assertEqual(self.vorn("pause", "nope/route").returncode, 1)

    def test_run_refuses_while_paused_and_runs_one_cycle_otherwise(self):
        self.vorn_ok("pause")
        refused = self.vorn("run")
        self.assertEqual(refused.returncode, 1)
        self.assertIn("paused", refused.stderr)
        self.vorn_ok("resume")
        self.vorn_ok("run", "--role", "dev", "--quiet")
        lines = self.event_lines()
        steps = [step for step, _ in itertools.groupby(e["step"] for e in lines)]
        self.assertEqual(steps, ["poll", "select", "worktree", "agent", "reconcile", "idle"])
        self.assertEqual({e["cycle"] for e in lines}, {lines[0]["cycle"]})
        self.assertFalse(os.path.exists(os.path.join(self.state, ".vorn-role-dev.lock")))
        self.assertTrue(os.path.isdir(os.path.join(self.home, "src", "web-issue-101")))

    def test_interrupted_cycle_keeps_its_worktree_and_reports_it_held(self):
        cycle = subprocess.Popen([sys.executable, VORN, "run", "--role", "dev", "--quiet", "--speed", "2"],
                                 env=self.env, stdin=subprocess.DEVNULL)
        self.addCleanup(cycle.kill)
        lock = os.path.join(self.state, ".vorn-role-dev.lock")
        worktree = os.path.join(self.home, "src", "web-issue-101")
        deadline = time.monotonic() + 30
        while not os.path.isdir(worktree) and time.monotonic() < deadline:
            time.sleep(0.05)
        self.assertEqual(int(self.read(lock)), cycle.pid)
        cycle.send_signal(signal.SIGINT)
        self.assertEqual(cycle.wait(timeout=30), 130)
        self.assertFalse(os.path.exists(lock))
        last = self.event_lines()[-1]
        self.assertEqual((last["step"], last["level"]), ("idle", "warn"))
        held = [i for i in self.vorn_json("status", "--json")["attention"] if i["kind"] == "worktree_held"]
        self.assertEqual(held[0]["held"], {"repo": "web", "path": worktree, "ticket": "WEB-101",
                                           "reason": "interrupted by SIGINT"})

    def test_poll_moves_the_watermark_and_adopts_a_renamed_row(self):
        from vornsim import state

        account_file = os.path.join(self.home, ".vorn-sim", "account.json")
        account = state.read_json(account_file, {})
        account["ship"]["rowName"] = "Renamed Elsewhere"
        state.write_atomically(account_file, json.dumps(account))
        document = self.vorn_json("status", "--json")
        self.assertEqual((document["nameDrift"], document["rowName"]), ("row", "Renamed Elsewhere"))
        output = self.vorn_ok("poll")
        self.assertIn("ship renamed to Renamed Elsewhere", output)
        self.assertRegex(self.read(self.state, ".poll-watermark"), r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z\n$")
        self.assertIn("name: Renamed Elsewhere", self.read(self.config))
        self.assertEqual(self.vorn_json("status", "--json")["nameDrift"], "none")
        self.assertTrue(os.path.isfile(os.path.join(self.state, "resolved", "acme", "web.json")))


class SetupCommandsTest(SandboxCase):
    def test_projects_mark_the_current_one(self):
        listing = self.vorn_json("projects", "--route", "acme/web", "--json")
        entry = listing["routes"][0]
        self.assertEqual(entry["route"], "acme/web")
        self.assertEqual([(p["name"], p["current"]) for p in entry["projects"]], [("Web", True), ("API", False)])
        self.assertEqual(self.vorn("projects", "--route", "zzz", "--json").returncode, 1)

    def test_doctor_report_and_fix(self):
        report = self.vorn_json("doctor", "--json")
        self.assertEqual(set(report), {"offline", "pushAuth", "tools", "problems", "passed"})
        self.assertEqual(report["pushAuth"], [{"route": "acme/web", "repo": "web", "result": {"state": "ok"}}])
        self.assertEqual([p["kind"] for p in report["problems"]], ["timer_missing", "hooks_none"])
        self.assertTrue(any(t["name"] == "git" and t["need"] == "required" and t["found"] for t in report["tools"]))
        self.assertIn("installed com.pelorinth.vorn ", self.vorn_ok("doctor", "--fix"))
        with open(os.path.join(self.home, "Library/LaunchAgents/com.pelorinth.vorn.plist"), "rb") as handle:
            unit = plistlib.load(handle)
        self.assertTrue(unit["ProgramArguments"][1].endswith("/vorn"))
        self.assertEqual(unit["StartInterval"], 300)
        self.assertNotIn("timer_missing", [p["kind"] for p in self.vorn_json("doctor", "--json")["problems"]])
        shutil.rmtree(os.path.join(self.home, "src", "web"))
        broken = self.vorn_json("doctor", "--json")
        self.assertEqual(broken["pushAuth"][0]["result"]["state"], "failed")
        self.assertIn(("blocker", "repo_missing"), [(p["severity"], p["kind"]) for p in broken["problems"]])

    def test_selftest_prints_an_array_and_keeps_the_results(self):
        results = self.vorn_json("selftest", "--toolchain", "default", "--json")
        self.assertEqual(len(results), 1)
        self.assertEqual((results[0]["toolchain"], results[0]["harness"], results[0]["ok"]), ("default", "claude", True))
        for key in ("model", "detail", "ms", "ranAt"):
            self.assertIn(key, results[0])
        text = self.read(self.config).replace("      model: light", "      model: light\n      bin: /nope/codex")
        with open(self.config, "w", encoding="utf-8") as handle:
            handle.write(text)
        failed = self.vorn("selftest", "--toolchain", "backup", "--json")
        self.assertEqual(failed.returncode, 1)
        self.assertEqual(first_json(failed.stdout)[0]["failure"], "binary-not-found")
        stored = first_json(self.read(self.state, "selftest.json"))
        self.assertEqual(sorted(stored), ["backup", "default"])

    def test_sample_ticket_files_once_and_removes_everything(self):
        filed = self.json_lines(self.vorn_ok("sample-ticket", "--json"))[0]
        self.assertEqual(filed["event"], "filed")
        self.assertRegex(filed["ticket"], r"^SAMPLE-\d+$")
        self.assertTrue(os.path.isdir(os.path.join(filed["dir"], ".git")))
        again = self.json_lines(self.vorn_ok("sample-ticket", "--json"))[0]
        self.assertEqual(again["ticket"], filed["ticket"])
        self.vorn_ok("run", "--role", "dev", "--quiet")
        self.vorn_ok("run", "--role", "qa", "--quiet")
        story = [(e["step"], e["role"]) for e in self.event_lines() if e.get("ticket") == filed["ticket"]]
        self.assertLess(story.index(("agent", "dev")), story.index(("agent", "qa")))
        self.assertLess(story.index(("agent", "qa")), story.index(("release", "qa")))
        self.assertEqual(story[-1], ("idle", "qa"))
        self.vorn_ok("sample-ticket", "--remove", "--json")
        self.assertFalse(os.path.exists(filed["dir"]))
        self.assertNotIn(filed["ticket"], self.read(self.state, "board.json"))

    def test_ship_rename(self):
        result = self.vorn_json("ship", "rename", "Blue Whale", "--json")
        self.assertEqual(result, {"name": "Blue Whale", "previous": "Sandbox",
                                  "routes": [{"route": "acme/web", "status": "renamed"}]})
        self.assertIn("  name: Blue Whale\n", self.read(self.config))
        self.assertEqual(self.vorn_json("status", "--json")["nameDrift"], "none")


class ReposTest(SandboxCase):
    def entry(self, name):
        listing = self.vorn_json("repos", "list", "acme/web", "--json")
        return next(e for e in listing["repos"] if e["name"] == name)

    def test_list_clone_and_add(self):
        web, docs = self.entry("web"), self.entry("docs")
        self.assertEqual((web["attached"], web["exists"], web["matchedRow"], web["hooksSource"]),
                         (True, True, "row_web", "none"))
        self.assertEqual((docs["attached"], docs["exists"]), (False, False))
        target = os.path.join(self.scratch, "elsewhere", "docs")
        lines = self.json_lines(self.vorn_ok("repos", "clone", "acme/web", "docs", "--dir", target, "--json"))
        self.assertEqual(lines, [{"event": "cloning", "remote": docs["remote"], "target": target},
                                 {"event": "attached", "dir": target}])
        self.assertEqual((self.entry("docs")["attached"], self.entry("docs")["dir"]), (True, target))
        self.assertEqual(self.vorn("repos", "clone", "acme/web", "docs", "--dir", target, "--json").returncode, 1)
        plain = os.path.join(self.scratch, "plain")
        os.makedirs(plain)
        refused = self.vorn("repos", "add", "acme/web", "plain", plain)
        self.assertEqual((refused.returncode, refused.stderr.strip()), (1, f"{plain} is not a git checkout"))

    def test_hooks_suggest_write_and_clear(self):
        proposal = self.vorn_json("repos", "hooks", "acme/web", "web", "--suggest", "--json")
        self.assertEqual(proposal["hooks"], {"test": "make test", "build": "make build"})
        self.assertEqual([(r["id"], r["writable"], r["defaultOn"]) for r in proposal["recipes"]],
                         [("make", True, True), ("version-file", False, False)])
        self.vorn_ok("repos", "hooks", "acme/web", "web", "--write", "route", "--recipes", "make",
                     "--hook", "version=cat VERSION")
        self.assertEqual(self.entry("web")["hooksSource"], "route")
        self.assertIn("version: cat VERSION", self.read(self.config))
        self.vorn_ok("repos", "hooks", "acme/web", "web", "--clear", "route")
        self.assertEqual(self.entry("web")["hooksSource"], "none")
        self.vorn_ok("repos", "hooks", "acme/web", "web", "--write", "repo", "--hook", "test=make test")
        self.assertEqual(self.entry("web")["hooksSource"], "repo")
        self.assertEqual(self.vorn("repos", "hooks", "acme/web", "web", "--write", "route").returncode, 1)

    def test_review_ends_with_the_agents_proposal(self):
        output = self.vorn_ok("repos", "hooks", "acme/web", "web", "--suggest", "--agent", "--json")
        last = first_json(output.strip().splitlines()[-1])
        self.assertEqual(last["agent"]["toolchain"], "default")
        self.assertIn("Makefile", last["agent"]["filesRead"])


class ConnectAndResetTest(SandboxCase):
    def connect(self, *arguments, status=0):
        result = self.vorn("connect", *arguments, "--json", "--no-wizard", "--base-url", "https://pelorinth.example")
        self.assertEqual(result.returncode, status, result.stderr)
        return self.json_lines(result.stdout)

    def test_sign_in_questions_and_provision(self):
        os.unlink(self.config)
        self.assertEqual(self.connect("--sign-out"), [{"event": "signed_out", "ok": True, "email": "ada@acme.example"}])
        first = self.connect("--dry-run", status=3)
        self.assertEqual([e["event"] for e in first], ["device_code", "signed_in", "choice"])
        self.assertRegex(first[0]["userCode"], r"^[A-Z]{4}-[A-Z]{4}$")
        self.assertEqual(first[2]["key"], "workspace")
        second = self.connect("acme", "--dry-run", status=3)
        self.assertNotIn("device_code", [e["event"] for e in second])
        self.assertEqual([e["key"] for e in second if e["event"] == "choice"], ["project", "operator"])
        answers = ["--choose", "operator=op_ada", "--choose", "project=web"]
        ready = self.connect("acme", "--dry-run", *answers)
        self.assertEqual(ready[-1], {"event": "done", "dryRun": True, "message": "ready to connect"})
        self.assertFalse(os.path.exists(self.config))
        done = self.connect("acme", "--ship-name", "Nautilus", *answers)
        events = [e["event"] for e in done]
        self.assertEqual(events[-2:], ["config", "done"])
        self.assertEqual(events.count("seat"), 4)
        self.assertEqual(done[-2]["path"], self.config)
        self.assertIn("route: acme/web", self.read(self.config))
        again = self.connect("acme", "--ship-name", "Nautilus", *answers)
        self.assertEqual((again[-2]["written"], again[-2]["reason"]), (False, "exists"))

    def test_unknown_workspace_and_denied_sign_in_are_problems(self):
        problem = self.connect("nope", "--dry-run", status=2)[-1]
        self.assertEqual((problem["event"], problem["stage"]), ("problem", "workspace"))
        self.connect("--sign-out")
        result = self.vorn("connect", "--json", "--dry-run", env={"VORN_SIM_SIGNIN": "deny"})
        self.assertEqual(result.returncode, 2)
        self.assertEqual(self.json_lines(result.stdout)[-1]["stage"], "sign-in")

    def test_reset_refuses_dirty_clones_then_removes_everything(self):
        clone = os.path.join(self.home, "src", "docs")
        self.vorn_ok("repos", "clone", "acme/web", "docs", "--json")
        with open(os.path.join(clone, "README.md"), "a", encoding="utf-8") as handle:
            handle.write("local change\n")
        refused = self.vorn("disconnect", "--reset", "--remove-checkouts", "--json")
        self.assertEqual(refused.returncode, 1)
        self.assertEqual(first_json(refused.stdout)["steps"],
                         [{"step": "checkout", "target": clone, "action": "kept",
                           "detail": "has changes that are not committed or pushed"}])
        self.assertTrue(os.path.exists(self.config))
        report = self.vorn_json("disconnect", "--reset", "--json")
        self.assertEqual((report["ok"], report["dryRun"]), (True, False))
        self.assertEqual([s["step"] for s in report["steps"]][0], "signin")
        self.assertEqual(report["steps"][-1], {"step": "config", "target": self.config, "action": "removed"})
        self.assertFalse(os.path.exists(self.config))
        self.assertTrue(os.path.isdir(clone))
        self.assertEqual(self.vorn_json("disconnect", "--reset", "--json"), {"dryRun": False, "ok": True, "steps": []})


if __name__ == "__main__":
    unittest.main()
