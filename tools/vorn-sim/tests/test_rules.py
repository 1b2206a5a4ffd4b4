"""The simulator's own rules that the commands rest on: name drift, remote
matching, the ticket board and hook detection."""

import json
import os
import tempfile
import unittest
from unittest import mock

import sandboxcase  # noqa: F401  (puts the simulator on the path)
from vornsim import board, hooks, service
from vornsim.commands.repos import same_remote
from vornsim.cycle import format_duration


class NameDriftTest(unittest.TestCase):
    def drift(self, local, row, synced):
        account = {"ship": {"rowName": row, "syncedName": synced}}
        with mock.patch.object(service, "account", return_value=account):
            return service.name_drift(local)

    def test_which_side_moved(self):
        self.assertEqual(self.drift("A", "A", "A"), ("A", "none"))
        self.assertEqual(self.drift("A", "B", "A"), ("B", "row"))
        self.assertEqual(self.drift("B", "A", "A"), ("A", "local"))
        self.assertEqual(self.drift("B", "C", "A"), ("C", "both"))
        # Both moved to the same name: they agree again.
        self.assertEqual(self.drift("B", "B", "A"), ("B", "none"))

    def test_no_row_without_an_account(self):
        with mock.patch.object(service, "account", return_value={}):
            self.assertEqual(service.name_drift("A"), (None, None))


class SameRemoteTest(unittest.TestCase):
    def test_owner_and_name_decide(self):
        self.assertTrue(same_remote("git@host:Owner/Repo.git", "https://other/owner/repo"))
        self.assertTrue(same_remote("git@a.example:Acme/App.git", "https://b.example/acme/app/"))
        self.assertTrue(same_remote("/tmp/x/remotes/acme/web.git", "file:///tmp/x/remotes/acme/web.git"))
        self.assertFalse(same_remote("https://host/owner/repo", "https://host/owner/repo2"))
        self.assertFalse(same_remote(None, "https://host/owner/repo"))


class BoardTest(unittest.TestCase):
    def setUp(self):
        self.tickets = {}
        board.seed(self.tickets, "acme/web")

    def stages(self):
        return [t["stage"] for t in board.tickets(self.tickets)]

    def test_seed_gives_every_role_work_once(self):
        self.assertEqual(self.stages(), ["dev", "dev", "triage", "design", "triage", "triage"])
        self.assertEqual([t["id"] for t in board.tickets(self.tickets)][:2], ["WEB-101", "WEB-102"])
        board.seed(self.tickets, "acme/web")
        self.assertEqual(len(board.tickets(self.tickets)), 6)
        self.assertEqual(board.roles_with_work(self.tickets, "acme/web"), ["triage", "design", "dev"])

    def test_queue_order_releases_and_pause(self):
        board.move(self.tickets, "WEB-101", "qa")
        board.move(self.tickets, "WEB-102", "release")
        self.assertEqual([t["id"] for t in board.queue(self.tickets, "acme/web", "qa")], ["WEB-102", "WEB-101"])
        self.assertEqual([t["id"] for t in board.queue(self.tickets, "acme/web", "qa", release_paused=True)],
                         ["WEB-101"])
        sample = board.new_ticket(self.tickets, "acme/web", stage="qa", sample=True, repo_dir="/s")
        self.assertEqual(sample["id"], "SAMPLE-1")
        self.assertEqual(board.queue(self.tickets, "acme/web", "qa")[0]["id"], "SAMPLE-1")
        self.assertEqual(board.rank(self.tickets, "SAMPLE-1"), 1)
        self.assertEqual(board.rank(self.tickets, "WEB-102"), 3)

    def test_done_tickets_are_trimmed_and_held_worktrees_replaced(self):
        for _ in range(board.KEEP_DONE + 5):
            ticket = board.new_ticket(self.tickets, "acme/web", stage="qa")
            board.move(self.tickets, ticket["id"], "done")
        self.assertEqual(self.stages().count("done"), board.KEEP_DONE)
        board.hold_worktree(self.tickets, "WEB-101", "/w/web-issue-101", "web", "interrupted")
        board.hold_worktree(self.tickets, "WEB-101", "/w/web-issue-101", "web", "again")
        self.assertEqual([h["reason"] for h in self.tickets["held"]], ["again"])
        board.release_worktree(self.tickets, "/w/web-issue-101")
        self.assertEqual(self.tickets["held"], [])

    def test_versions_count_up_per_repository(self):
        self.assertEqual([board.next_version(self.tickets, "web") for _ in range(2)], ["1.4.1", "1.4.2"])
        self.assertEqual(board.next_version(self.tickets, "api"), "1.4.1")


class HookDetectionTest(unittest.TestCase):
    def folder(self, files):
        root = tempfile.mkdtemp()
        for name, text in files.items():
            with open(os.path.join(root, name), "w", encoding="utf-8") as handle:
                handle.write(text)
        return root

    def test_package_scripts_and_python_projects(self):
        scripts = json.dumps({"scripts": {"test": "jest", "build": "tsc", "lint": "x"}})
        found = hooks.proposal(self.folder({"package.json": scripts}))
        self.assertEqual((found["source"], found["hooks"]), ("package.json", {"test": "npm test", "build": "npm run build"}))
        python = hooks.proposal(self.folder({"pyproject.toml": "[project]\n"}))
        self.assertEqual(python["hooks"], {"test": "python3 -m unittest"})

    def test_makefile_wins_over_package_scripts_and_nothing_is_a_note(self):
        both = self.folder({"Makefile": "test:\n\ttrue\n", "package.json": '{"scripts": {"test": "jest"}}'})
        found = hooks.proposal(both)
        self.assertEqual(found["hooks"], {"test": "make test"})
        self.assertEqual([(r["id"], r["defaultOn"]) for r in found["recipes"]], [("make", True), ("npm", False)])
        self.assertEqual(hooks.from_recipes(both, ["npm"]), {"test": "npm test"})
        empty = hooks.proposal(self.folder({"README.md": "x"}))
        self.assertEqual((empty["hooks"], empty["recipes"], "source" in empty), ({}, [], False))
        self.assertTrue(empty["notes"])

    def test_broken_package_json_is_ignored(self):
        self.assertEqual(hooks.recipes(self.folder({"package.json": "{not json"})), [])


class DurationTest(unittest.TestCase):
    def test_forms(self):
        self.assertEqual([format_duration(s) for s in (59, 60, 3599, 3600, 3661)],
                         ["59s", "1m 00s", "59m 59s", "1h 00m", "1h 01m"])


if __name__ == "__main__":
    unittest.main()
