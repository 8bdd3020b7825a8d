#!/usr/bin/python3
"""What instances cost the tools of a cluster, and what comes of tools that fail."""
import subprocess
import unittest

from node import PATIENCE_S, TOOLS
from test_cluster_instances import DONE, OnACluster, SHOP, STOCK, TILL_ON


class Tools(OnACluster):
    def test_whichever_tool_fails_nothing_is_printed_or_the_item_is_less_known(self):
        cluster = self.cluster()
        self.assertEqual(self.ask(cluster, "-is").code, DONE)
        count = len(cluster.calls())
        self.assertGreater(count, 10)
        for number in range(1, count + 1):
            cluster.forget_calls()
            cluster.write(conducts=[{"call": "*", "number": number, "print": "", "code": 1}])
            result = self.ask(cluster, "-is")
            with self.subTest(number):
                if result.code == DONE:
                    self.assertTrue(result.out.startswith(SHOP), result.out)
                    self.assertEqual(result.out.count("#Instance"), 2)
                else:
                    self.assert_fails(result, "Exception during execution:")

    def test_a_hundred_times_the_instances_run_no_more_tools_to_tell_one_state(self):
        cluster = self.cluster()
        self.assertEqual(self.ask(cluster, "-i", "till", "-st").code, DONE)
        few = len(cluster.calls())
        self.list_applications(cluster, ("shop", *((f"till{i}", "web") for i in range(1000)), ("last", "database")))
        cluster.forget_calls()
        self.assert_prints(cluster, "-i last -st", "Online\n")
        self.assertEqual(len(cluster.calls()), few)

    def test_many_ask_at_the_same_time(self):
        cluster = self.cluster()
        callers = [cluster.start(TOOLS / "lumappinstance", "-is", stdout=subprocess.PIPE) for _ in range(8)]
        for caller in callers:
            self.assertEqual(caller.communicate(timeout=PATIENCE_S)[0].decode(), SHOP + TILL_ON["beta"] + STOCK)

    def test_too_few_descriptors_are_a_clear_failure(self):
        cluster = self.cluster()
        for limit in range(3, 12):
            result = cluster.run("sh", "-c", f'ulimit -n {limit}; exec "$0" -i stock -st', str(TOOLS / "lumappinstance"))
            if result.code == DONE:
                # kept: a node without an address, here since the name service had no descriptor, is not this one.
                self.assertIn(result.out, ["Online\n"] if limit > 9 else ["Online\n", "Offline\n"], limit)
            else:
                self.assertEqual(result.out, "")
                self.assertNotEqual(result.err, "", limit)
                self.assertLess(result.code, 128, "no signal ended it")

    def test_nothing_is_written_by_asking(self):
        cluster = self.cluster()
        before = {path: path.stat().st_mtime_ns for path in cluster.root.rglob("*")}
        for line in ("-is", "-vc", "-i till -h"):
            self.ask(cluster, *line.split())
        self.assertEqual({path: path.stat().st_mtime_ns for path in cluster.root.rglob("*")}, before)


if __name__ == "__main__":
    unittest.main()
