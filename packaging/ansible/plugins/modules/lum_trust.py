#!/usr/bin/python3
"""Keys, certificates and rights of a LumConf node."""
DOCUMENTATION = r"""
module: lum_trust
short_description: changes the keys, certificates and rights of a LumConf node
description:
  - Makes the node on which it runs trust a certificate, bear a certificate of its own, or grant a sender rights.
  - Certificates and keys are given as PEM texts, by C(lookup('file', ...)) for example. They are compared by what they
    hold. A daemon that runs takes a change up at once.
  - In a check the change is made in a copy of the node's keys and settings, so that what would be refused is refused. Of
    what may depend on other tasks, to revoke and to trust no longer, a refusal is a warning then.
options:
  trusted:
    description: A certificate to trust.
    type: str
  alias:
    description: The name of the trusted certificate, if it is not to be its common name. Needed to trust it no longer.
    type: str
  replace:
    description: Let I(trusted) take the place of another certificate of that name.
    type: bool
    default: false
  own:
    description: The certificate of the node, and behind it those that lead to its authority.
    type: str
  key:
    description: The private key of I(own), if C(lumtrust request) did not make it on the node.
    type: str
  revoked:
    description: A certificate that the node is to accept no longer, whoever issued it. With I(state=absent) it is
      accepted again.
    type: str
  force:
    description: Revoke, or trust no longer, also a certificate without which the node itself is let in nowhere.
    type: bool
    default: false
  sender:
    description: The id of a sender, the common name of his certificate.
    type: str
  rights:
    description: The rights that the sender has, these and no others. With I(state=absent) those that he loses; all of
      them without.
    type: list
    elements: str
    choices: [install, remove, enable, disable, list, modify, configget, configset, sign, all]
  state:
    description: Whether the trust, the revocation, or the rights, are there.
    choices: [present, absent]
    default: present
    type: str
  root:
    description: The node's root.
    type: path
    default: /var/opt/lum
"""
EXAMPLES = r"""
- tessel.lumconf.lum_trust:
    trusted: "{{ lookup('file', 'authority.pem') }}"
- tessel.lumconf.lum_trust:
    own: "{{ lookup('file', inventory_hostname + '.pem') }}"
    key: "{{ lookup('file', inventory_hostname + '.key') }}"
- tessel.lumconf.lum_trust:
    revoked: "{{ lookup('file', 'lost-laptop.pem') }}"
- tessel.lumconf.lum_trust:
    sender: operator
    rights: [install, remove, list]
"""
RETURN = r"""
rights:
  description: The rights of the sender afterwards.
  returned: with sender
  type: list
"""
import os
import re
import shutil
import ssl
import tempfile

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.tessel.lumconf.plugins.module_utils.tools import DONE, FAILED, NOT_FOUND, NOTHING_TO_DO, \
    ROOT_OPTION, Tools

RIGHTS = {"install": 1, "remove": 2, "enable": 4, "disable": 8, "list": 16, "modify": 32, "configget": 64, "configset": 128,
          "sign": 256}
SHOWN = ("subject", "issuer", "not_after", "fingerprint")
CERTIFICATE = re.compile("-----BEGIN CERTIFICATE-----.*?-----END CERTIFICATE-----", re.S)


def certificates_of(text):
    """What the certificates of a PEM text hold, in their order."""
    return [ssl.PEM_cert_to_DER_cert(part) for part in CERTIFICATE.findall(text)]


