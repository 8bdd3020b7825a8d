#!/usr/bin/python3
"""An export from a node that means harm, that changes on the way or that falls silent."""
import base64
import contextlib
import hashlib
import http.server
import os
import re
import signal
import subprocess
import threading
import unittest

import wire
from node import DONE, FAILED, PATIENCE_S, Node, header, wait_until

INTERRUPTED = 130
CONTENTS = "2"


class Peer:
    """Answers as a node with these policies: {id: (document, [(name of a data file, content)])}."""

    def __init__(self, policies):
        self.policies = policies
        self.before = lambda asked: None  # called with the text of a request, before it is answered
        self.listed = None                # ids; by default those of the policies
        self.answered_with = {}           # {id: the ids of the policies that are told when it is asked for}

    def answer(self, asked):
        self.before(asked)
        if "PolicyFilesMode" not in asked:
            inner = "<PolicyContainer>" + "".join(
                f"<policyheader><policy_container_id>{policy_id}</policy_container_id><policy_name>{policy_id}"
                "</policy_name></policyheader>" for policy_id in self.listed or self.policies) + "</PolicyContainer>"
            method = "list"
        else:
            inner = f"<PolicyFiles>{base64.b64encode(self.package(asked)).decode()}</PolicyFiles>"
            method = "policyFiles"
        return wire.envelope(f'<m:{method}Response xmlns:m="urn:lum:conf"><PolicySelectionRetValue>1'
                             f"</PolicySelectionRetValue><PolicySelectionRetString/>{inner}</m:{method}Response>")

    def package(self, asked):
        contents = re.search("<PolicyFilesMode[^>]*>([0-9])<", asked).group(1) == CONTENTS
        named = re.search("<name[^>]*>([^<]*)<", asked).group(1)
        told = self.answered_with.get(named, [named]) if contents else list(self.policies)
        return wire.int32(len(told)) + b"".join(self.array(policy_id, contents) for policy_id in told)

    def array(self, policy_id, contents):
        document, files = self.policies[policy_id]
        told = [(name, content if contents else hashlib.sha256(content).digest()) for name, content in files]
        return wire.int32(1 + len(files)) + b"".join(
            wire.entry(*one) for one in [(f"{policy_id}_header.xml", document), *told])

    @contextlib.contextmanager
    def serving(self):
        answer = self.answer

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_POST(self):
                body = answer(self.rfile.read(int(self.headers["Content-Length"])).decode())
                with contextlib.suppress(OSError):
                    self.send_response(200)
                    self.send_header("Content-Type", "text/xml")
                    self.send_header("Content-Length", str(len(body)))
                    self.end_headers()
                    self.wfile.write(body)

            def log_message(self, *arguments):
                pass

        with http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler) as server:
            thread = threading.Thread(target=server.serve_forever)
            thread.start()
            try:
                yield server.server_address[1]
            finally:
                server.shutdown()
                thread.join()


def policy(policy_id, files=(), **fields):
    fields.setdefault("name", policy_id)
    return header(policy_id, files=[name for name, _ in files], **fields).encode(), list(files)


class FromPeer(unittest.TestCase):
    def serve(self, peer):
        port = self.enterContext(peer.serving())
        self.client = Node({"vox.http.ext.conf": {"TARGET_PORT": port}}, start=False)
        self.addCleanup(self.client.close)
        self.client.use_no_secret()
        self.base = self.client.folder / "base"
        (self.base / "in").mkdir(parents=True)
        self.folder = self.base / "in/exported"

    def files(self):
        return sorted(str(path.relative_to(self.base)) for path in self.base.rglob("*") if path.is_file())

    def exported(self, peer):
        self.serve(peer)
        return self.client.policy("export", self.folder)

    def assert_refused(self, peer, text=""):
        result = self.exported(peer)
        self.assertEqual((result.code, self.files(), os.listdir(self.base / "in")), (FAILED, [], []), result)
        self.assertIn(text, " ".join(result.err.split()))
        self.assertNotIn("\x9b", result.err)
        return result


