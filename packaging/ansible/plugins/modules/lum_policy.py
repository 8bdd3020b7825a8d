#!/usr/bin/python3
"""A policy of a LumConf node."""
DOCUMENTATION = r"""
module: lum_policy
short_description: installs, changes and removes policies of a LumConf node
description:
  - Makes the node on which it runs have a policy as its document says, with its data files, or have it no more.
  - Nothing is sent to the node when the installed policy is the same already, data files included.
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
    description: Whether it is enabled. Without it what the document says counts.
    choices: [enabled, disabled]
    type: str
  owner:
    description: Its owner. Without it what the document says counts.
    type: str
  force_owner:
    description: Replace it although it belongs to another owner.
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
  description: The fields and data files that differed.
  returned: when it was installed already and changed
  type: list
"""
import json
import os

from ansible.module_utils.basic import AnsibleModule
from ansible_collections.tessel.lumconf.plugins.module_utils.document import Document, DocumentError
from ansible_collections.tessel.lumconf.plugins.module_utils.tools import DONE, NOT_FOUND, NOTHING_TO_DO, ROOT_OPTION, \
    UNTOLD, Tools

LARGEST_SHOWN = 100000


class Policy:
    def __init__(self, module):
        self.module, self.wanted = module, module.params
        self.tools = Tools(module)

    # What is there, and what is meant.

    def selection(self):
        if self.wanted["id"]:
            return ["--id=" + self.wanted["id"]]
        return ["--name=" + self.wanted["name"], "--type=" + self.wanted["type"]]

    def installed(self, *selection):
        """The document in the node's store of the policy that the node lists; None when there is none."""
        code, told = self.tools.run("lumpolicy", "list", "--json", *selection, accepted=(NOT_FOUND,))
        if code == NOT_FOUND or not told.get("policies"):
            return None
        policy = told["policies"][0]
        return Document(os.path.join(self.tools.root, "policies", policy["type"]["name"], policy["id"] + "_header.xml"))

    def meant(self):
        document = Document(self.wanted["src"])
        self.tools.run("lumpolicy", "validate", "--json", "--", document.path)
        for name in ("status", "owner"):
            if self.wanted[name] is not None:
                document.fields[name] = self.wanted[name]
        return document

    @staticmethod
    def differences(was, wanted):
        found = [name for name in wanted.fields if was.fields[name] != wanted.fields[name]]
        was_files, files = was.contents(), wanted.contents()
        return found + sorted("data file " + name for name in files if was_files.get(name) != files[name])

    # What is shown of it.

    def shown(self, document):
        return json.dumps(document.fields, indent=1, ensure_ascii=False) + "\n" if document else ""

    @staticmethod
    def text(content):
        if content is None:
            return ""
        try:
            return content.decode("utf-8") if len(content) <= LARGEST_SHOWN else "(%d bytes)\n" % len(content)
        except UnicodeDecodeError:
            return "(%d bytes)\n" % len(content)

    def diff(self, was, wanted):
        old = was.contents() if was else {}
        new = wanted.contents() if wanted else {}
        name = (wanted or was).fields["id"]
        rows = [{"before_header": name, "after_header": name, "before": self.shown(was), "after": self.shown(wanted)}]
        for file in sorted({*old, *new}):
            if old.get(file) != new.get(file):
                rows.append({"before_header": file, "after_header": file, "before": self.text(old.get(file)),
                             "after": self.text(new.get(file))})
        return rows

    # The changes.

    def change(self, *arguments, notify=True):
        if self.module.check_mode:
            return
        told_later = [] if self.wanted["notify"] or not notify else ["--no-notify"]
        code, told = self.tools.run("lumpolicy", arguments[0], "--json", *told_later, *arguments[1:], accepted=(UNTOLD, NOTHING_TO_DO))
        self.tools.warn(told)
        if code == UNTOLD:
            self.module.warn(" ".join(message["text"] for message in told["messages"]))

    def set_status(self, document):
        self.change("enable" if self.wanted["status"] == "enabled" else "disable", "--id=" + document.fields["id"])

    def set_owner(self, document):
        self.change("set-owner", "--id=" + document.fields["id"], "--", self.wanted["owner"])

    def install(self, document):
        options = ["--force"]
        if self.wanted["status"]:
            options.append("--enable" if self.wanted["status"] == "enabled" else "--disable")
        if self.wanted["owner"] == "":
            options.append("--remove-owner")
        elif self.wanted["owner"]:
            options.append("--owner=" + self.wanted["owner"])
        self.change("install", *options, "--", document.path)

    def refuse_another_owner(self, was, wanted):
        owner = was.fields["owner"]
        if owner and owner != wanted.fields["owner"] and not self.wanted["force_owner"]:
            self.module.fail_json(msg="the policy '%s' belongs to '%s', not to '%s': force_owner replaces it nevertheless" %
                                  (was.fields["name"], owner, wanted.fields["owner"]))

    def make_present(self):
        wanted = self.meant()
        was = self.installed("--id=" + wanted.fields["id"]) or \
            self.installed("--name=" + wanted.fields["name"], "--type=" + wanted.fields["type"])
        found = self.differences(was, wanted) if was else []
        if was and not found:
            return {"changed": False, "id": wanted.fields["id"]}
        if was:
            self.refuse_another_owner(was, wanted)
        diff = self.diff(was, wanted)
        if found == ["status"] and self.wanted["status"]:
            self.set_status(was)
        else:
            self.install(wanted)
        return {"changed": True, "id": wanted.fields["id"], "differences": found, "diff": diff}

    def change_installed(self):
        was = self.installed(*self.selection())
        if not was:
            self.module.fail_json(msg="no such policy is installed; src installs one")
        wanted = Document(was.path)
        found = []
        for name, change in (("status", self.set_status), ("owner", self.set_owner)):
            if self.wanted[name] is not None and self.wanted[name] != was.fields[name]:
                wanted.fields[name] = self.wanted[name]
                found.append((name, change))
        diff = self.diff(was, wanted)
        for _, change in found:
            change(was)
        return {"changed": bool(found), "id": was.fields["id"], "differences": [name for name, _ in found], "diff": diff}

    def make_absent(self):
        was = self.installed(*(["--id=" + Document(self.wanted["src"]).fields["id"]] if self.wanted["src"]
                               else self.selection()))
        if not was:
            return {"changed": False}
        diff = self.diff(was, None)
        self.change("remove", "--id=" + was.fields["id"])
        return {"changed": True, "id": was.fields["id"], "diff": diff}

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
            force_owner={"type": "bool", "default": False}, notify={"type": "bool", "default": True}),
        required_one_of=[("src", "id", "name")], mutually_exclusive=[("src", "id", "name")],
        required_by={"name": ("type",)}, supports_check_mode=True)
    try:
        module.exit_json(**Policy(module).run())
    except DocumentError as reason:
        module.fail_json(msg=str(reason))


if __name__ == "__main__":
    main()
