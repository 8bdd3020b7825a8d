#!/usr/bin/python3
"""Policies on the wire that are made to harm."""
import os
import unittest

import wire
from node import header
from test_hostile import DATA, HostileTest, bad_header, written
from wire import entry, int32, utf16

GOOD_HEADER = bad_header().encode()
MOST, LEAST = 2 ** 31 - 1, -2 ** 31
AWAY = ["../escape", "../../../../escape", "/tmp/escape", "..", ".", "", "a/b", "a\\b", "a\0b", "a\nb", "\x7f",
        "x" * 300, "\ud800", "\u2028", "bad_header.xml/../../escape"]


def array_with_data_name(name):
    return int32(2) + entry("bad_header.xml", bad_header(files=["ok"]).encode()) + entry(name, b"x")


# What it is and the array; each is refused.
ARRAY_ROWS = [
    ("nothing", b""), ("three bytes", b"\0\0\0"), ("no file", int32(0)), ("a negative count", int32(-1)),
    ("the most files", int32(MOST)), ("the least files", int32(LEAST)), ("one file that is not there", int32(1)),
    ("a second file that is not there", int32(2) + entry("bad_header.xml", GOOD_HEADER)),
    ("more files than there are", int32(3) + entry("bad_header.xml", GOOD_HEADER) + entry("d", b"")),
    ("a negative length of a name", int32(1) + int32(-1) + b"x" * 100),
    ("a huge length of a name", int32(1) + int32(MOST) + b"x" * 100),
    ("a negative length", int32(1) + utf16("bad_header.xml") + int32(-1) + GOOD_HEADER),
    ("a huge length", int32(1) + utf16("bad_header.xml") + int32(MOST) + GOOD_HEADER),
    ("the least length", int32(1) + utf16("bad_header.xml") + int32(LEAST) + GOOD_HEADER),
    ("a length one too long", int32(1) + utf16("bad_header.xml") + int32(len(GOOD_HEADER) + 1) + GOOD_HEADER),
    ("a huge length of a data file", int32(2) + entry("bad_header.xml", GOOD_HEADER) + utf16("d") + int32(MOST)),
    ("a header without its suffix", int32(1) + entry("bad.xml", GOOD_HEADER)),
    ("a data file with a header's name",
     int32(2) + entry("bad_header.xml", GOOD_HEADER) + entry("good_header.xml", b"x")),
    ("a name twice", int32(3) + entry("bad_header.xml", GOOD_HEADER) + entry("d", b"1") + entry("d", b"2")),
    ("an empty document", wire.policy_array("bad", document=b"")),
    ("a document that is none", wire.policy_array("bad", document=b"hello")),
    ("a document of another namespace", wire.policy_array("bad", document=b"<header xmlns='urn:x'/>")),
    ("a document of invalid UTF-8", wire.policy_array("bad", document=GOOD_HEADER.replace(b"description", b"\xff", 1))),
    ("a document with a NUL", wire.policy_array("bad", document=GOOD_HEADER.replace(b"</owner>", b"\0</owner>"))),
    ("a data file that is named and not there", wire.policy_array("bad", document=bad_header(files=["d"]).encode())),
]


class Arrays(HostileTest):
    def refuse(self, what, data, method=1):
        with self.subTest(what, method=method):
            answer = wire.ask(self.node, wire.install_call(data, method), secret=self.secret)
            self.assertEqual(answer.value(), wire.FAILED, answer)
            self.assertEqual(written(self.node), self.before)
            self.assert_serving()

    def test_an_array_that_lies_is_refused_alone_and_in_a_package(self):
        for what, data in ARRAY_ROWS:
            self.refuse(what, data)
            self.refuse(what, int32(1) + data, method=2)
        self.good_install_behind()

    def test_a_package_that_lies_is_refused(self):
        for what, data in (("nothing", b""), ("a negative count", int32(-1)), ("a huge count", int32(MOST)),
                           ("a count beyond what is there", int32(1000) + DATA[:20]),
                           ("the least count", int32(LEAST))):
            self.refuse(what, data, method=2)
        self.good_install_behind()

    def test_no_name_leads_out_of_its_folder(self):
        for name in AWAY:
            self.refuse(f"header name {name!r}", int32(1) + entry(name + "_header.xml" if name else "", GOOD_HEADER)
                        if "_header" not in name and name not in ("..", ".", "\x7f") else
                        int32(1) + entry(name, GOOD_HEADER))
            self.refuse(f"data name {name!r}", array_with_data_name(name))
            if any(ord(c) < 32 or 0xD800 <= ord(c) < 0xE000 for c in name):
                continue
            for what, document in (("id", header(name, name="bad")), ("type", bad_header(type_name=name)),
                                   ("listed file", bad_header(files=[name]))):
                self.refuse(f"{what} {name!r}", wire.policy_array("bad", document=document.encode()))
        self.assertEqual([path for path in ("/tmp/escape", "/escape") if os.path.exists(path)], [])
        self.good_install_behind()

    def test_an_array_cut_anywhere_is_refused(self):
        cuts = sorted(set(list(range(0, 60)) + list(range(0, len(DATA), 41)) + list(range(len(DATA) - 30, len(DATA)))))
        for cut in cuts:
            answer = wire.ask(self.node, wire.install_call(DATA[:cut]), secret=self.secret)
            self.assertEqual(answer.value(), wire.FAILED, f"cut at {cut}: {answer}")
            answer = wire.ask(self.node, wire.install_call(int32(1) + DATA[:cut], 2), secret=self.secret)
            self.assertEqual(answer.value(), wire.FAILED, f"package cut at {cut}: {answer}")
        self.assertEqual(written(self.node), self.before)
        self.assert_serving()
        self.good_install_behind()

    def test_a_link_in_the_incoming_folder_is_never_written_through(self):
        outside = self.node.folder / "outside"
        outside.write_text("kept")
        try:
            for name in ("bad_header.xml", "bad.data"):
                (self.node.incoming / name).symlink_to(outside)
            wire.ask(self.node, wire.install_call(DATA))
            self.assertEqual(outside.read_text(), "kept")
            self.assertEqual(wire.ask(self.node, wire.operation_call(wire.REMOVE, "0", "bad")).value(), wire.DONE)
        finally:
            outside.unlink()


if __name__ == "__main__":
    unittest.main()
