#!/usr/bin/python3
"""Every C++ file has the project's format."""
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def main():
    files = [str(path) for folder in ("platform", "src", "LumConfPar", "LumConfCluster", "tools", "tests", "bench", "examples")
             for path in sorted((ROOT / folder).rglob("*")) if path.suffix in (".h", ".cpp")]
    outcome = subprocess.run(["clang-format", "--dry-run", "-Werror", *files], cwd=ROOT, capture_output=True, text=True)
    lines = [line for line in outcome.stderr.splitlines() if "error:" in line]
    for line in sorted({line.split(":")[0] for line in lines}):
        print(f"{line}: run 'clang-format -i' on it")
    return 1 if outcome.returncode else 0


if __name__ == "__main__":
    sys.exit(main())
