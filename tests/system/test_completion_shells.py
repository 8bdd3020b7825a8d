#!/usr/bin/python3
"""What the tab key does in bash, and in the shells that ask its completion."""
import pathlib
import subprocess
import tempfile
import unittest

from completion import COMPLETION, environment, typed_into
from node import PATIENCE_S, Node, write_policy

# The name "cpu load", as far as a person gets before the tab key.
HALF_TYPED = ("--name cpu\\ l", "--name 'cpu l", '--name "cpu l', "--name=cpu\\ l", "--name='cpu l")


def patient(file):
    """Its text, for a machine that takes its time."""
    return file.read_text(encoding="utf-8").replace("_lum_patience_s=5 ", f"_lum_patience_s={PATIENCE_S} ")


class OtherShells(unittest.TestCase):
    """They ask the same file, run as a program."""

    def ask(self, line, node=None, folder=None):
        with tempfile.NamedTemporaryFile("w", prefix="lumcompletion.") as file:
            file.write(patient(COMPLETION))
            file.flush()
            done = subprocess.run(["bash", file.name, line], env=environment(node), cwd=folder, stdin=subprocess.DEVNULL,
                                  capture_output=True, text=True, check=True, timeout=4 * PATIENCE_S)
        return done.stdout.splitlines()

    def test_words_are_offered_whole_and_as_they_are(self):
        with Node({"n.s": {"b c": "1"}}) as node:
            path = write_policy(node.folder / "source", "1", name="cpu load")
            self.assertEqual(node.policy("install", "--no-notify", path).code, 0)
            self.assertEqual(self.ask("lumpolicy list --name ", node), ["cpu load"])
            self.assertEqual(self.ask("lumpolicy list --name=c", node), ["--name=cpu load"])
            self.assertEqual(self.ask("lumsettings set n.s ", node), ["b c="])
        self.assertEqual(self.ask("lumpolicy rein"), ["reinit"])
        self.assertEqual(self.ask("/nowhere/lumpolicy "), [])

    def test_folders_end_with_a_slash(self):
        with tempfile.TemporaryDirectory(prefix="lumcompletion.") as folder:
            (pathlib.Path(folder) / "deeper").mkdir()
            self.assertEqual(self.ask("lumpolicy install ", folder=folder), ["deeper/"])

    def installed(self, folder):
        """Where a packaged one lies."""
        for name, place in (("lumpolicy", "bash-completion/completions/lumpolicy"),
                            ("lumpolicy.zsh", "zsh/vendor-completions/_lumpolicy"),
                            ("lumpolicy.fish", "fish/vendor_completions.d/lumpolicy.fish")):
            target = pathlib.Path(folder) / place
            target.parent.mkdir(parents=True)
            target.write_text(patient(COMPLETION.parent / name))
        return pathlib.Path(folder)

    def test_fish_offers_them(self):
        with Node() as node, tempfile.TemporaryDirectory(prefix="lumcompletion.") as folder:
            path = write_policy(node.folder / "source", "1", name="cpu load")
            self.assertEqual(node.policy("install", "--no-notify", path).code, 0)
            file = self.installed(folder) / "fish/vendor_completions.d/lumpolicy.fish"
            for line, expected in (("lumpolicy rein", ["reinit"]), ("lumpolicy list --name ", ["cpu load"]),
                                   ("lumpolicy list --name cpu\\ l", ["cpu load"]),
                                   ('lumpolicy list --name "cpu l', ["cpu load"]),
                                   ("LUM_OTHER=~/x lumpolicy rein", ["reinit"]),
                                   ("true; lumpolicy remove-", ["remove-attribute", "remove-category"])):
                done = subprocess.run(["fish", "--no-config", "-c", f"source '{file}'; complete -C $argv", line],
                                      env={**environment(node), "HOME": folder}, stdin=subprocess.DEVNULL,
                                      capture_output=True, text=True, timeout=4 * PATIENCE_S)
                self.assertEqual((sorted(done.stdout.splitlines()), done.stderr), (expected, ""), line)

    def test_zsh_completes_at_the_tab_key(self):
        wanted = b"Usage: lumpolicy reinit"
        self.assertIn(wanted, self.shown_by_zsh("lumpolicy rein\t--he\t\n", wanted))

    def test_zsh_completes_the_command_that_the_cursor_stands_in(self):
        for before in ("true; ", "LUM_OTHER=~/x ", "true && LUM_OTHER='a b' ", "lumpolicy list | "):
            with self.subTest(before):
                wanted = b"Usage: lumpolicy reinit"
                self.assertIn(wanted, self.shown_by_zsh(f"{before}lumpolicy rein\t--he\t\n", wanted))

    def test_zsh_completes_a_half_typed_name_with_a_blank(self):
        with Node() as node:
            path = write_policy(node.folder / "source", "1", name="cpu load")
            self.assertEqual(node.policy("install", "--no-notify", path).code, 0)
            for typed in HALF_TYPED:
                with self.subTest(typed):
                    line = f"lumpolicy list -o name {typed}\t\n"
                    self.assertIn(b"type:cpu load", self.shown_by_zsh(line, b"type:cpu load", node))

    def shown_by_zsh(self, typed, wanted, node=None):
        with tempfile.TemporaryDirectory(prefix="lumcompletion.") as folder:
            functions = self.installed(folder) / "zsh/vendor-completions"
            inside = {**environment(node), "HOME": folder, "TERM": "dumb"}
            begin = f"fpath+=('{functions}'); autoload -U compinit; compinit -u -D\n"
            return typed_into(["zsh", "-f", "-i"], inside, begin + typed, wanted)


class TheShellItself(unittest.TestCase):
    def test_the_tab_key_completes_a_command_in_an_interactive_shell(self):
        typed = f"source '{COMPLETION}'\n_lum_patience_s={PATIENCE_S}\nlumpolicy rein\t--he\t\n"
        shown = typed_into(["bash", "--norc", "--noprofile", "-i"], environment(), typed, b"Usage: lumpolicy reinit")
        self.assertIn(b"Usage: lumpolicy reinit", shown)


    def test_the_tab_key_completes_a_half_typed_name_with_a_blank(self):
        with Node() as node:
            path = write_policy(node.folder / "source", "1", name="cpu load")
            self.assertEqual(node.policy("install", "--no-notify", path).code, 0)
            for typed in HALF_TYPED:
                with self.subTest(typed):
                    line = f"source '{COMPLETION}'\n_lum_patience_s={PATIENCE_S}\nlumpolicy list -o name {typed}\t\n"
                    shown = typed_into(["bash", "--norc", "--noprofile", "-i"], environment(node), line,
                                       b"type:cpu load")
                    self.assertIn(b"type:cpu load", shown)


if __name__ == "__main__":
    unittest.main()