class Hostile(FromPeer):
    def test_one_that_behaves_is_exported(self):
        result = self.exported(Peer({"a": policy("a", [("x", b"data"), ("empty", b"")]), "b": policy("b")}))
        self.assertEqual(result.code, DONE, result)
        self.assertEqual(self.files(), [f"in/exported/type/{name}"
                                        for name in ("a_header.xml", "b_header.xml", "empty", "x")])

    def test_no_data_file_leads_out_of_the_folder(self):
        for name in ("../x", "/tmp/lumexport-x", "..", ".", "", "a/b", "a\\b", "a\nb", "x\x9b", "other_header.xml"):
            with self.subTest(name):
                document, _ = policy("a", [(name or "x", b"")])
                self.assert_refused(Peer({"a": (document, [(name, b"data")])}))
        self.assertFalse(os.path.exists("/tmp/lumexport-x"))

    def test_no_type_leads_out_of_the_folder(self):
        for name in ("../evil", "..", ".", "/tmp/lumexport-x", "a/b", "a\\b", "a\x9bb", "x" * 300):
            with self.subTest(name):
                self.assert_refused(Peer({"a": policy("a", type_name=name)}), "cannot be the name of a file or folder")
        self.assertFalse(os.path.exists("/tmp/lumexport-x"))

    def test_a_document_that_is_none_or_of_another_policy_is_refused(self):
        for document in (b"no document", b"", policy("b")[0], policy("a", type_name="")[0]):
            with self.subTest(document):
                self.assert_refused(Peer({"a": (document, [])}), "no document of this policy")

    def test_another_policy_than_the_one_that_was_asked_for_is_refused(self):
        for told in (["b"], ["a", "b"], ["a", "a"]):
            with self.subTest(told):
                peer = Peer({"a": policy("a"), "b": policy("b")})
                peer.answered_with["a"] = told
                self.assert_refused(peer, "another policy")

    def test_a_policy_that_is_listed_twice_is_written_once(self):
        peer = Peer({"a": policy("a")})
        peer.listed = ["a", "a"]
        self.assertEqual(self.exported(peer).code, DONE)
        self.assertEqual(self.files(), ["in/exported/type/a_header.xml"])

    def test_a_data_file_that_the_document_does_not_name_is_refused(self):
        document, _ = policy("a")
        self.assert_refused(Peer({"a": (document, [("x", b"data")])}), "'x', which the document does not name")

    def test_two_contents_of_one_file_are_refused(self):
        self.assert_refused(Peer({"a": policy("a", [("x", b"one")]), "b": policy("b", [("x", b"two")])}),
                            "Two files are both 'type/x'")


class Changing(FromPeer):
    def contents(self, asked):
        return f"<PolicyFilesMode>{CONTENTS}<" in re.sub(" [a-z:]+=\"[^\"]*\"", "", asked)

    def changing(self, times, change):
        """A peer whose policies are changed when the contents of "b" are asked for, so many times."""
        peer = Peer({"a": policy("a", [("x", b"0")]), "b": policy("b")})
        left = list(range(times, 0, -1))

        def before(asked):
            if self.contents(asked) and ">b<" in asked and left:
                change(peer, left.pop())

        peer.before = before
        return peer

    CHANGES = {"data": lambda peer, n: peer.policies.update(a=policy("a", [("x", f"{n}".encode())])),
               "document": lambda peer, n: peer.policies.update(a=policy("a", version=f"{n + 1}")),
               "a policy more": lambda peer, n: peer.policies.update({f"c{n}": policy(f"c{n}")})}

    def test_what_changes_on_the_way_is_read_anew(self):
        for what, change in self.CHANGES.items():
            with self.subTest(what):
                peer = self.changing(1, change)
                self.assertEqual(self.exported(peer).code, DONE)
                written = {str(path.relative_to(self.folder / "type")): path.read_bytes()
                           for path in self.folder.rglob("*") if path.is_file()}
                wanted = {name: content for policy_id, (document, files) in peer.policies.items()
                          for name, content in [(f"{policy_id}_header.xml", document), *files]}
                self.assertEqual(written, wanted)

    def test_a_node_that_changes_all_the_time_is_told_and_nothing_is_written(self):
        for what, change in self.CHANGES.items():
            with self.subTest(what):
                self.assert_refused(self.changing(2, change), "policies changed while they were read")

    def test_a_policy_that_goes_on_the_way_is_left_out(self):
        peer = Peer({"a": policy("a"), "b": policy("b")})

        def before(asked):
            if self.contents(asked) and ">b<" in asked:
                del peer.policies["b"]
                peer.answered_with["b"] = []

        peer.before = before
        self.assertEqual(self.exported(peer).code, DONE)
        self.assertEqual(self.files(), ["in/exported/type/a_header.xml"])


class Ended(FromPeer):
    def silent_export(self):
        """An export that waits for the second policy; the first one is written."""
        peer, asked_for, gate = Peer({"a": policy("a", [("x", b"data")]), "b": policy("b")}), *(
            threading.Event() for _ in range(2))

        def before(asked):
            if ">b<" in asked:
                asked_for.set()
                gate.wait(PATIENCE_S)

        peer.before = before
        self.serve(peer)
        self.addCleanup(gate.set)
        process = subprocess.Popen(self.client.command("lumpolicy", "export", self.folder),
                                   env=self.client.environment(), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
        self.client.processes.append(process)
        wait_until(asked_for.is_set, "the second policy is asked for")
        return process

    def test_a_kill_leaves_nothing_that_looks_whole(self):
        process = self.silent_export()
        process.kill()
        process.wait()
        self.assertRegex(" ".join(os.listdir(self.base / "in")), r"^\.exported\.unfinished\.\w{6}$")
        with self.assertRaises(FileNotFoundError):
            os.stat(self.folder)

    def test_ctrl_c_takes_away_what_is_not_finished(self):
        process = self.silent_export()
        process.send_signal(signal.SIGINT)
        _, err = process.communicate(timeout=PATIENCE_S)
        self.assertEqual(process.returncode, INTERRUPTED, err)
        self.assertIn("Nothing was written.", err)
        self.assertEqual(os.listdir(self.base / "in"), [])


if __name__ == "__main__":
    unittest.main()
