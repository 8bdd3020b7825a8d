#!/usr/bin/python3
"""Signed policies: who signed them, whether that is proven, and why not."""
import json
import re
import unittest

import pki
from node import DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, WRONG_USAGE, Node, write_policy

CONTENT = {"one": b"the first content\n", "two": b""}


class TrustTest(unittest.TestCase):
    """Certificates are made once; every test has a node of its own, whose operator may sign."""

    @classmethod
    def setUpClass(cls):
        cls.authority, cls.foreign = pki.Authority("authority"), pki.Authority("foreign")
        cls.addClassCleanup(cls.authority.close)
        cls.addClassCleanup(cls.foreign.close)
        cls.identities = {name: cls.authority.issue(name) for name in ("operator", "node-1")}
        cls.stranger = cls.foreign.issue("operator", file_name="stranger")

    def setUp(self):
        self.node = Node(start=False)
        self.addCleanup(self.node.close)
        pki.trust(self.node, self.authority, "authority")
        self.own("operator", self.identities["operator"])
        self.node.write_rights({"operator": "sign"})

    def own(self, alias, issued):
        folder = self.node.root / "etc/keystore/own"
        folder.mkdir(parents=True, exist_ok=True)
        for path, suffix in zip(issued, (".pem", ".key")):
            (folder / f"{alias}{suffix}").write_bytes(path.read_bytes())
            (folder / f"{alias}{suffix}").chmod(0o600)

    def policy_file(self, policy_id="p1", files=None, **fields):
        fields.setdefault("name", policy_id)
        return write_policy(self.node.folder / f"source.{policy_id}", policy_id,
                            CONTENT if files is None else files, **fields)

    def signed(self, policy_id="p1", alias="operator", **fields):
        path = self.policy_file(policy_id, **fields)
        self.assert_code(self.node.policy("sign", "--alias", alias, path), DONE)
        return path

    def assert_code(self, result, code, *words):
        self.assertEqual(result.code, code, result)
        for word in words:
            self.assertIn(word, " ".join((result.out + result.err).split()))
        return result

    def verdicts(self, *arguments, code=DONE):
        result = self.assert_code(self.node.policy("verify", "--json", *arguments), code)
        return [json.loads(line) for line in result.out.splitlines()]


