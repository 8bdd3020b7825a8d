#!/usr/bin/python3
"""Runs every suite of the project and closes with 'N passed, N failed, N skipped'.

A suite is a unit test program, a trial of a whole node, a file of system tests, a fuzz target or one of the project's checks
of itself. Suites run two at a time, but for those that measure how long somebody waits; the output of one is shown only
when it fails.
"""
import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
SUITE_TIMEOUT_S = 600
SANITIZER_SLOWNESS = 4
# They hold one caller's time beside others against his time alone: a suite beside them would be one of the others.
ALONE = ("test_strangers",)
BUILD_TIMEOUT_S = 4 * 3600


class Result:
    def __init__(self, name, passed=0, failed=0, skipped=0, output=""):
        self.name, self.passed, self.failed, self.skipped, self.output = name, passed, failed, skipped, output


def run(command, env, timeout):
    """Runs a program in a process group of its own; returns (exit code, output)."""
    process = subprocess.Popen(command, cwd=ROOT, env=env, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, start_new_session=True)
    try:
        output, _ = process.communicate(timeout=timeout)
        return process.returncode, output.decode("utf-8", "replace")
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, 9)
        output, _ = process.communicate()
        return 124, output.decode("utf-8", "replace") + f"\nended after {timeout} seconds\n"


def is_sanitized(build):
    cache = build / "CMakeCache.txt"
    return cache.exists() and "-fsanitize" in cache.read_text()


class SanitizerReports:
    """What the sanitizers report of a suite, also of the daemons and tools that it starts and of what these start."""

    def __enter__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="lumreports.")
        os.chmod(self.folder.name, 0o1777)  # some tests start tools as another user
        return self

    def __exit__(self, *exception):
        self.folder.cleanup()

    def environment(self):
        path = f"log_path={self.folder.name}/report"
        # Tests that fork a process stand behind others that left a thread asleep, of which the new process has none.
        # A process would sleep for a second before it ends, which those that are ended by the hundred cannot afford.
        return {"TSAN_OPTIONS": f"{path} halt_on_error=0 exitcode=66 second_deadlock_stack=1 die_after_fork=0 "
                                "atexit_sleep_ms=20",
                "ASAN_OPTIONS": f"{path}:detect_leaks=1:detect_stack_use_after_return=1:strict_string_checks=1",
                "UBSAN_OPTIONS": f"{path}:print_stacktrace=1"}

    def add_to(self, result):
        for report in sorted(pathlib.Path(self.folder.name).iterdir()):
            result.failed += 1
            result.output += "\n" + report.read_text(encoding="utf-8", errors="replace")


def run_unit(program, env, timeout):
    with tempfile.NamedTemporaryFile(suffix=".json") as report:
        code, output = run([str(program), "--gtest_brief=1", f"--gtest_output=json:{report.name}"], env, timeout)
        try:
            summary = json.load(open(report.name))
        except ValueError:
            return Result(program.name, failed=1, output=f"{output}\nended with code {code} and without a report")
    failed = summary["failures"]
    skipped = sum(1 for suite in summary["testsuites"] for test in suite["testsuite"]
                  if test.get("result") == "SKIPPED")
    if code != 0 and failed == 0:
        failed, output = 1, output + f"\nended with code {code}"
    return Result(program.name, summary["tests"] - failed - skipped, failed, skipped, output)


def run_system(script, env, timeout):
    code, output = run(["/usr/bin/python3", "-B", str(script), "-v"], env, timeout)
    ran = re.search(r"^Ran (\d+) tests? in", output, re.M)
    if not ran:
        return Result(script.stem, failed=1, output=output)
    counts = {word: int(number) for word, number in re.findall(r"(failures|errors|skipped)=(\d+)", output)}
    failed = counts.get("failures", 0) + counts.get("errors", 0)
    if code != 0 and failed == 0:
        failed = 1
    skipped = counts.get("skipped", 0)
    return Result(script.stem, int(ran.group(1)) - failed - skipped, failed, skipped, output)


def run_single(name, command, env, timeout):
    code, output = run(command, env, timeout)
    return Result(name, passed=int(code == 0), failed=int(code != 0), output=output)


def corpus_of(program):
    return ROOT / "tests/fuzz/corpus" / program.name[len("fuzz_"):]


def run_guided(program, seconds, env, timeout):
    """Runs a fuzz target built with libFuzzer; an input that it fails on stays beside the program."""
    with tempfile.TemporaryDirectory(prefix="lumfuzz.") as found:
        command = [str(program), f"-max_total_time={seconds}", "-timeout=20", "-rss_limit_mb=2048", "-print_final_stats=1",
                   f"-artifact_prefix={program.parent}/{program.name}.", found, str(corpus_of(program))]
        return run_single(f"guided_{program.name}", command, env, timeout)


