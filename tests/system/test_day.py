#!/usr/bin/python3
"""A day of an operator at a terminal: what is on the screen, how wide, in which colours, and what each command ends with."""
import re
import unittest

from node import DONE, EXAMPLES, NOT_FOUND, NOTHING_TO_DO, REFUSED, UNREACHABLE, WRONG_USAGE, Node, wait_until
from terminal import CTRL_C, OTHER_KEYS, Screens

COLLECTED = sorted(EXAMPLES.glob("1a2b*_header.xml"))
BACKUP, = EXAMPLES.glob("7c1f*_header.xml")
SETTINGS = sorted(EXAMPLES.glob("5e771a65*_header.xml"))
GREEN, YELLOW = "\x1b[32m", "\x1b[33m"


class Day(Screens):
    def setUp(self):
        self.node = Node()
        self.addCleanup(self.node.close)

    def installed(self):
        self.on_screen("lumpolicy", "install", "--no-notify", "--package", *COLLECTED, fits=False)
        self.on_screen("lumpolicy", "install", "--no-notify", BACKUP, fits=False)

    def test_in_the_morning_a_look_tells_how_the_node_fares(self):
        for columns in (80, 120):
            shown = self.plain("lumpolicy", "status", columns=columns)
            self.assertRegex(shown, r"(?m)^serving +version \d+\.\d+\.\d+")
            self.assertRegex(shown, rf"(?m)^port +{self.node.port}, plain, on loopback alone$")
            self.assertRegex(shown, r"(?m)^policies +0: 0 enabled, 0 disabled$")
        self.assertEqual(len(self.plain("lumpolicy", "list").splitlines()), 1, "nothing but the headings, and no error")
        self.assertIn("the configuration is in order", self.plain("lumconfd", "--check-config"))

    def test_policies_come_and_a_table_shows_them_in_colours_at_any_width(self):
        self.installed()
        for columns in (50, 80, 200):
            shown = self.on_screen("lumpolicy", "list", columns=columns)
            lines = shown.splitlines()
            self.assertEqual(len(lines), 5, shown)
            self.assertEqual([line[:3] for line in lines], ["TYP", "bac", "col", "col", "col"])
            self.assertEqual(shown.count(GREEN + "ena"), 4, shown)
            self.assertEqual("…" in shown, columns < 200, shown)
        self.assertNotIn("\x1b", self.on_screen("lumpolicy", "list", NO_COLOR="1"))

    def test_a_slip_of_the_finger_costs_two_lines_that_name_the_right_word(self):
        for tool, wrong, right in (("lumpolicy", "instal", "install"), ("lumsettings", "gte", "get"),
                                   ("lumtrust", "lst", "list"), ("lumcluster", "statsu", "status")):
            lines = self.plain(tool, wrong, code=WRONG_USAGE).strip().splitlines()
            self.assertEqual(len(lines), 2, lines)
            self.assertEqual(lines[0], f"{tool}: there is no command '{wrong}'; did you mean '{right}'?")
            self.assertRegex(lines[1], f"^usage: {tool} ")

    def test_what_a_selection_would_do_is_seen_before_it_is_done_and_is_done_once(self):
        self.installed()
        chosen = ["--type", "collect", "--category", "metrics"]
        shown = self.plain("lumpolicy", "disable", *chosen, "--dry-run", columns=100)
        self.assertEqual(len(re.findall(r"(?m)^would disable ", shown)), 3, shown)
        self.assertEqual(self.on_screen("lumpolicy", "list").count(GREEN), 4, "nothing was done")
        self.on_screen("lumpolicy", "disable", *chosen, "--no-notify")
        shown = self.on_screen("lumpolicy", "list")
        self.assertEqual((shown.count(GREEN + "enabled"), shown.count(YELLOW + "disabled")), (1, 3), shown)
        again = self.plain("lumpolicy", "disable", *chosen, "--no-notify", code=NOTHING_TO_DO)
        self.assertTrue(again.startswith("lumpolicy: note: "), again)

    def test_a_setting_is_changed_and_the_screen_tells_who_wins(self):
        self.on_screen("lumpolicy", "install", "--package", *SETTINGS)
        self.on_screen("lumsettings", "set", "conf.server", "FORMAT_POLICY_LIST=true")
        self.assertIn("FORMAT_POLICY_LIST=true", self.plain("lumsettings", "get", "conf.server"))
        shown = self.plain("lumsettings", "explain", "conf.server", "AUDIT_LOGGING", columns=120)
        self.assertIn("in force", shown)
        self.assertIn("audit-pause", shown)

    def test_a_change_that_would_lock_the_tools_out_is_held_back_and_the_screen_says_how_it_is_forced(self):
        for columns in (50, 80):
            shown = " ".join(self.plain("lumsettings", "set", "vox.http.ext.conf", "TARGET_PORT=1", code=REFUSED,
                                        columns=columns).split())
            self.assertTrue(shown.startswith("lumsettings: "), shown)
            self.assertIn(f"The node serves port {self.node.port} (SERVER_PORT), but its own tools call 1 (TARGET_PORT)", shown)
            self.assertIn("--force", shown)
        self.on_screen("lumpolicy", "list")

    def test_a_consumer_sees_what_changes_as_it_changes_and_goes_at_a_key(self):
        consumer = self.open("lumevents", "CHECK_POLICY:*", "REMOVE_POLICY:*")
        consumer.await_text("registered")
        self.assertIn("installed", self.plain("lumpolicy", "install", BACKUP, columns=200))
        consumer.await_text("CHECK_POLICY:backup")
        self.on_screen("lumpolicy", "remove", "--name", "nightly-backup")
        consumer.await_text("REMOVE_POLICY:backup")
        consumer.press(CTRL_C)
        self.assertEqual(consumer.end(), DONE, consumer.shown)
        self.assertNotRegex(consumer.shown, OTHER_KEYS)

    def test_nobody_was_told_is_no_failure_of_the_install_and_the_screen_says_whom(self):
        shown = self.plain("lumpolicy", "install", BACKUP, code=7)
        self.assertTrue(shown.startswith("lumpolicy: warning: "), shown)
        self.assertIn("CHECK_POLICY:backup", shown)
        self.assertIn("nightly-backup", self.plain("lumpolicy", "list", "-o", "name"))

    def test_a_node_that_cannot_be_reached_is_told_in_the_programs_name_with_what_to_do(self):
        self.node.stop()
        for tool, *arguments in (("lumpolicy", "list"), ("lumsettings", "get"), ("lumpolicy", "status")):
            shown = self.plain(tool, *arguments, code=UNREACHABLE)
            self.assertIn(f"{tool}: ", shown)
            self.assertIn(str(self.node.port), shown)

    def test_in_the_evening_all_goes_and_the_screen_says_so(self):
        self.installed()
        shown = self.plain("lumpolicy", "remove", "--all", "--dry-run", columns=100)
        self.assertEqual(len(re.findall(r"(?m)^would remove ", shown)), 4, shown)
        self.on_screen("lumpolicy", "remove", "--all", "--no-notify")
        self.assertEqual(len(self.plain("lumpolicy", "list").splitlines()), 1)
        shown = self.plain("lumpolicy", "remove", "--all", code=NOT_FOUND)
        self.assertTrue(shown.startswith("lumpolicy: "), shown)
        wait_until(lambda: not self.node.stored(), "nothing is left in the store")


if __name__ == "__main__":
    unittest.main()
