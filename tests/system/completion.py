"""The completion of command lines: what it offers, and interactive shells that use it."""
import os
import pty
import subprocess

from node import PATIENCE_S, ROOT, TOOLS
from terminal import read_until

COMPLETION = ROOT / "packaging/completion/lumpolicy"
SCRIPT = """
source "$1"
_lum_patience_s=$4
COMP_LINE=$2 COMP_POINT=${#2}
_lum "${2%% *}" "$3" ""
printf '%s\\n' "${COMPREPLY[@]}"
"""


def environment(node=None):
    inherited = node.environment() if node else dict(os.environ, LUM_ROOT="/nowhere")
    return {**inherited, "PATH": f"{TOOLS}:{os.environ['PATH']}", "LC_ALL": "C.UTF-8"}


def last_word(line):
    """As bash parts words for completion: behind a blank, "=", ":" or the quote that is open."""
    begin = quote = skip = 0
    for at, char in enumerate(line):
        if skip:
            skip = 0
        elif quote:
            quote = quote if char != quote else 0
        elif char == "\\":
            skip = 1
        elif char in "'\"":
            begin, quote = at + 1, char
        elif char in " =:":
            begin = at + 1
    return line[begin:]


def offered(line, node=None, folder=None):
    """What is offered at the end of the line."""
    word = last_word(line)
    done = subprocess.run(["bash", "--norc", "-c", SCRIPT, "bash", COMPLETION, line, word, str(PATIENCE_S)],
                          env=environment(node), cwd=folder, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          timeout=4 * PATIENCE_S)
    assert done.returncode == 0 and not done.stderr, done
    return done.stdout.split("\n")[:-1] if done.stdout != "\n" else []


def typed_into(shell, inside, text, wanted):
    """What an interactive shell shows until it shows what is wanted."""
    pid, terminal = pty.fork()
    if pid == 0:
        os.execvpe(shell[0], shell, inside)
    try:
        os.write(terminal, text.encode())
        return read_until(terminal, wanted)
    finally:
        os.write(terminal, b"\nexit\n")
        read_until(terminal, None)
        os.close(terminal)
        os.waitpid(pid, 0)
