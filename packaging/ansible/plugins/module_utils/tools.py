"""The tools of the node on which a module runs, asked by their --json."""
import json
import os
import pwd

ROOT_OPTION = {"root": {"type": "path", "default": "/var/opt/lum"}}

DONE, FAILED, WRONG_USAGE, NOTHING_TO_DO, NOT_FOUND, REFUSED, UNREACHABLE, UNTOLD = range(8)


class Tools:
    """Runs them. What they fail with ends the module; a daemon that does not answer is a node that is not reached."""

    def __init__(self, module):
        self.module = module
        self.root = module.params["root"]
        os.environ["LUM_ROOT"] = self.root

    def owner(self):
        """Whose files the node's are; None when they are this user's, or not there."""
        try:
            user = os.stat(self.root).st_uid
        except FileNotFoundError:
            self.module.fail_json(msg="there is no node in '%s': install the package lumconf, or name its root" % self.root)
        return None if user == os.geteuid() else pwd.getpwuid(user).pw_name

    def run(self, tool, *arguments, accepted=(), as_owner=False):
        """Returns (code, object): what the tool ended with, and what it printed. Codes besides 0 that are `accepted`
        come back too."""
        command = [self.module.get_bin_path(tool, required=True)]
        if as_owner and self.owner():
            command = [self.module.get_bin_path("runuser", required=True), "-u", self.owner(), "--", *command]
        code, out, err = self.module.run_command([*command, *arguments])
        told = self.told(out)
        if code != DONE and code not in accepted:
            self.end(code, tool, told, err)
        return code, told

    @staticmethod
    def told(out):
        try:
            told = json.loads(out)
        except ValueError:
            return {}
        return told if isinstance(told, dict) else {}

    def end(self, code, tool, told, err):
        lines = [message["text"] for message in told.get("messages", [])] or err.strip().splitlines()
        message = "%s: %s" % (tool, " ".join(lines) or "ended with %d" % code)
        if code == UNREACHABLE:
            self.module.exit_json(unreachable=True, changed=False, msg=message)
        self.module.fail_json(msg=message, code=code)

    def warn(self, told):
        for message in told.get("warnings", []):
            self.module.warn(message["text"])


def lines(values):
    """{name: value} as a text for a difference."""
    return "".join("%s=%s\n" % (name, value) for name, value in sorted(values.items()))