class StrictSigners(TrustTest):
    """An authority whose time is over: it proves signers unless STRICT_SIGNERS is set, and both are told."""

    def end_authority(self):
        """The certificate of the authority ends, with its name and its key."""
        self.authority.renew(self.node.root / "etc/keystore/trusted/authority.pem", "20200101000000Z", "20200201000000Z")

    def list_authority(self, words):
        entry, = [one for one in self.node.tool("lumtrust", "list", "--json").json()["certificates"]
                  if one["kind"] == "trusted"]
        self.assertEqual(entry["vouches_for"], words)
        return self.node.tool("lumtrust", "list")

    def test_an_ended_authority_proves_signers_until_the_key_is_set(self):
        path = self.signed()
        verdict, = self.verdicts(path)
        self.assertEqual(verdict["strict_signers"], {"demanded": False, "refusal": None})
        self.assertRegex(self.list_authority(["callers", "signers"]).out, "VOUCHES FOR(.|\n)*callers, signers")
        self.end_authority()
        verdict, = self.verdicts(path)
        self.assertFalse(verdict["strict_signers"]["demanded"])
        self.assertIn("certificate has expired", verdict["strict_signers"]["refusal"])
        self.assert_code(self.node.policy("verify", path), DONE, "proven: one",
                         "STRICT_SIGNERS would refuse it: A certificate of 'operator' is refused: certificate has expired")
        self.list_authority(["signers"])
        self.node.settings["conf.core"] = {"STRICT_SIGNERS": "true"}
        self.node.write_settings()
        verdict, = self.verdicts(path, code=FAILED)
        self.assertTrue(verdict["strict_signers"]["demanded"])
        self.assert_code(self.node.policy("verify", path), FAILED, "FAILED: one", "STRICT_SIGNERS refuses it",
                         "could not be validated with the issuer CA name 'authority'", "certificate has expired")
        self.assertRegex(self.list_authority([]).out, "nobody")

    def test_the_list_tells_who_vouches_for_itself_alone(self):
        trusted = pki.NoAuthority("version 1", "authority")
        self.addCleanup(trusted.close)
        pki.trust(self.node, trusted, "authority")
        self.assertRegex(self.list_authority(["itself"]).out, "itself")
        pki.trust(self.node, self.authority, "authority")
        (self.node.root / "etc/keystore/trusted/authority.pem").rename(self.node.root / "etc/keystore/trusted/x.pem")
        self.list_authority(["callers"])

    def test_who_is_no_authority_makes_no_signers(self):
        for kind in pki.NoAuthority.KINDS:
            trusted = pki.NoAuthority(kind, "authority")
            self.addCleanup(trusted.close)
            pki.trust(self.node, trusted, "authority")
            self.own("operator", trusted.issue("operator"))
            path = self.signed()
            self.assert_code(self.node.policy("verify", path), FAILED,
                             "could not be validated with the issuer CA name 'authority'")

    def test_who_is_trusted_himself_proves_what_he_signed_and_nobody_else(self):
        for kind in pki.NoAuthority.KINDS:
            with self.subTest(kind):
                signer = pki.NoAuthority(kind, "operator")
                self.addCleanup(signer.close)
                pki.trust(self.node, signer, "operator")
                self.own("operator", (signer.certificate, signer.key))
                self.assert_code(self.node.policy("verify", self.signed()), DONE, "signed by 'operator'")
                self.own("operator", signer.issue("operator"))
                self.assert_code(self.node.policy("verify", self.signed()), FAILED,
                                 "could not be validated with the issuer CA name 'operator'")

    def test_a_key_that_cannot_sign_is_told_with_the_kinds_that_can(self):
        own = self.node.root / "etc/keystore/own"
        pki.openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-521", "-nodes", "-subj", "/CN=node-1",
                    "-keyout", own / "node-1.key", "-out", own / "node-1.pem")
        self.node.settings["sec.core"] = {"CORE_ID": "node-1"}
        self.node.settings["sec.cm.certificates"] = {"CERT_INSTALLED": "true"}
        self.node.write_settings()
        checked = self.assert_code(self.node.tool("lumconfd", "--check-config"), DONE,
                                   "Note: with its key this node cannot sign policies. The curve of the key is neither "
                                   "P-256 nor P-384.", "RSA (2048 to 16384 bits)", "the configuration is in order")
        self.assertEqual(checked.err, "")
        refused = self.assert_code(self.node.policy("sign", self.policy_file()), FAILED,
                                   "Could not initialize the signature class", "P-384) and Ed25519.")
        self.assertNotIn("error:", refused.err)


