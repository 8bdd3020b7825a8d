#!/usr/bin/python3
"""The files that are built on Windows alone compile, and what asks Windows itself becomes a program that needs no
library of clusters: those are bound by name, and each has the functions of the names."""
import concurrent.futures
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
KIND = "x86_64-w64-mingw32-"
COMPILER = [KIND + "g++-posix", "-std=c++20", "-Wall", "-Wextra", "-Werror", "-DLUMPAL_BUILD", "-DLUMCONF_BUILD"]
# Where the sources of each folder find their headers.
FOLDERS = {
    "platform": ["platform/include", "platform/pal"],
    "src": ["platform/include", "src/include", "src"],
    "LumConfCluster": ["platform/include", "src/include", "src", "LumConfCluster"],
}
ASKING = ["Mscs_win32.cpp", "Registry.cpp", "Registry_win32.cpp", "RegKey_win32.cpp"]
LIBRARIES = ["-lkernel32", "-ladvapi32"]
# A system library, or of the compiler's own run-time.
NEEDED = re.compile(r"(KERNEL32|ADVAPI32|msvcrt|api-ms-win-crt-.*)\.dll", re.I)
PROGRAM = """\
#include "LumPalMscs.h"
#include "LumPalRegistry.h"

int main() {
    LumPalRegistry::Error_t error = 0;
    LumPalMscs::System_i& system = LumPalMscs::ThisSystem();
    const auto api = system.MakeApi({});
    return LumPalRegistry::LocalMachine().Open("SOFTWARE", error) && api && system.GetLastError() == 0 ? 0 : 1;
}
"""


def run(*command):
    """What it prints. Raises RuntimeError with what it complains of."""
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError(done.stderr)
    return done.stdout


def includes(folder):
    return [f"-I{ROOT / each}" for each in FOLDERS[folder]]


def compile_one(path):
    run(*COMPILER, "-fsyntax-only", *includes(path.relative_to(ROOT).parts[0]), path)


def compile_all():
    files = sorted(path for folder in FOLDERS for path in (ROOT / folder).rglob("*_win32.cpp"))
    if len(files) < 3:
        raise RuntimeError("the files for Windows are not found")
    with concurrent.futures.ThreadPoolExecutor() as pool:
        list(pool.map(compile_one, files))


def link():
    with tempfile.TemporaryDirectory() as folder:
        source, program = pathlib.Path(folder, "asks.cpp"), pathlib.Path(folder, "asks.exe")
        source.write_text(PROGRAM)
        run(*COMPILER, "-DWIN32_LEAN_AND_MEAN", *includes("platform"), source, *(ROOT / "platform/pal" / name for name in ASKING),
            "-static", "-o", program, *LIBRARIES)
        needed = re.findall(r"DLL Name: (\S+)", run(KIND + "objdump", "-p", program))
    for name in needed:
        if not NEEDED.fullmatch(name):
            raise RuntimeError(f"the program needs {name}")
    if not {"kernel32.dll", "advapi32.dll"} <= {name.lower() for name in needed}:
        raise RuntimeError(f"the program asks nobody: {needed}")


def functions_of(library):
    path = run(KIND + "g++-posix", f"-print-file-name=lib{library.lower()}.a").strip()
    return set(re.findall(r" T (\w+)", run(KIND + "nm", path)))


def bind():
    """Every name stands in the library that it is looked for in."""
    bound = re.findall(r"\bX\((\w+), (\w+)\)", (ROOT / "platform/include/LumPalMscs.h").read_text(encoding="utf-8"))
    known = {library: functions_of(library) for library in {library for _, library in bound}}
    missing = [name for name, library in bound if name not in known[library]]
    if missing or len(bound) < 20:
        raise RuntimeError(f"not in their libraries: {missing} of {len(bound)}")


def main():
    failed = False
    for step in (compile_all, link, bind):
        try:
            step()
        except RuntimeError as error:
            failed = True
            print(f"{step.__name__}: {error}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
