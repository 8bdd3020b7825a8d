#!/usr/bin/python3
"""Holds the rules of the includes (directions, third-party headers, no loops), that no file grows too long, that one without
a header of its name says at its top what it holds, and that what is never destroyed is spelled alike."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
FOLDERS = ["platform", "src", "LumConfPar", "LumConfCluster", "node", "tools", "bench"]
OURS = [ROOT / folder for folder in FOLDERS]
# What a folder may include from; platform knows nothing above it, and the two beside the library not each other. What
# they offer each other stands among the public headers.
ALLOWED = {
    "platform": {"platform"},
    "src": {"platform", "src"},
    "LumConfPar": {"platform", "src", "LumConfPar"},
    "LumConfCluster": {"platform", "src", "LumConfCluster"},
    "node": {"platform", "src", "LumConfPar", "LumConfCluster", "node"},
    "tools": {"platform", "src", "LumConfCluster", "tools"},
    "bench": {"platform", "src", "LumConfPar", "LumConfCluster", "node", "bench"},
}
STANDARD = re.compile(r"^[a-z_0-9]+$")  # <vector>, <memory>: no slash, no .h
THIRD_PARTY = re.compile(
    r"^(expat|boost/|curl/|openssl/|unicode/|CLI/|nlohmann/|gtest/|gmock/|benchmark/)")
TOOL_LIBRARIES = re.compile(r"^(CLI/|nlohmann/)")
# What the HTTP server's own files share of its library; nothing outside the folder sees these headers.
NETWORK = ROOT / "platform/vox"
NETWORK_HEADER, NETWORK_LIBRARY = "_beast.h", "boost/"
MOST_LINES = 400
MADE_ONCE = re.compile(r"\bstatic\b.*=\s*\*?new\b")
KEPT, WHY = re.compile(r"static [^=*]+& \w+ = \*new "), "never destroyed: "
# Benchmarks compare with bare calls of the system and of the parser library.
BARE = {"platform", "bench"}
# The merge of settings is measured where the node makes it, on roots with rights of their own.
MEASURED_INSIDE = "Authorization.h"
# They share a few headers with the tests.
TEST_SUPPORT = {path.name for path in (ROOT / "tests/support").glob("*.h")}
# Headers of the operating system end in .h and are no header of ours.
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)


def owner(path):
    """The folder that a file belongs to; a public header of the cluster side is not src's."""
    parts = path.relative_to(ROOT).parts
    return "LumConfCluster" if parts[:3] == ("src", "include", "LumConfCluster") else parts[0]


def may_show(header, library):
    return header.name.endswith(NETWORK_HEADER) and header.parent == NETWORK and library.startswith(NETWORK_LIBRARY)


def too_long(path):
    if path.suffix == ".def":  # a table has as many rows as it has
        return []
    lines = len(path.read_text(encoding="utf-8").splitlines())
    return [f"{path.relative_to(ROOT)} has {lines} lines; {MOST_LINES} are the most"] if lines > MOST_LINES else []


def oddly_kept(path):
    """What a static leads to is made by new in one way, with the reason behind it or on the line above."""
    lines = path.read_text(encoding="utf-8").splitlines()
    for number, line in enumerate(lines, 1):
        if not MADE_ONCE.search(line):
            continue
        above = lines[number - 2].strip() if number > 1 else ""
        if not KEPT.match(line.strip()) or not ("// " + WHY in line or above.startswith("// " + WHY)):
            yield f"{path.relative_to(ROOT)}:{number} is spelled 'static T& name = *new T;  // {WHY}why'"


def untold(source, by_name):
    """A source without a header of its name, platforms aside, that does not begin with a line on what it holds."""
    name = re.sub(r"_(posix|win32)$", "", source.stem)
    headers = [header for end in ("", "_posix", "_win32", "_beast") for header in by_name.get(f"{name}{end}.h", [])]
    own = [header for header in headers if owner(header) == owner(source) or "include" in header.parts]
    if source.suffix != ".cpp" or own or source.read_text(encoding="utf-8").startswith("//"):
        return []
    return [f"{source.relative_to(ROOT)} has no header of its name: its first line tells what it holds, as a comment"]


def main():
    files = [path for folder in OURS for path in sorted(folder.rglob("*")) if path.suffix in (".h", ".cpp", ".def")]
    by_name = {}
    for path in files:
        by_name.setdefault(path.name, []).append(path)
    errors, edges = [], {}
    for path in files:
        errors += [*too_long(path), *untold(path, by_name), *oddly_kept(path)]
        for kind, name in INCLUDE.findall(path.read_text(encoding="utf-8")):
            where = f"{path.relative_to(ROOT)} includes {name}"
            if kind == '"':
                targets = by_name.get(pathlib.PurePath(name).name, [])
                told = pathlib.PurePath(name).parts  # a name with folders tells which of several is meant
                same = [t for t in targets if len(told) > 1 and t.parts[-len(told):] == told]
                same = same or [t for t in targets if t.parent == path.parent] or targets
                if not same and owner(path) == "bench" and name in TEST_SUPPORT:
                    continue
                if not same:
                    errors.append(f"{where}: no such file of ours")
                    continue
                target = same[0]
                if owner(target) not in ALLOWED[owner(path)]:
                    errors.append(f"{where}: {owner(path)} may not use {owner(target)}")
                if target.name.endswith(NETWORK_HEADER) and path.parent != NETWORK:
                    errors.append(f"{where}: only the files beside it may")
                measured = owner(path) == "bench" and target.name == MEASURED_INSIDE
                private = "include" not in target.parts and owner(target) in ("src", "LumConfCluster") and not measured
                if owner(path) in ("tools", "bench") and private:
                    errors.append(f"{where}: tools and benchmarks use the public headers only")
                edges.setdefault(path, set()).add(target)
            elif STANDARD.match(name):
                continue
            elif TOOL_LIBRARIES.match(name):
                if owner(path) != "tools":
                    errors.append(f"{where}: only tools may")
            elif THIRD_PARTY.match(name) or name.endswith(".h"):
                if owner(path) not in BARE:
                    errors.append(f"{where}: third-party and system headers belong below platform/")
                elif THIRD_PARTY.match(name) and path.suffix == ".h" and not may_show(path, name):
                    errors.append(f"{where}: a third-party header may stand in a .cpp file only")
    state = {}

    def visit(path, trail):
        state[path] = 1
        for target in sorted(edges.get(path, ())):
            if state.get(target) == 1:
                loop = trail[trail.index(target):] + [target] if target in trail else [path, target]
                errors.append("loop: " + " -> ".join(str(p.relative_to(ROOT)) for p in loop))
            elif target not in state:
                visit(target, trail + [target])
        state[path] = 2

    for path in files:
        if path not in state:
            visit(path, [path])
    tests = [path for path in sorted((ROOT / "tests").rglob("*")) if path.suffix in (".h", ".cpp", ".py")]
    errors += [error for path in tests for error in too_long(path)]
    for error in errors:
        print(error)
    return 1 if errors or not files or not tests else 0


if __name__ == "__main__":
    sys.exit(main())