class Signing(TrustTest):
    def test_a_signed_file_is_proven_and_tells_its_signer(self):
        path = self.policy_file()
        before = path.read_bytes()
        signed = self.assert_code(self.node.policy("sign", "--alias", "operator", path), DONE, f"signed: {path}",
                                  "signed by 'operator', issued by 'authority', valid until 20")
        self.assertEqual(signed.err, "")
        self.assertNotEqual(path.read_bytes(), before)
        result = self.assert_code(self.node.policy("verify", path), DONE, "signed by 'operator'", "may sign policies",
                                  "proven: one", "proven: two")
        self.assertEqual(result.err, "")
        self.assertRegex(result.out, r"issued by 'authority', valid until \d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ\n")

    def test_json_holds_the_same(self):
        path = self.policy_file()
        signed = self.node.policy("sign", "--json", "--alias", "operator", path).json()
        verdict, = self.verdicts(path)
        self.assertEqual(signed, {"file": str(path), "result": "done", "code": DONE, "messages": [],
                                  "signer": verdict["signer"]})
        self.assertRegex(verdict["signer"].pop("not_after"), r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$")
        self.assertEqual(verdict["signer"], {"subject": "operator", "issuer": "authority", "may_sign": True})
        done = {"result": "done", "code": DONE, "messages": []}
        self.assertEqual(verdict["data_files"], [{"name": name, **done} for name in CONTENT])

    def test_quiet_is_silent_unless_something_is_wrong(self):
        path = self.policy_file()
        for arguments in (("sign", "--alias", "operator"), ("verify",)):
            result = self.assert_code(self.node.policy(*arguments, "--quiet", path), DONE)
            self.assertEqual(result.out + result.err, "")
        (path.parent / "one").write_bytes(b"changed")
        result = self.assert_code(self.node.policy("verify", "--quiet", path), FAILED, "is not correct")
        self.assertEqual(result.out, "")

    def test_without_an_alias_the_node_itself_signs(self):
        path = self.policy_file()
        self.assert_code(self.node.policy("sign", path), FAILED, "The core id 'CORE_ID'")
        pki.install_identity(self.node, "node-1", self.identities["node-1"])
        self.node.write_rights({"node-1": "sign"})
        self.assert_code(self.node.policy("sign", path), DONE, "signed by 'node-1'")
        self.assert_code(self.node.policy("verify", path), DONE)

    def test_what_cannot_be_signed_is_told_and_the_others_are_signed(self):
        good, bare = self.policy_file("good"), self.policy_file("bare", files={})
        lacking = self.policy_file("lacking")
        (lacking.parent / "two").unlink()
        before = lacking.read_bytes()
        missing = good.parent / "none_header.xml"
        result = self.node.policy("sign", "--json", "--alias", "operator", bare, lacking, missing, good)
        self.assertEqual(result.code, FAILED, result)
        answers = [json.loads(line) for line in result.out.splitlines()]
        self.assertEqual([answer["code"] for answer in answers], [FAILED, FAILED, FAILED, DONE])
        for answer, words in zip(answers, ("No data file(s) found", "/two' for policy file", "does not exist")):
            self.assertIn(words, answer["messages"][0]["text"])
            self.assertIsNone(answer["signer"])
        self.assertEqual(lacking.read_bytes(), before)
        self.assert_code(self.node.policy("verify", good), DONE)

    def test_an_alias_that_the_key_store_does_not_have_or_that_is_a_path_signs_nothing(self):
        pki.install_identity(self.node, "node-1", self.identities["node-1"])
        path = self.policy_file()
        before = path.read_bytes()
        for alias in ("nobody", "../own/operator", "authority", ".", ""):
            with self.subTest(alias=alias):
                self.assertNotEqual(self.node.policy("sign", "--alias", alias, path).code, DONE)
                self.assertEqual(path.read_bytes(), before)

    def test_a_second_signature_takes_the_place_of_the_first(self):
        path = self.signed()
        self.own("node-1", self.identities["node-1"])
        self.assert_code(self.node.policy("sign", "--alias", "node-1", path), DONE)
        verdict, = self.verdicts(path, code=FAILED)
        self.assertEqual(verdict["signer"]["subject"], "node-1")
        self.assertFalse(verdict["signer"]["may_sign"])

    def test_no_file_is_wrong_usage(self):
        self.assertEqual(self.node.policy("sign").code, WRONG_USAGE)


class Refusals(TrustTest):
    """Each for a file beside its header and for the same policy in the store."""

    def store(self, path, type_name="type"):
        folder = self.node.store / type_name
        folder.mkdir(parents=True, exist_ok=True)
        for entry in path.parent.iterdir():
            (folder / entry.name).write_bytes(entry.read_bytes())

    def assert_refused(self, path, *words, may_sign=True):
        self.store(path)
        verdicts = self.verdicts(path, code=FAILED) + self.verdicts("--installed", code=FAILED)
        reasons = []
        for verdict in verdicts:
            self.assertEqual(verdict["result"], "failed")
            self.assertEqual((verdict["signer"] or {"may_sign": may_sign})["may_sign"], may_sign)
            texts = [message["text"] for message in verdict["data_files"][0]["messages"]]
            reasons.append(texts[1:])
        self.assertEqual(reasons[0], reasons[1], "both forms tell the same reason")
        for word in words:
            self.assertIn(word, " ".join(reasons[0]))
        return verdicts[0]

    def replace(self, path, tag, change):
        text = path.read_text(encoding="utf-8")
        path.write_text(re.sub(f"<{tag}>(.*?)</{tag}>", lambda m: f"<{tag}>{change(m[1])}</{tag}>", text, count=1,
                               flags=re.S), encoding="utf-8")

    def test_one_changed_byte_of_a_data_file(self):
        path = self.signed()
        (path.parent / "one").write_bytes(b"the First content\n")
        verdict = self.assert_refused(path, "The signature is not correct for the policy data.")
        self.assertEqual([proof["code"] for proof in verdict["data_files"]], [FAILED, DONE])
        self.assert_code(self.node.policy("verify", path), FAILED, "FAILED: one", "proven: two",
                         f"lumpolicy: Could not validate the signature for policy data file '{path.parent}/one'",
                         "The signature is not correct for the policy data.")

    def test_an_issuer_that_is_not_trusted(self):
        self.own("operator", self.stranger)
        self.assert_refused(self.signed(), "issuer for the policy certificate is not a trusted certificate")

    def test_another_authority_of_the_same_name(self):
        path = self.signed()
        pki.trust(self.node, self.foreign, "authority")
        self.assert_refused(path, "could not be validated with the issuer CA name 'authority'")

    def test_a_trusted_entry_without_its_certificate(self):
        path = self.signed()
        (self.node.root / "etc/keystore/trusted/authority.pem").write_text("")
        self.assert_refused(path, "The issuer CA certificate for 'authority' cannot be found in the key store.")

    def test_a_signer_without_the_right(self):
        path = self.signed()
        self.node.write_rights({"operator": "install list remove modify"})
        self.assert_refused(path, "The alias 'operator' from the certificate is not allowed to sign", may_sign=False)
        self.assert_code(self.node.policy("verify", path), FAILED, "may NOT sign policies for this node")

    def test_a_document_that_is_not_signed(self):
        verdict = self.assert_refused(self.policy_file(), "Error in converting the policy certificate")
        self.assertIsNone(verdict["signer"])
        self.assert_code(self.node.policy("verify", self.policy_file()), FAILED, "not signed")

    def test_a_broken_certificate_or_signature(self):
        for tag, change, words in (("certificate", lambda text: "!!!!", "Error during decoding the policy certificate."),
                                   ("certificate", lambda text: "Y2VydA==", "Error in converting the policy"),
                                   ("signature", lambda text: "!!!!", "Error during decoding the policy data signature."),
                                   ("signature", lambda text: "AAAA", "Error during verifying the signature.")):
            with self.subTest(tag=tag, words=words):
                path = self.signed()
                self.replace(path, tag, change)
                self.assert_refused(path, words)

    def test_a_data_file_that_is_not_there(self):
        path = self.signed()
        (path.parent / "one").unlink()
        verdict, = self.verdicts(path, code=FAILED)
        self.assertIn("does not exist", verdict["data_files"][0]["messages"][0]["text"])
        self.assertEqual(verdict["data_files"][1]["code"], DONE)

    def test_a_key_store_that_is_not_there(self):
        path = self.signed()
        (self.node.root / "etc/keystore").rename(self.node.root / "elsewhere")
        verdict, = self.verdicts(path, code=FAILED)
        self.assertIn("key store cannot be accessed", verdict["data_files"][0]["messages"][0]["text"])

    def test_a_file_that_is_no_policy_or_is_not_there_beside_a_proven_one(self):
        path = self.signed()
        broken = path.parent / "broken_header.xml"
        broken.write_text("<header")
        verdicts = self.verdicts(broken, path.parent / "none_header.xml", path, code=FAILED)
        self.assertEqual([verdict["code"] for verdict in verdicts], [FAILED, FAILED, DONE])
        self.assert_code(self.node.policy("verify", broken), FAILED, "broken_header.xml")

    def test_a_policy_without_data_files_is_not_called_proven(self):
        bare, path = self.policy_file("bare", files={}), self.signed()
        self.assert_code(self.node.policy("verify", bare), NOTHING_TO_DO, "no data file")
        self.assert_code(self.node.policy("verify", bare, path), DONE, "no data file", "proven: one")
        (path.parent / "one").write_bytes(b"changed")
        self.assert_code(self.node.policy("verify", path, bare), FAILED)

    def test_names_cannot_drive_the_terminal(self):
        path = self.policy_file(files={}, name="p\u009b31m")
        result = self.node.policy("verify", path)
        self.assertNotIn("\u009b", result.out + result.err)


class Installed(TrustTest):
    def setUp(self):
        super().setUp()
        self.node.start()

    def install(self, *paths):
        for path in paths:
            self.assert_code(self.node.policy("install", "--no-notify", path), DONE)

    def test_what_was_signed_installed_and_verified_is_refused_after_one_changed_byte(self):
        self.install(self.signed())
        self.assert_code(self.node.policy("verify", "--installed"), DONE, "(type type, id p1)", "proven: one")
        stored = self.node.store / "type/one"
        stored.chmod(0o600)
        stored.write_bytes(b"the First content\n")
        self.assert_code(self.node.policy("verify", "--installed"), FAILED, "FAILED: one", "is not correct")

    def test_show_names_the_signer_of_the_document_as_it_stands_there(self):
        self.install(self.signed())
        result = self.assert_code(self.node.policy("show", "--id", "p1"), DONE)
        self.assertRegex(result.out, r"(?m)^signer:       signed by 'operator', issued by 'authority', valid until 2\d{3}-")
        policy = self.node.policy("show", "--id", "p1", "--json").json()["policies"][0]
        self.assertEqual((policy["signer"]["subject"], policy["signer"]["issuer"]), ("operator", "authority"))

    def test_a_selection_says_which_policies_are_meant(self):
        self.install(self.signed("p1", type_name="a"), self.signed("p2", type_name="b", owner="else"))
        for arguments, ids in (((), ["p1", "p2"]), (("--all",), ["p1", "p2"]), (("--type", "a"), ["p1"]),
                               (("--id", "P2"), ["p2"]), (("--name", "p1"), ["p1"]), (("--owner", "else"), ["p2"])):
            with self.subTest(arguments=arguments):
                self.assertEqual([one["id"] for one in self.verdicts("--installed", *arguments)], ids)
        for arguments in (("--id", "p3"), ("--type", "c"), ("--name", "nobody")):
            with self.subTest(arguments=arguments):
                self.assert_code(self.node.policy("verify", "--installed", *arguments), NOT_FOUND)

    def test_a_policy_with_several_selected_attributes_is_told_once(self):
        self.install(self.signed(attributes=[("stage", "one"), ("stage", "two")]))
        self.assertEqual(len(self.verdicts("--installed", "--attribute", "stage")), 1)

    def test_an_empty_store_has_nothing_to_verify(self):
        self.assert_code(self.node.policy("verify", "--installed"), NOT_FOUND)

    def test_a_header_that_cannot_be_read_is_told_and_the_others_are_proven(self):
        self.install(self.signed())
        (self.node.store / "type/p9_header.xml").write_text("<header")
        result = self.assert_code(self.node.policy("verify", "--installed"), FAILED, "p9_header.xml", "proven: one")
        self.assertNotIn("FAILED:", result.out)

    def test_files_and_installed_exclude_each_other(self):
        for arguments in ((), ("--installed", "file"), ("file", "--id", "p1"), ("--id", "p1")):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.node.policy("verify", *arguments).code, WRONG_USAGE)


if __name__ == "__main__":
    unittest.main()