class Trust:
    def __init__(self, module):
        self.module, self.wanted = module, module.params
        self.tools = Tools(module)
        self.folder = self.rehearsal = None

    def lumtrust(self, *arguments, **keywords):
        return self.tools.run("lumtrust", *arguments, as_owner=True, **keywords)

    def change(self, *arguments, foreseen=()):
        """foreseen: what else it may end with in a check, where the tasks before have changed nothing."""
        if self.module.check_mode:
            self.rehearse()
        self.lumtrust(*arguments, accepted=(NOTHING_TO_DO,), foreseen=foreseen if self.module.check_mode else ())

    def rehearse(self):
        """From here on the tools see a copy of the node, made by its user: a stranger's links lead him nowhere."""
        if self.rehearsal:
            return
        self.rehearsal = os.path.join(self.own_folder(), "node")
        os.mkdir(self.rehearsal, 0o700)
        self.give(self.rehearsal)
        there = os.path.join(self.tools.root, "etc")
        if os.path.isdir(there):
            command = [*self.tools.command("cp", as_owner=True), "--archive", there, self.rehearsal]
            code, _, err = self.module.run_command(command)
            if code != DONE:
                self.module.fail_json(msg="the node's keys cannot be copied for a check: " + err.strip())
        os.environ["LUM_ROOT"] = self.rehearsal

    def given(self, option):
        """What the certificates of an option hold."""
        try:
            found = certificates_of(self.wanted[option])
        except ValueError as reason:
            self.module.fail_json(msg="%s cannot be read: %s" % (option, reason))
        if not found:
            self.module.fail_json(msg="%s holds no certificate in PEM" % option)
        return found

    def own_folder(self):
        """What is in it the node's user can read, and nobody can put something else there; it goes with the module."""
        if not self.folder:
            self.folder = tempfile.mkdtemp(prefix="lumtrust.")
            os.chmod(self.folder, 0o711 if self.tools.owner() else 0o700)
        return self.folder

    def give(self, path):
        if self.tools.owner():
            shutil.chown(path, self.tools.owner())

    def file(self, name, text):
        path = os.path.join(self.own_folder(), name)
        with open(os.open(path, os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o600), "w", encoding="utf-8") as file:
            file.write(text)
        self.give(path)
        return path

    # The certificates that the node has.

    def stored(self, kind, alias):
        path = os.path.join(self.tools.root, "etc/keystore", kind, alias + ".pem")
        try:
            with open(path, encoding="utf-8", errors="replace") as file:
                return certificates_of(file.read())
        except (OSError, ValueError):
            return []

    def listed(self, kind):
        """One whose certificate is broken is told with the exit code of a failure."""
        _, told = self.lumtrust("list", "--json", accepted=(FAILED,))
        return [entry for entry in told.get("certificates", []) if entry["kind"] == kind]

    def aliases(self, kind):
        return sorted({entry["alias"] for entry in self.listed(kind)})

    def shown(self, kind):
        """A line for each that the node has, for a difference."""
        return "".join("%s: %s\n" % (entry["alias"], " ".join("%s=%s" % (name, entry[name]) for name in SHOWN if name in entry))
                       for entry in self.listed(kind))

    def change_listed(self, kind, *command, **keywords):
        """Returns what the module returns of a change of certificates."""
        before = self.shown(kind)
        self.change(*command, **keywords)
        return {"changed": True, "diff": {"before": before, "after": self.shown(kind), "before_header": kind,
                                          "after_header": kind}}

    def trust(self):
        given = self.given("trusted")
        names = [self.wanted["alias"]] if self.wanted["alias"] else self.aliases("trusted")
        found = [alias for alias in names if self.stored("trusted", alias) == given]
        if self.wanted["state"] == "absent":
            return self.untrust(found)
        if found:
            return {"changed": False}
        options = ["--alias=" + self.wanted["alias"]] if self.wanted["alias"] else []
        options += ["--replace"] if self.wanted["replace"] else []
        return self.change_listed("trusted", "trust", *options, self.file("trusted.pem", self.wanted["trusted"]))

    def untrust(self, aliases):
        for alias in aliases:
            self.change("untrust", *self.forced(), "--", alias, foreseen=(FAILED,))
        return {"changed": bool(aliases), "diff": {"before": "".join(alias + "\n" for alias in aliases), "after": ""}}

    def core_id(self):
        _, told = self.tools.run("lumsettings", "explain", "--json", "sec.core", "CORE_ID", accepted=(NOT_FOUND, FAILED))
        return next((setting.get("value", "") for setting in told.get("settings", [])), "")

    def own(self):
        before, given = self.core_id(), self.given("own")
        if before and self.stored("own", before) == given:
            return {"changed": False}
        key = ["--key", self.file("own.key", self.wanted["key"])] if self.wanted["key"] else []
        return self.change_listed("own", "install", self.file("own.pem", self.wanted["own"]), *key)

    def forced(self):
        return ["--force"] if self.wanted["force"] else []

    def revocation(self):
        self.given("revoked")
        file = self.file("revoked.pem", self.wanted["revoked"])
        code, _ = self.lumtrust("revoked", "--json", file, accepted=(NOT_FOUND,))
        is_wanted = self.wanted["state"] == "present"
        if (code == DONE) == is_wanted:
            return {"changed": False}
        before = self.revocations()
        command = ["revoke", *self.forced(), "--certificate"] if is_wanted else ["reinstate"]
        self.change(*command, file, foreseen=(FAILED,))
        return {"changed": True, "diff": {"before": before, "after": self.revocations(), "before_header": "revoked",
                                          "after_header": "revoked"}}

    def revocations(self):
        """A line for each that is revoked on the node, for a difference."""
        _, told = self.lumtrust("revoked", "--json")
        return "".join("%(serial)s of %(issuer)s: %(subject)s\n" % entry for entry in told["revoked"])

    # Rights.

    def rights(self):
        sender, names = self.wanted["sender"], self.wanted["rights"]
        _, told = self.lumtrust("rights", "--json")
        bits = next((entry["bits"] for entry in told["rights"] if entry["sender"] == sender), 0)
        before = [name for name in RIGHTS if bits & RIGHTS[name]]
        named = list(RIGHTS) if names is None or "all" in names else [name for name in RIGHTS if name in names]
        after = [name for name in before if name not in named] if self.wanted["state"] == "absent" else named
        granted, revoked = [n for n in after if n not in before], [n for n in before if n not in after]
        if granted:
            self.change("grant", "--", sender, *granted)
        if revoked:
            self.change("revoke", "--", sender, *revoked)
        return {"changed": bool(granted or revoked), "rights": after,
                "diff": {"before": " ".join(before) + "\n", "after": " ".join(after) + "\n",
                         "before_header": sender, "after_header": sender}}

    def run(self):
        try:
            if self.wanted["trusted"]:
                return self.trust()
            if self.wanted["own"]:
                return self.own()
            if self.wanted["revoked"]:
                return self.revocation()
            if self.wanted["sender"]:
                return self.rights()
            return self.untrust([alias for alias in self.aliases("trusted") if alias == self.wanted["alias"]])
        finally:
            if self.folder:
                shutil.rmtree(self.folder, ignore_errors=True)


