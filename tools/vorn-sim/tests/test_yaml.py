"""The YAML subset reader, and edits of vorn.yaml that must read back as meant and
leave every other line alone."""

import os
import tempfile
import textwrap
import unittest

import sandboxcase  # noqa: F401  (puts the simulator on the path)
from vornsim import config, yamledit, yamlmini
from vornsim.yamlmini import Mapping, YAMLError

SAMPLE = textwrap.dedent("""\
    # the ship
    ship:
      name: Old   # shown everywhere
      stateDir: /s
    routes:
    - route: acme/web
      enabled: yes
      repos:
        web: /src/web   # main checkout
    - route: acme/api
      repos: {}
    - route: solo
      dir: /src/solo
    """)


class ReaderTest(unittest.TestCase):
    def test_comments_quotes_and_folding(self):
        node = yamlmini.parse('a: 1  # note\nb: b#c\nc: "x # y"\nd: one\n  two\ne: \'it\'\'s\'\n')
        self.assertEqual([(k, v) for k, v in node.pairs],
                         [("a", "1"), ("b", "b#c"), ("c", "x # y"), ("d", "one two"), ("e", "it's")])

    def test_list_level_with_its_key_and_item_mappings(self):
        node = yamlmini.parse("a:\n- name: x\n  dir: y\n- z\n")
        items = node.get("a")
        self.assertEqual(items[0].get("dir"), "y")
        self.assertEqual(items[1], "z")

    def test_empty_flow_forms_and_null(self):
        node = yamlmini.parse("a: {}\nb: [ ]\nc:\n")
        self.assertIsInstance(node.get("a"), Mapping)
        self.assertEqual(node.get("b"), [])
        self.assertIsNone(node.get("c"))

    def test_errors_name_the_line(self):
        cases = {
            "a:\n  - x\n b: 1\n": "line 3: unexpected indentation",
            "a: b\n  c: d\n": "line 2: unexpected indentation after `b`",
            "a: [1, 2]\n": "line 1: flow collections are not supported: `[1, 2]`",
            "just text\n": "line 1: expected `key: value`, got `just text`",
            "- a\n  - b: 1\n": "line 2: unexpected indentation after `a`",
        }
        for text, message in cases.items():
            with self.subTest(text=text), self.assertRaises(YAMLError) as caught:
                yamlmini.parse(text)
            self.assertEqual(str(caught.exception), message)


class ConfigTest(unittest.TestCase):
    def load(self, text):
        folder = tempfile.mkdtemp()
        path = os.path.join(folder, "vorn.yaml")
        with open(path, "w", encoding="utf-8") as handle:
            handle.write(text)
        return config.load(path), folder

    def test_defaults_and_route_rules(self):
        loaded, _ = self.load(SAMPLE)
        self.assertEqual(loaded.ship.name, "Old")
        web, api, solo = loaded.routes
        self.assertTrue(web.enabled)
        self.assertFalse(api.enabled)
        self.assertEqual(api.repos, [])
        self.assertEqual([r.name for r in solo.repos], ["solo"])
        self.assertEqual(web.worktree_prefix, "web-issue-")
        self.assertEqual(solo.worktree_prefix, "solo-issue-")
        bare, folder = self.load("ship:\n")
        self.assertEqual(bare.ship.state_dir, os.path.join(folder, "state"))
        self.assertEqual(bare.ship.log_file, "/tmp/vorn.log")
        self.assertEqual((bare.ship.name, bare.ship.platform, bare.routes), ("this ship", "macos", []))

    def test_missing_ship_block_is_malformed(self):
        with self.assertRaises(config.ConfigMalformed) as caught:
            self.load("")
        self.assertEqual(str(caught.exception), "vorn.yaml could not be read \u2014 no `ship:` block")

    def test_search_order(self):
        home = tempfile.mkdtemp()
        found = config.search_path({"VORN_CONFIG": "~/x.yaml", "XDG_CONFIG_HOME": "/xdg"}, home)
        self.assertEqual(found, [f"{home}/x.yaml", "/xdg/vorn/vorn.yaml", f"{home}/.config/vorn/vorn.yaml"])
        self.assertEqual(config.search_path({}, home), [f"{home}/.config/vorn/vorn.yaml"])


class EditTest(unittest.TestCase):
    def edit(self, change, text=SAMPLE):
        document = yamledit.YamlText(text)
        change(document)
        return document.text()

    def test_ship_name_keeps_its_comment_and_every_other_line(self):
        edited = self.edit(lambda d: d.set_ship_name("New # one"))
        self.assertIn('  name: "New # one" # shown everywhere', edited)
        self.assertEqual(yamlmini.parse(edited).get("ship").get("name"), "New # one")
        self.assertEqual([l for l in edited.splitlines() if "name:" not in l],
                         [l for l in SAMPLE.splitlines() if "name:" not in l])

    def test_add_repo_to_each_form_of_route(self):
        edited = self.edit(lambda d: (d.add_repo("acme/web", "docs", "/src/docs"),
                                      d.add_repo("acme/api", "api", "/src/api"),
                                      d.add_repo("solo", "extra", "/src/extra")))
        routes = yamlmini.parse(edited).get("routes")
        self.assertEqual([k for k, _ in routes[0].get("repos").pairs], ["web", "docs"])
        self.assertEqual(routes[1].get("repos").get("api"), "/src/api")
        # The route-level dir only counts while repos is empty, so it becomes a repo.
        self.assertEqual([k for k, _ in routes[2].get("repos").pairs], ["solo", "extra"])
        self.assertIn("web: /src/web   # main checkout", edited)

    def test_hooks_turn_a_scalar_repo_into_a_mapping_and_clear_again(self):
        edited = self.edit(lambda d: d.set_repo_hooks("acme/web", "web", {"test": "make test", "build": "make"}))
        web = yamlmini.parse(edited).get("routes")[0].get("repos").get("web")
        self.assertEqual(web.get("dir"), "/src/web")
        self.assertEqual(web.get("hooks").get("test"), "make test")
        cleared = self.edit(lambda d: d.set_repo_hooks("acme/web", "web", None), edited)
        web = yamlmini.parse(cleared).get("routes")[0].get("repos").get("web")
        self.assertEqual(web.get("dir"), "/src/web")
        self.assertNotIn("hooks", web)

    def test_append_route_and_top_level_block(self):
        edited = self.edit(lambda d: d.append_route(yamledit.route_item_lines("beta/x")))
        self.assertEqual([r.get("route") for r in yamlmini.parse(edited).get("routes")],
                         ["acme/web", "acme/api", "solo", "beta/x"])
        without = self.edit(lambda d: d.append_route(yamledit.route_item_lines("a")), "ship:\n  name: x\n")
        self.assertEqual(yamlmini.parse(without).get("routes")[0].get("enabled"), "yes")
        hooks = self.edit(lambda d: d.set_top_level("hooks", {"test": "npm test"}), "worktrees:\n  prefix: w-\n")
        parsed = yamlmini.parse(hooks)
        self.assertEqual((parsed.get("worktrees").get("prefix"), parsed.get("hooks").get("test")), ("w-", "npm test"))

    def test_unknown_route_is_an_error(self):
        with self.assertRaises(yamledit.EditError):
            self.edit(lambda d: d.add_repo("nope", "a", "/a"))


if __name__ == "__main__":
    unittest.main()
