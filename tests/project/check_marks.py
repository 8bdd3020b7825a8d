#!/usr/bin/python3
"""What the marks for clang's thread-safety analysis promise of the product holds.

Compiled are the files that name a mutex or a mark, or include, over however many headers, one that does: no other can touch
what is guarded. The compiler's cache remembers those that have not changed; nothing is linked.
"""
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
FOLDERS = ["platform", "src", "LumConfPar", "LumConfCluster", "node", "tools"]
INCLUDES = ["platform/include", "platform/pal", "platform/vox", "platform/sec", "platform/ctrl", "platform/depl", "src/include",
            "src", "LumConfPar", "LumConfCluster", "node", "tools"]
COMPILER = ["ccache", "clang++", "-std=c++20", "-O0", "-Wthread-safety", "-Werror", '-DLUM_VERSION="0"', "-DLUMPAL_BUILD", "-DLUMCONF_BUILD",
            *(f"-I{ROOT / folder}" for folder in INCLUDES)]
# Here they are defined; who includes these has none yet.
DEFINING = {"LumPalThread.h", "LumPalPlainMutex.h"}
MARK = re.compile(r"\b(LUMPAL_(GUARDED_BY|REQUIRES|EXCLUDES|ACQUIRE|RELEASE|ASSERT_HELD)|(Plain|Mutex)Lock_t|(Plain)?Mutex_t)\b")
# What the analysis does not see through.
BARE = re.compile(r"\bstd::(recursive_|shared_|timed_)?(mutex|lock_guard|unique_lock|scoped_lock)\b")
# They make the marked ones of them, and may name them.
MAKERS = {"LumPalPlainMutex.h", "Mutex.cpp", "CondVar.cpp"}
# A mutex that is a member guards others, or tells why none has its mark, beside it or above.
MEMBER = re.compile(r"^\s+(?:mutable )?(?:LumPalThread::)?(?:Plain)?Mutex_t (\w+);(.*)$")
UNMARKED = re.compile(r"// unmarked: \w+")
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)


def product():
    """All sources of the product as {path: text}."""
    paths = [path for folder in FOLDERS for path in sorted((ROOT / folder).rglob("*")) if path.suffix in (".h", ".cpp")]
    return {path: path.read_text(encoding="utf-8") for path in paths}


def files_with_marks(texts):
    marked = {path for path, text in texts.items() if MARK.search(text)} - {p for p in texts if p.name in DEFINING}
    headers = {path.name for path in marked if path.suffix == ".h"}
    included = {path: {pathlib.PurePath(name).name for name in INCLUDE.findall(text)} for path, text in texts.items()}
    while more := {path.name for path in texts if path.suffix == ".h" and included[path] & headers} - headers:
        headers |= more
    return [path for path in texts if path.suffix == ".cpp" and not path.name.endswith("_win32.cpp") and
            (path in marked or included[path] & headers)]


def bare_mutexes(texts):
    return [f"{path.relative_to(ROOT)} uses {BARE.search(text).group()}: PlainMutex_t has the marks"
            for path, text in texts.items() if path.name not in MAKERS and BARE.search(text)]


def is_excused(lines, number):
    """Whether the line tells why, or the comment right above it."""
    above = number - 1
    while above >= 0 and lines[above].strip().startswith("//"):
        above -= 1
    return any(UNMARKED.search(line) for line in lines[above + 1:number + 1])


def idle_mutexes(texts):
    """Mutexes that no member of their class is guarded by."""
    for path, text in texts.items():
        lines = text.splitlines()
        for number, line in enumerate(lines):
            member = MEMBER.match(line)
            if not member or path.name in DEFINING | MAKERS or is_excused(lines, number):
                continue
            if not re.search(rf"GUARDED_BY\((?:\w+(?:\.|->))*{member.group(1)}\)", text):
                yield (f"{path.relative_to(ROOT)}:{number + 1} guards no member: mark what it guards, or write "
                       "'// unmarked: why'")


def compile_all(paths):
    with tempfile.TemporaryDirectory(prefix="lummarks.") as folder:
        def compile_one(path):
            done = subprocess.run([*COMPILER, "-c", str(path), "-o", f"{folder}/{path.parent.name}.{path.stem}.o"],
                                  capture_output=True, text=True)
            return done.stderr if done.returncode else None
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            return [failure for failure in pool.map(compile_one, paths) if failure]


def main():
    texts = product()
    paths = files_with_marks(texts)
    errors = [*bare_mutexes(texts), *idle_mutexes(texts), *compile_all(paths)]
    for error in errors:
        print(error)
    return 1 if errors or not paths else 0


if __name__ == "__main__":
    sys.exit(main())
