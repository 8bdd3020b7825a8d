#!/usr/bin/python3
"""Every program has a manual page, which is made from the page of the programs, renders without a warning and names
every option and every command that the program's own help does."""
import importlib.util
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
TOOLS = pathlib.Path(os.environ.get("LUM_BUILD", ROOT / "build/dev")) / "tools"
PAGES = ROOT / "packaging/man"
PLAIN = dict(os.environ, LC_ALL="C.UTF-8", MANWIDTH="80", MANPAGER="cat", MAN_KEEP_FORMATTING="")
INSTALLED = ROOT / "cmake/Install.cmake"


def made_pages():
    spec = importlib.util.spec_from_file_location("man_pages", ROOT / "packaging/man-pages.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module.pages()


# They say how they are called in a form of their own, by an option of their own, and end as with wrong usage.
OWN_USAGE = {"lumclusterinfo", "lumappinstance"}


def run(*command):
    return subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          env=PLAIN, timeout=120)


def usage_of(tool):
    done = run(TOOLS / tool, "-help")
    if done.returncode != 2:
        raise AssertionError(f"{tool} -help ended with {done.returncode}: {done.stderr}")
    return done.stdout


def own_options_in(text):
    return set(re.findall(r"(?<![\w-])-[A-Za-z]+", text))


def help_of(tool, *command):
    done = run(TOOLS / tool, *command, "--help")
    if done.returncode != 0:
        raise AssertionError(f"{tool} {' '.join(command)} --help ended with {done.returncode}: {done.stderr}")
    return done.stdout


def commands_in(text):
    part = re.search(r"^Subcommands:\n((?:  .*\n)+)", text, re.M)
    return re.findall(r"^  (\S+)", part.group(1), re.M) if part else []


def options_in(text):
    return {word for words in re.findall(r"^  (-\S+)", text, re.M) for word in words.split(",")}


def check_rendered(tool, path):
    rendered = run("man", "-l", "--warnings", path)
    if rendered.returncode != 0 or rendered.stderr:
        yield f"{path.relative_to(ROOT)}: {rendered.stderr or rendered.returncode}"
    text = rendered.stdout
    if f"{tool} - " not in text:
        yield f"{path.relative_to(ROOT)}: it does not say in a line what the program is"
    if len(max(text.splitlines(), key=len, default="")) > 80:
        yield f"{path.relative_to(ROOT)}: it is wider than 80 columns"
    yield from check_own_usage(tool, path, text) if tool in OWN_USAGE else check_help(tool, path, text)


def missing_options(options, path, text):
    for option in sorted(options):
        if not re.search(rf"(?<![\w-]){re.escape(option)}(?![\w-])", text):
            yield f"{path.relative_to(ROOT)}: the option {option} is missing"


def check_own_usage(tool, path, text):
    options = own_options_in(usage_of(tool))
    if not {"-h", "-help", "-version"} < options:
        yield f"{tool} -help: its options were not found: {sorted(options)}"
    yield from missing_options(options, path, text)


def check_help(tool, path, text):
    usage = help_of(tool)
    commands = commands_in(usage)
    for command in commands:
        if not re.search(rf"^ {{7}}(?:.*, )?{re.escape(command)}\b", text, re.M):
            yield f"{path.relative_to(ROOT)}: the command {command} is missing"
    options = options_in(usage).union(*(options_in(help_of(tool, command)) for command in commands))
    if not {"-h", "--help", "--version"} < options:
        yield f"{tool} --help: its options were not found: {sorted(options)}"
    yield from missing_options(options, path, text)


def check_pages():
    made = made_pages()
    kept = {path.name: path.read_text(encoding="utf-8") for path in PAGES.iterdir()}
    for name in sorted(made.keys() | kept.keys()):
        if made.get(name) != kept.get(name):
            yield f"packaging/man/{name}: is not what packaging/man-pages.py makes of docs/tools.md"
    tools = sorted(path.stem for path in (ROOT / "tools").glob("*.cpp"))
    for tool in tools:
        found = [PAGES / name for name in kept if name.rsplit(".", 1)[0] == tool]
        if len(found) != 1:
            yield f"packaging/man: {tool} has {len(found)} pages"
        for path in found:
            yield from check_rendered(tool, path)
        if tool not in re.search(r"foreach\(program ([^)]*)\)", INSTALLED.read_text()).group(1).split():
            yield f"cmake/Install.cmake: {tool} has no completion"


def main():
    errors = list(check_pages())
    for error in errors:
        print(error)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
