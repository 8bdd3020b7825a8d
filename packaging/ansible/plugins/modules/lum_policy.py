#!/usr/bin/python3
"""A policy of a LumConf node."""
DOCUMENTATION = r"""
module: lum_policy
short_description: installs, changes and removes policies of a LumConf node
description:
  - Makes the node on which it runs have a policy as its document says, with its data files, or have it no more.
  - What is to change is found, shown and done by C(lumpolicy apply). Nothing is sent to the node when the installed
    policy is the same already, data files included.
  - A node whose daemon does not answer is unreachable, not failed.
options:
  src:
    description:
      - The policy's header, C(<id>_header.xml); its data files lie beside it. Without I(remote_src) it lies where the
        play is run from, and is looked for as other files of a role or play are.
    type: path
  remote_src:
    description: The header lies on the node.
    type: bool
    default: false
  id:
    description: The policy's id, for one that is installed.
    type: str
  name:
    description: The policy's name, for one that is installed; with I(type).
    type: str
  type:
    description: The policy's type.
    type: str
  state:
    description: Whether the node has it.
    choices: [present, absent]
    default: present
    type: str
  status:
    description:
      - Whether it is enabled. Without it what the document says counts. When a cluster switches the policy on and off
        (an attribute C(HARG:)), it is left as it is then; a status that is given here counts all the same.
    choices: [enabled, disabled]
    type: str
  owner:
    description: Its owner. Without it what the document says counts.
    type: str
  force_owner:
    description: Replace it although it belongs to another owner.
    type: bool
    default: false
  force:
    description: Do also what would lock the node's own tools out.
    type: bool
    default: false
  notify:
    description: Tell the policy's consumers. Else the node keeps the news until C(lumpolicy notify).
    type: bool
    default: true
  root:
    description: The node's root.
    type: path
    default: /var/opt/lum
"""
EXAMPLES = r"""
- tessel.lumconf.lum_policy:
    src: 7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11_header.xml
    status: enabled
- tessel.lumconf.lum_policy:
    name: cpu-load
    type: collect
    state: absent
"""
RETURN = r"""
id:
  description: The policy's id.
  returned: when a policy is or was there
  type: str
differences:
  description: The fields and data files that differed, of a policy that was there already.
  returned: with state=present
  type: list
"""
import json
import shutil
import tempfile

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.tessel.lumconf.plugins.module_utils.document import Document, DocumentError
from ansible_collections.tessel.lumconf.plugins.module_utils.tools import NOT_FOUND, NOTHING_TO_DO, ROOT_OPTION, UNTOLD, \
    Tools

OWN = ("status", "owner")  # what a play may say instead of the document


def shown(policy):
    return json.dumps(policy, indent=1, ensure_ascii=False) + "\n" if policy else ""