def main():
    module = AnsibleModule(
        argument_spec=dict(
            ROOT_OPTION, trusted={"type": "str"}, alias={"type": "str"}, replace={"type": "bool", "default": False},
            own={"type": "str"}, key={"type": "str", "no_log": True}, revoked={"type": "str"},
            force={"type": "bool", "default": False}, sender={"type": "str"},
            rights={"type": "list", "elements": "str", "choices": [*RIGHTS, "all"]},
            state={"choices": ["present", "absent"], "default": "present"}),
        required_one_of=[("trusted", "own", "revoked", "sender", "alias")],
        mutually_exclusive=[("trusted", "own", "revoked", "sender"), ("alias", "own", "revoked", "sender")],
        required_by={"key": ("own",), "rights": ("sender",)}, supports_check_mode=True)
    wanted = module.params
    if wanted["state"] == "present" and wanted["alias"] and not wanted["trusted"]:
        module.fail_json(msg="alias wants trusted, or state=absent")
    if wanted["state"] == "present" and wanted["sender"] and wanted["rights"] is None:
        module.fail_json(msg="sender wants rights, or state=absent")
    if wanted["state"] == "absent" and wanted["own"]:
        module.fail_json(msg="a node's own certificate is replaced, not taken away")
    module.exit_json(**Trust(module).run())


if __name__ == "__main__":
    main()
