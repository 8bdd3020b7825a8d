#!/usr/bin/python3
"""What consumers of a node hear of changes: folded, by kind, whether the node waits for them or not."""
import unittest

from node import DONE, UNTOLD, Node, wait_until, write_policy

EVERY = ("CHECK_POLICY:*", "ENABLE_POLICY:*", "DISABLE_POLICY:*", "REMOVE_POLICY:*", "FIRST_POLICY:*", "LAST_POLICY:*")
# Changes that are queued, and what one notification then makes of them. Each row goes on from the store of the last.
ROWS = (
    ([("install", "a"), ("install", "b"), ("disable", "a")], ["FIRST_POLICY:type", "CHECK_POLICY:type a b"]),
    ([("enable", "a"), ("disable", "b"), ("disable", "a")], ["DISABLE_POLICY:type b a"]),
    ([("enable", "a"), ("disable", "a"), ("enable", "b")], ["ENABLE_POLICY:type b", "DISABLE_POLICY:type a"]),
    ([("disable", "b"), ("enable", "b"), ("enable", "a")], ["ENABLE_POLICY:type b a"]),
    ([("disable", "a"), ("install", "a")], ["CHECK_POLICY:type a"]),
    ([("install", "b"), ("remove", "b")], ["REMOVE_POLICY:type b"]),
    ([("remove", "a"), ("install", "a")], ["CHECK_POLICY:type a"]),
    ([("set-owner", "a"), ("disable", "a")], ["CHECK_POLICY:type a"]),
    ([("enable", "a"), ("add-category", "a")], ["CHECK_POLICY:type a"]),
    ([("remove", "a"), ("install", "b")], ["CHECK_POLICY:type b", "REMOVE_POLICY:type a"]),
    ([("disable", "b"), ("remove", "b")], ["REMOVE_POLICY:type b", "LAST_POLICY:type"]),
    ([("install", "a"), ("remove", "a")], ["REMOVE_POLICY:type a"]),
    ([], []),
)


class Notifications(unittest.TestCase):
    def node(self, **settings):
        node = Node({"conf.core": settings})
        self.addCleanup(node.close)
        return node

    def change(self, node, command, policy_id, *options, expected=DONE, **fields):
        arguments = {"set-owner": ("owner of " + policy_id,), "add-category": ("category",)}.get(command, ())
        fields.setdefault("name", policy_id)
        if command == "install":
            result = node.policy("install", *options, write_policy(node.folder / "source", policy_id, **fields))
        else:
            result = node.policy(command, *arguments, "--id", policy_id, *options)
        self.assertEqual(result.code, expected, (command, policy_id, result))

    def heard(self, node, consumer, count):
        """The events so far; a policy of a type of its own marks the end of what was told."""
        self.change(node, "install", "mark", type_name="mark")
        self.change(node, "remove", "mark")
        wait_until(lambda: any(line.startswith("LAST_POLICY:mark") for line in consumer.events()[count:]), "the mark")
        return consumer.events()

    def silent_consumer(self, node):
        """A component that takes its first event and never acknowledges it."""
        script = node.folder / "command"
        script.write_text(f'#!/bin/sh\ncd "{node.folder}"\n: > seen\nwhile [ -e "$0" ]; do sleep 0.05; done\n',
                          encoding="utf-8")
        script.chmod(0o755)
        return node.consumer(*EVERY, name="silent", arguments=("--exec", script))

    def check_rows(self, asynchronous):
        node = self.node(ASYNC_CONTROL_NOTIFY=asynchronous)
        consumer = node.consumer(*EVERY)
        known = 0
        for changes, expected in ROWS:
            with self.subTest(changes=changes):
                for command, policy_id in changes:
                    self.change(node, command, policy_id, "--no-notify")
                self.assertEqual(len(consumer.events()), known, "what is queued is told to nobody")
                self.assertEqual(node.policy("notify").code, DONE)
                events = self.heard(node, consumer, known)
                told = [line.strip() for line in events[known:] if ":mark" not in line]
                self.assertEqual(told, expected)
                known = len(events)

    def test_changes_that_contradict_each_other_are_folded_where_the_node_waits_for_its_consumers(self):
        self.check_rows("false")

    def test_changes_that_contradict_each_other_are_folded_where_the_node_does_not_wait(self):
        self.check_rows("true")

    def test_a_change_that_is_told_takes_along_what_was_queued(self):
        node = self.node()
        consumer = node.consumer(*EVERY)
        self.change(node, "install", "a", "--no-notify")
        self.change(node, "install", "b")
        self.assertEqual([line.strip() for line in consumer.await_count(2)],
                         ["FIRST_POLICY:type", "CHECK_POLICY:type a b"])

    def test_with_no_consumer_only_what_somebody_would_miss_is_said_to_be_untold(self):
        for asynchronous in ("false", "true"):
            with self.subTest(asynchronous=asynchronous):
                node = self.node(ASYNC_CONTROL_NOTIFY=asynchronous)
                self.change(node, "install", "a", expected=UNTOLD)
                for command in ("disable", "enable", "set-owner", "add-category", "remove"):
                    self.change(node, command, "a")
                self.change(node, "install", "b", "--no-notify")
                self.assertEqual(node.policy("notify").code, UNTOLD)
                self.assertEqual(node.policy("notify").code, DONE, "what could not be told is not kept")
                consumer = node.consumer(*EVERY)
                self.assertEqual(node.policy("notify").code, DONE)
                self.assertEqual([line for line in self.heard(node, consumer, 0) if ":mark" not in line], [])

    def test_a_consumer_of_other_events_does_not_count(self):
        node = self.node()
        consumer = node.consumer("CHECK_POLICY:other", "REMOVE_POLICY:type")
        self.change(node, "install", "a", expected=UNTOLD)
        self.change(node, "remove", "a")
        self.assertEqual([line.strip() for line in consumer.await_count(1)], ["REMOVE_POLICY:type a"])

    def test_one_that_never_acknowledges_makes_an_install_untold_and_holds_up_nothing_else(self):
        node = self.node(CONTROL_ACK_TIMEOUT="1")
        self.silent_consumer(node)
        self.change(node, "install", "a", expected=UNTOLD)
        wait_until((node.folder / "seen").exists, "the consumer is told")
        # A failed check of a changed header is the node's affair; the others wait for nobody.
        for command in ("set-owner", "disable", "enable", "remove"):
            self.change(node, command, "a")
        self.change(node, "install", "b", "--no-notify")
        self.assertEqual(node.policy("notify").code, UNTOLD)
        self.assertEqual([policy["id"] for policy in node.list()], ["b"])

    def test_one_that_never_acknowledges_is_not_noticed_where_the_node_does_not_wait(self):
        node = self.node(ASYNC_CONTROL_NOTIFY="true", CONTROL_ACK_TIMEOUT="600")
        self.silent_consumer(node)
        for command in ("install", "set-owner", "disable", "enable", "remove", "install"):
            self.change(node, command, "a")
        self.assertEqual(node.policy("notify").code, DONE)

    def test_one_that_never_acknowledges_keeps_nothing_from_another(self):
        node = self.node(CONTROL_ACK_TIMEOUT="1")
        self.silent_consumer(node)
        consumer = node.consumer(*EVERY)
        self.change(node, "install", "a", expected=UNTOLD)
        self.change(node, "remove", "a")
        self.assertEqual([line.strip() for line in consumer.await_count(4)],
                         ["FIRST_POLICY:type", "CHECK_POLICY:type a", "REMOVE_POLICY:type a", "LAST_POLICY:type"])


if __name__ == "__main__":
    unittest.main()
