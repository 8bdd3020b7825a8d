#!/usr/bin/python3
"""The unit file starts the daemon as the daemon wants to be started, and confines it to its root."""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
UNIT = ROOT / "packaging/lumconfd.service"
# What must stand there, word for word.
WANTED = {
    "Unit": {"Description": None},
    "Service": {
        "Type": "notify", "NotifyAccess": "main", "ExecStart": "/usr/bin/lumconfd",
        "ExecReload": "/bin/kill -HUP $MAINPID", "User": "lum", "Group": "lum", "UMask": "0027",
        "Environment": "LUM_ROOT=/var/opt/lum", "Restart": "on-failure", "RestartPreventExitStatus": "2 3",
        "ProtectSystem": "strict", "ReadWritePaths": "/var/opt/lum", "ProtectHome": "yes", "PrivateTmp": "yes",
        "PrivateDevices": "yes", "NoNewPrivileges": "yes", "CapabilityBoundingSet": "",
        "RestrictNamespaces": "yes", "LimitCORE": "0", "SystemCallArchitectures": "native",
    },
    "Install": {"WantedBy": "multi-user.target"},
}


def read(text):
    """{section: {key: [values]}} and what is no line of a unit file."""
    sections, errors, section = {}, [], None
    for number, line in enumerate(text.splitlines(), 1):
        if not line or line.startswith(("#", ";")):
            continue
        if match := re.fullmatch(r"\[(\w+)\]", line):
            section = sections.setdefault(match.group(1), {})
        elif section is not None and (match := re.fullmatch(r"(\w+)=(.*)", line)):
            section.setdefault(match.group(1), []).append(match.group(2))
        else:
            errors.append(f"line {number} is neither a section nor a setting: {line}")
    return sections, errors


def check_stop_time(sections):
    """A daemon that keeps its promise is never killed: the manager's patience is several times as long."""
    page = (ROOT / "docs/tools.md").read_text(encoding="utf-8")
    promised = int(re.search(r"SIGTERM and SIGINT stop it within (\d+) seconds", page).group(1))
    patience = sections.get("Service", {}).get("TimeoutStopSec", ["0"])
    if len(patience) != 1 or not patience[0].isdigit() or int(patience[0]) < 3 * promised:
        yield f"[Service] TimeoutStopSec must be at least {3 * promised} (seconds), is {patience}"


def check_fields(sections):
    for section, settings in WANTED.items():
        for key, value in settings.items():
            found = sections.get(section, {}).get(key)
            if found is None or (value is not None and found != [value]):
                yield f"[{section}] {key} must be {value!r}, is {found}"


def verify(text):
    """What the service manager's own tool says, where it is installed."""
    if not shutil.which("systemd-analyze"):
        return []
    with tempfile.TemporaryDirectory(prefix="lumunit.") as folder:
        path = pathlib.Path(folder) / UNIT.name
        path.write_text(text.replace("/usr/bin/lumconfd", "/bin/true"))
        outcome = subprocess.run(["systemd-analyze", "verify", "--man=no", str(path)], capture_output=True, text=True)
    lines = outcome.stdout.splitlines() + outcome.stderr.splitlines()
    return [line for line in lines if UNIT.name in line]


def main():
    text = UNIT.read_text(encoding="utf-8")
    sections, errors = read(text)
    errors += check_fields(sections)
    errors += check_stop_time(sections)
    errors += verify(text)
    for error in errors:
        print(f"{UNIT.relative_to(ROOT)}: {error}")
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
