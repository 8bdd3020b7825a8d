"""Plays of Ansible with the collection as a user installs it."""
import json
import os
import pathlib
import re
import subprocess

from node import PATIENCE_S, ROOT

COLLECTION = ROOT / "packaging/ansible"


class Played:
    """What came of a play: its output, and the counts of each host."""

    def __init__(self, done):
        self.code, self.text = done.returncode, done.stdout + done.stderr
        self.recap = {host: {word: int(number) for word, number in re.findall(r"(\w+)=(\d+)", counts)}
                      for host, counts in re.findall(r"^(\S+) +: (ok=.*)$", done.stdout, re.M)}

    def count(self, word):
        return {host: counts[word] for host, counts in self.recap.items()}


class Ansible:
    """Commands of Ansible that know nothing but what lies in a folder."""

    def __init__(self, folder, **environment):
        self.folder = folder
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(folder), "LANG": "C.UTF-8", "ANSIBLE_NOCOLOR": "1",
                            "ANSIBLE_COLLECTIONS_PATH": str(folder / "collections"), "COLUMNS": "1000", **environment}
        self.run("ansible-galaxy", "collection", "install", COLLECTION, "-p", folder / "collections")

    def run(self, *command):
        done = subprocess.run([str(word) for word in command], env=self.environment, cwd=self.folder, capture_output=True,
                              text=True, stdin=subprocess.DEVNULL, timeout=20 * PATIENCE_S)
        if done.returncode not in (0, 2, 4):
            raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
        return done

    def play(self, hosts, tasks, roles=(), options=(), **variables):
        """hosts: the text of the inventory."""
        (self.folder / "hosts").write_text("[all:vars]\nansible_python_interpreter=/usr/bin/python3\n" + hosts)
        book = self.folder / "play.yml"
        book.write_text(json.dumps([{"hosts": "all", "gather_facts": False, "roles": list(roles), "tasks": list(tasks),
                                     "vars": variables}]))
        return Played(self.run("ansible-playbook", "-i", self.folder / "hosts", "-v", *options, book))


def policy(**options):
    return {"tessel.lumconf.lum_policy": {name: str(value) if isinstance(value, pathlib.Path) else value
                                          for name, value in options.items()}}


def setting(**options):
    return {"tessel.lumconf.lum_setting": options}


def trust(**options):
    return {"tessel.lumconf.lum_trust": options}