class Policy:
    def __init__(self, module):
        self.module, self.wanted = module, module.params
        self.tools = Tools(module)
        self.own = {name: self.wanted[name] for name in OWN if self.wanted[name] is not None}

    def selection(self):
        if self.wanted["src"]:
            return ["--id=" + Document(self.wanted["src"]).id]
        if self.wanted["id"]:
            return ["--id=" + self.wanted["id"]]
        return ["--name=" + self.wanted["name"], "--type=" + self.wanted["type"]]

    def installed(self, selection):
        """The policy as the node lists it; None when there is none."""
        _, told = self.tools.run("lumpolicy", "list", "--json", *selection, accepted=(NOT_FOUND,))
        return next(iter(told.get("policies", [])), None)

    def tell(self, command, *arguments):
        """Has the node change something; returns what it told."""
        later = [] if self.wanted["notify"] else ["--no-notify"]
        code, told = self.tools.run("lumpolicy", command, "--json", *later, *arguments, accepted=(UNTOLD, NOTHING_TO_DO))
        if code == UNTOLD:
            self.tools.warn(" ".join(message["text"] for message in told["messages"]))
        return told

    def change(self, command, *arguments):
        """A check asks as well, so that it fails where the change would."""
        can_lock_out = command in ("enable", "disable", "remove")
        options = (["--dry-run"] if self.module.check_mode else []) + \
            (["--force"] if self.wanted["force"] and can_lock_out else [])
        self.tell(command, *options, *arguments)

    def set_status(self, policy):
        self.change("enable" if self.wanted["status"] == "enabled" else "disable", "--id=" + policy["id"])

    def set_owner(self, policy):
        self.change("set-owner", "--id=" + policy["id"], "--", self.wanted["owner"])

    # With a document.

    def apply(self, path):
        """Has the node take the policy over; the answer's row of it, and what the module returns."""
        self.tools.run("lumpolicy", "validate", "--json", "--", path)
        options = [("--diff", self.module._diff), ("--dry-run", self.module.check_mode),
                   ("--force-owner", self.wanted["force_owner"]), ("--force", self.wanted["force"])]
        told = self.tell("apply", *[name for name, is_wanted in options if is_wanted], "--", path)
        row = next(row for row in told["policies"] if row.get("file") == path)
        return {"changed": told["changed"], "id": row["id"],
                "differences": [difference["field"] for difference in row.get("differences", [])],
                "diff": {"prepared": "".join(row.get("diff", "") for row in told["policies"])}}

    def insist_on_status(self, result):
        """What a play says itself counts also where a cluster switches the policy on and off."""
        policy = self.installed(["--id=" + result["id"]])
        if not policy or policy["status"] == self.wanted["status"] or "status" in result["differences"]:
            return
        self.set_status(policy)
        result["changed"] = True
        result["differences"].append("status")
        result["diff"]["prepared"] += "-status: %s\n+status: %s\n" % (policy["status"], self.wanted["status"])

    def make_present(self):
        folder = tempfile.mkdtemp(prefix="lumpolicy.", dir=self.module.tmpdir)
        try:
            document = Document(self.wanted["src"])
            result = self.apply(document.copy(folder, self.own) if self.own else document.path)
        finally:
            shutil.rmtree(folder, ignore_errors=True)
        if self.wanted["status"]:
            self.insist_on_status(result)
        return result

    # Without one.

    def change_installed(self):
        was = self.installed(self.selection())
        if not was:
            self.module.fail_json(msg="no such policy is installed; src installs one")
        found = [name for name in self.own if self.own[name] != was[name]]
        for name in found:
            getattr(self, "set_" + name)(was)
        return {"changed": bool(found), "id": was["id"], "differences": found,
                "diff": {"before": shown(was), "after": shown(dict(was, **self.own))}}

    def make_absent(self):
        was = self.installed(self.selection())
        if not was:
            return {"changed": False}
        self.change("remove", "--id=" + was["id"])
        return {"changed": True, "id": was["id"], "diff": {"before": shown(was), "after": ""}}

    def run(self):
        if self.wanted["state"] == "absent":
            return self.make_absent()
        return self.make_present() if self.wanted["src"] else self.change_installed()


def main():
    module = AnsibleModule(
        argument_spec=dict(
            ROOT_OPTION, src={"type": "path"}, remote_src={"type": "bool", "default": False}, id={"type": "str"},
            name={"type": "str"}, type={"type": "str"}, owner={"type": "str"},
            state={"choices": ["present", "absent"], "default": "present"}, status={"choices": ["enabled", "disabled"]},
            force_owner={"type": "bool", "default": False}, force={"type": "bool", "default": False}, notify={"type": "bool", "default": True}),
        required_one_of=[("src", "id", "name")], mutually_exclusive=[("src", "id", "name")],
        required_by={"name": ("type",)}, supports_check_mode=True)
    try:
        module.exit_json(**Policy(module).run())
    except DocumentError as reason:
        module.fail_json(msg=str(reason))


if __name__ == "__main__":
    main()
