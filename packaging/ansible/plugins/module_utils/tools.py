"""The tools of the node on which a module runs, asked by their --json."""
import json
import os
import pwd
import re

ROOT_OPTION = {"root": {"type": "path", "default": "/var/opt/lum"}}

DONE, FAILED, WRONG_USAGE, NOTHING_TO_DO, NOT_FOUND, REFUSED, UNREACHABLE, UNTOLD = range(8)


class Tools:
    """Runs them. What they fail with ends the module; a daemon that does not answer is a node that is not reached. What
    they warn of is passed on."""

    def __init__(self, module):
        self.module = module
        self.root = module.params["root"]
        self.warned = set()
        os.environ["LUM_ROOT"] = self.root

    def owner(self):
        """Whose files the node's are; None when they are this user's, or not there."""
        try:
            user = os.stat(self.root).st_uid
        except FileNotFoundError:
            self.module.fail_json(msg="there is no node in '%s': install the package lumconf, or name its root" % self.root)
        return None if user == os.geteuid() else pwd.getpwuid(user).pw_name

    def command(self, tool, as_owner=False):
        """How a command begins that runs a tool."""
        found = [self.module.get_bin_path(tool, required=True)]
        if as_owner and self.owner():
            return [self.module.get_bin_path("runuser", required=True), "-u", self.owner(), "--", *found]
        return found

    def run(self, tool, *arguments, accepted=(), as_owner=False, foreseen=()):
        """Returns (code, object): what the tool ended with, and what it printed. Codes besides 0 that are `accepted`
        come back too, and with a warning those that are `foreseen`: what was not done in a check may be the reason."""
        code, out, err = self.module.run_command([*self.command(tool, as_owner), *arguments])
        told = self.told(out)
        for message in told.get("warnings", []):
            self.warn(message["text"])
        if code in foreseen:
            self.warn("as the node is now, it would not do this: " + self.said(code, tool, told, err))
        elif code != DONE and code not in accepted:
            self.end(code, "%s: %s" % (tool, self.said(code, tool, told, err)))
        return code, told

    @staticmethod
    def told(out):
        try:
            told = json.loads(out)
        except ValueError:
            return {}
        return told if isinstance(told, dict) else {}

    def said(self, code, tool, told, err):
        """Why it failed, in the words of a play."""
        lines = [message["text"] for message in told.get("messages", [])] or \
            [line for line in err.splitlines() if not line.startswith("usage: ")]
        text = " ".join(re.sub(r"^\s*(%s: |\* )" % tool, "", line).strip() for line in lines)
        return re.sub(r"--([a-z]+(?:-[a-z]+)*)", self.option, text) or "ended with %d" % code

    def option(self, match):
        name = match.group(1).replace("-", "_")
        return name if name in self.module.params else match.group()

    def end(self, code, message):
        if code == UNREACHABLE:
            self.module.exit_json(unreachable=True, changed=False, msg=message)
        self.module.fail_json(msg=message, code=code)

    def warn(self, text):
        """Each once."""
        if text not in self.warned:
            self.module.warn(text)
        self.warned.add(text)


def lines(values):
    """{name: value} as a text for a difference."""
    return "".join("%s=%s\n" % (name, value) for name, value in sorted(values.items()))
