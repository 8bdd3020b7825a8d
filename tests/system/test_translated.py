#!/usr/bin/python3
"""A node whose messages come from a translated catalogue behaves as any other."""
import re
import shutil
import subprocess
import unittest

import wire
from node import DONE, ROOT, Node, write_policy

# The words of the texts turned around, so that no text of the table is left; arguments keep their place.
REMOVED = 159


def turned(text):
    return re.sub(r"(?<!\\)[A-Za-z]+", lambda word: word.group(0)[::-1], text)


def rows():
    """The numbered texts of the source that a translator starts from: number to text."""
    source = (ROOT / "packaging/conf.msg").read_text(encoding="utf-8")
    return {int(number): text for number, text in re.findall(r'^(\d+) "(.*)"$', source, re.M)}


class Translated(unittest.TestCase):
    def setUp(self):
        self.assertIsNotNone(shutil.which("gencat"))
        self.node = Node(start=False)
        self.addCleanup(self.node.close)
        self.texts = {number: turned(text) for number, text in rows().items()}
        source, catalogue = self.node.folder / "conf.msg", self.node.folder / "conf.cat"
        lines = [f'{number} "{text}"' for number, text in sorted(self.texts.items())]
        source.write_text("\n".join(["$set 1", '$quote "', *lines]) + "\n", encoding="utf-8")
        subprocess.run(["gencat", catalogue, source], check=True)
        self.node.start(NLSPATH=f"{self.node.folder}/%N.cat")

    def install(self, policy_id="a"):
        path = write_policy(self.node.folder / "source", policy_id, {policy_id + ".dat": b"x"})
        self.assertEqual(self.node.policy("install", "--no-notify", path).code, DONE)

    def remove(self, policy_id="a"):
        return wire.ask(self.node, wire.operation_call(wire.REMOVE, "0", policy_id))

    def text_of(self, answer):
        return re.search(rb"<PolicySelectionRetString[^>]*>([^<]*)<", answer.body).group(1).decode()

    def test_the_catalogue_is_in_use(self):
        self.install()
        answer = self.remove()
        self.assertEqual((answer.value(), self.text_of(answer)), (wire.DONE, self.texts[REMOVED]))
        self.assertNotEqual(self.texts[REMOVED], rows()[REMOVED])

    def test_a_remove_that_misses_a_file_or_cannot_delete_it_is_a_success(self):
        folder = self.node.store / "type"

        def block(path):
            path.unlink()
            (path / "not empty").mkdir(parents=True)

        cases = {
            "no header": lambda: (folder / "a_header.xml").unlink(),
            "no data file": lambda: (folder / "a.dat").unlink(),
            "neither": lambda: [path.unlink() for path in folder.iterdir()],
            "a folder for a data file": lambda: block(folder / "a.dat"),
            "a folder for the header": lambda: block(folder / "a_header.xml"),
            "no folder of the type": lambda: shutil.rmtree(folder),
        }
        for what, harm in cases.items():
            with self.subTest(what):
                self.install()
                harm()
                answer = self.remove()
                self.assertEqual((answer.value(), self.text_of(answer)), (wire.DONE, self.texts[REMOVED]))
                self.assertNotIn("Cannot delete policy", self.node.log)
                self.assertEqual(self.node.list(), [])
                shutil.rmtree(folder, ignore_errors=True)

    def test_another_failure_stays_one_and_is_told_in_the_language_of_the_node(self):
        self.install()
        (self.node.store / "type/a_header.xml").unlink()
        answer = wire.ask(self.node, wire.operation_call("5", "0", "a", string="somebody"))
        self.assertEqual(answer.value(), wire.FAILED)
        self.assertIn(self.texts[171], self.text_of(answer))


if __name__ == "__main__":
    unittest.main()
