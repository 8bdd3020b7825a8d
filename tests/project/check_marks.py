#!/usr/bin/python3
"""What the marks for clang's thread-safety analysis promise of the product holds.

Compiled are the files that name a mutex or a mark, or include a header that does: no other can touch what is guarded. What
they all include is read once, into a precompiled header; nothing is linked.
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
COMPILER = ["clang++", "-std=c++20", "-Wthread-safety", "-Werror", '-DLUM_VERSION="0"', "-DLUMPAL_BUILD", "-DLUMCONF_BUILD",
            *(f"-I{ROOT / folder}" for folder in INCLUDES)]
# Here they are defined; who includes these has none yet.
DEFINING = {"LumPalThread.h", "LumPalPlainMutex.h"}
MARK = re.compile(r"\b(LUMPAL_(GUARDED_BY|REQUIRES|EXCLUDES|ACQUIRE|RELEASE|ASSERT_HELD)|(Plain|Mutex)Lock_t|Mutex_t)\b")
# What the analysis does not see through.
BARE = re.compile(r"\bstd::(recursive_|shared_|timed_)?(mutex|lock_guard|unique_lock|scoped_lock)\b")
# They make the marked ones of them, and may name them.
MAKERS = {"LumPalPlainMutex.h", "Mutex.cpp", "CondVar.cpp"}
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)
OFTEN = ["<algorithm>", "<atomic>", "<chrono>", "<condition_variable>", "<deque>", "<functional>", "<map>", "<memory>", "<mutex>",
         "<optional>", "<set>", "<string>", "<thread>", "<unordered_map>", "<vector>", '"LumPalConfig.h"', '"LumPalLog.h"',
         '"LumPalPlainMutex.h"', '"LumPalRuntime.h"', '"LumVoxRpc.h"']


def product():
    """All sources of the product as {path: text}."""
    paths = [path for folder in FOLDERS for path in sorted((ROOT / folder).rglob("*")) if path.suffix in (".h", ".cpp")]
    return {path: path.read_text(encoding="utf-8") for path in paths}


def files_with_marks(texts):
    marked = {path for path, text in texts.items() if MARK.search(text)} - {p for p in texts if p.name in DEFINING}
    headers = {path.name for path in marked if path.suffix == ".h"}

    def touches(path):
        return path in marked or any(pathlib.PurePath(name).name in headers for name in INCLUDE.findall(texts[path]))
    return [path for path in texts if path.suffix == ".cpp" and not path.name.endswith("_win32.cpp") and touches(path)]


def bare_mutexes(texts):
    return [f"{path.relative_to(ROOT)} uses {BARE.search(text).group()}: PlainMutex_t has the marks"
            for path, text in texts.items() if path.name not in MAKERS and BARE.search(text)]


def compile_all(paths):
    with tempfile.TemporaryDirectory(prefix="lummarks.") as folder:
        often, ready = pathlib.Path(folder) / "often.h", pathlib.Path(folder) / "often.pch"
        often.write_text("".join(f"#include {name}\n" for name in OFTEN))
        made = subprocess.run([*COMPILER, "-x", "c++-header", str(often), "-o", str(ready)], capture_output=True, text=True)
        if made.returncode != 0:
            return [made.stderr]

        def compile_one(path):
            done = subprocess.run([*COMPILER, "-fsyntax-only", "-include-pch", str(ready), str(path)], capture_output=True,
                                  text=True)
            return done.stderr if done.returncode else None
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            return [failure for failure in pool.map(compile_one, paths) if failure]


def main():
    texts = product()
    paths = files_with_marks(texts)
    errors = bare_mutexes(texts) + compile_all(paths)
    for error in errors:
        print(error)
    return 1 if errors or not paths else 0


if __name__ == "__main__":
    sys.exit(main())