def programs(folder, *patterns):
    found = sorted(path for pattern in patterns for path in folder.glob(pattern))
    return [path for path in found if path.is_file() and os.access(path, os.X_OK)]


def project_suites(long):
    scripts = [script for pattern in ("check_*.py", *(["long_*.py"] if long else []))
               for script in sorted((ROOT / "tests/project").glob(pattern))]
    return [(script.stem, run_single, (script.stem, ["/usr/bin/python3", "-B", str(script)])) for script in scripts]


def build_suites(build, trial_seconds):
    """What runs with the programs of one build. The unit tests are many and short; the system tests use both cores by
    themselves."""
    for program in programs(build / "tests", "unit_*", "trial_*"):
        yield program.name, run_unit, (program,)
    for program in programs(build / "tests", "fuzz_*"):
        yield program.name, run_single, (program.name, [str(program), str(trial_seconds), str(corpus_of(program))])
    for script in sorted((ROOT / "tests/system").glob("test_*.py")):
        yield script.stem, run_system, (script,)


def guided_suites(build, trial_seconds):
    for program in programs(build / "tests", "fuzz_*"):
        yield f"guided_{program.name}", run_guided, (program, trial_seconds)


def show(label, result, seconds):
    counts = f"{result.passed} passed" + (f", {result.failed} FAILED" if result.failed else "") + \
        (f", {result.skipped} skipped" if result.skipped else "")
    print(f"{label + result.name:28} {counts} ({seconds:.1f} s)", flush=True)
    if result.failed:
        print("    " + result.output.rstrip().replace("\n", "\n    "), flush=True)


def run_suites(suites, build, options, label=""):
    """Runs them two at a time, and then those that are to have the machine to themselves; returns their results."""
    slow = int(os.environ.get("LUM_SLOWNESS", "1")) * (SANITIZER_SLOWNESS if is_sanitized(build) else 1)
    env = dict(os.environ, LUM_BUILD=str(build), LUM_TRIAL_SECONDS=str(options.trial_seconds),
               LUM_LONG="1" if options.long else "", LUM_SLOWNESS=str(slow), PYTHONDONTWRITEBYTECODE="1")
    env.pop("LUM_ROOT", None)
    timeout = slow * SUITE_TIMEOUT_S + 20 * options.trial_seconds

    def timed(function, arguments):
        begin = time.monotonic()
        with SanitizerReports() as reports:
            result = function(*arguments, dict(env, **reports.environment()), timeout)
            reports.add_to(result)
        return result, time.monotonic() - begin

    results = []
    wanted = [suite for suite in suites if options.only in suite[0]]
    for lanes, some in ((2, [suite for suite in wanted if suite[0] not in ALONE]),
                        (1, [suite for suite in wanted if suite[0] in ALONE])):
        with concurrent.futures.ThreadPoolExecutor(lanes) as pool:
            started = [pool.submit(timed, function, arguments) for _, function, arguments in some]
            for future in concurrent.futures.as_completed(started):
                result, seconds = future.result()
                results.append(result)
                show(label, result, seconds)
    return results


def run_build(preset, options):
    """Builds a preset and runs everything with it; a build that fails is one failure."""
    print(f"building ({preset}) ...", flush=True)
    code, output = run([str(ROOT / "scripts/build"), preset], dict(os.environ), BUILD_TIMEOUT_S)
    if code != 0:
        failed = Result(f"build_{preset}", failed=1, output=output)
        show("", failed, 0)
        return [failed]
    build = ROOT / "build" / preset
    return run_suites(build_suites(build, options.trial_seconds), build, options, f"{preset}: ")


def main():
    # Started in the background of a shell, it would let the tests, and what they start, ignore Ctrl-C.
    signal.signal(signal.SIGINT, signal.default_int_handler)
    parser = argparse.ArgumentParser()
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--trial-seconds", type=int, default=2)
    parser.add_argument("--long", action="store_true")
    parser.add_argument("--only", default="")
    parser.add_argument("--fuzz-build", type=pathlib.Path, help="where fuzz targets are that libFuzzer drives")
    parser.add_argument("--then", action="append", default=[], metavar="PRESET",
                        help="build this one afterwards, and run everything with it too")
    options = parser.parse_args()
    build = options.build.resolve()

    suites = [*project_suites(options.long), *build_suites(build, options.trial_seconds)]
    if options.fuzz_build:
        suites += guided_suites(options.fuzz_build.resolve(), options.trial_seconds)
    results = run_suites(suites, build, options)
    for preset in options.then:
        results += run_build(preset, options)

    passed, failed, skipped = (sum(getattr(result, field) for result in results)
                               for field in ("passed", "failed", "skipped"))
    print(f"{passed} passed, {failed} failed, {skipped} skipped")
    return 1 if failed or passed == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
