#!/usr/bin/python3
"""The files that are built on Windows alone compile; nothing is linked."""
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
COMPILER = "x86_64-w64-mingw32-g++-posix"
OPTIONS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Werror", "-DLUMPAL_BUILD", "-DLUMCONF_BUILD"]
# Where the sources of each folder find their headers.
FOLDERS = {
    "platform": ["platform/include", "platform/pal"],
    "src": ["platform/include", "src/include", "src"],
    "LumConfCluster": ["platform/include", "src/include", "src", "LumConfCluster"],
}


def compile_one(path):
    folders = FOLDERS[path.relative_to(ROOT).parts[0]]
    includes = [f"-I{ROOT / folder}" for folder in folders]
    return subprocess.run([COMPILER, *OPTIONS, *includes, str(path)], capture_output=True, text=True)


def main():
    files = sorted(path for folder in FOLDERS for path in (ROOT / folder).rglob("*_win32.cpp"))
    failed = [done for done in map(compile_one, files) if done.returncode != 0]
    for done in failed:
        print(done.stderr)
    return 1 if failed or len(files) < 3 else 0


if __name__ == "__main__":
    sys.exit(main())
