#!/usr/bin/python3
"""Local settings of a LumConf node."""
DOCUMENTATION = r"""
module: lum_setting
short_description: sets and clears local settings of a LumConf node
description:
  - Makes the node on which it runs have local settings of a namespace, or have them no more.
  - Local settings stand over those of policies; clearing one lets what policies say count again.
  - A node whose daemon does not answer is unreachable, not failed.
  - A key that nobody reads is set with a warning; a value that a key cannot hold is refused, in a check too.
options:
  namespace:
    description: The namespace of the settings.
    required: true
    type: str
  settings:
    description: Names and their values; all of them are set, or none.
    type: dict
  names:
    description: With I(state=absent) the settings to clear. Without it the whole namespace is cleared.
    type: list
    elements: str
  state:
    description: Whether the settings are there.
    choices: [present, absent]
    default: present
    type: str
  force:
    description: Set also values that a key cannot hold, and change also what locks the node's own tools out.
    type: bool
    default: false
  root:
    description: The node's root.
    type: path
    default: /var/opt/lum
"""
EXAMPLES = r"""
- tessel.lumconf.lum_setting:
    namespace: conf.server
    settings: {AUDIT_LOGGING: true, AUDIT_LOG_MODE: all}
- tessel.lumconf.lum_setting:
    namespace: conf.server
    names: [AUDIT_LOG_MODE]
    state: absent
"""
RETURN = r"""
changed_settings:
  description: The names that were set or cleared.
  returned: always
  type: list
"""
from ansible.module_utils.basic import AnsibleModule
from ansible_collections.tessel.lumconf.plugins.module_utils.tools import FAILED, NOT_FOUND, NOTHING_TO_DO, \
    REFUSED, ROOT_OPTION, Tools, lines


def text_of(value):
    """As the node spells it: of truth YAML has words of its own."""
    if isinstance(value, bool):
        return "true" if value else "false"
    return "" if value is None else str(value)


def local_settings(tools, namespace):
    """{name: value} of those that the node was told directly. A merge of policies that is broken says nothing of these."""
    _, told = tools.run("lumsettings", "explain", "--json", "--", namespace, accepted=(NOT_FOUND, FAILED))
    if "settings" not in told:
        tools.module.fail_json(msg="lumsettings did not tell the settings of '%s'" % namespace)
    return {setting["name"]: source["value"] for setting in told["settings"] for source in setting["sources"]
            if source["source"] == "local"}


def change(module, tools, before):
    """Returns what the settings are afterwards, and the commands that make them so."""
    namespace, names = module.params["namespace"], module.params["names"]
    if module.params["state"] == "present":
        wanted = {str(name): text_of(value) for name, value in module.params["settings"].items()}
        for name in wanted:
            if not name or "=" in name:
                module.fail_json(msg="'%s' is no name of a setting" % name)
        missing = {name: value for name, value in wanted.items() if before.get(name) != value}
        command = ["set", namespace, *("%s=%s" % pair for pair in sorted(missing.items()))]
        return dict(before, **missing), [command] if missing else []
    if names is None:
        return {}, [["clear", namespace]] if before else []
    there = sorted(set(names) & set(before))
    return {name: value for name, value in before.items() if name not in there}, \
        [["clear", namespace, name] for name in there]


def make(module, tools, command):
    """In a check the node is asked what it would do."""
    options = (["--dry-run"] if module.check_mode else []) + (["--force"] if module.params["force"] else [])
    tools.run("lumsettings", command[0], "--json", *options, "--", *command[1:], accepted=(NOTHING_TO_DO,),
              foreseen=(REFUSED,) if module.check_mode else ())


def main():
    module = AnsibleModule(
        argument_spec=dict(
            ROOT_OPTION, namespace={"type": "str", "required": True}, settings={"type": "dict"},
            names={"type": "list", "elements": "str"}, force={"type": "bool", "default": False},
            state={"choices": ["present", "absent"], "default": "present"}),
        required_if=[("state", "present", ("settings",))], mutually_exclusive=[("settings", "names")],
        supports_check_mode=True)
    tools = Tools(module)
    before = local_settings(tools, module.params["namespace"])
    after, commands = change(module, tools, before)
    for command in commands:
        make(module, tools, command)
    changed = sorted(name for name in {*before, *after} if before.get(name) != after.get(name))
    module.exit_json(changed=bool(changed), changed_settings=changed,
                     diff={"before": lines(before), "after": lines(after),
                           "before_header": module.params["namespace"], "after_header": module.params["namespace"]})


if __name__ == "__main__":
    main()
