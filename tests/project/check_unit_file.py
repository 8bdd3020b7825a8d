#!/usr/bin/python3
"""The unit files start the daemon as it wants to be started, confined to its root, and commands for its events."""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
# What must stand there, word for word.
WANTED = {
    "lumconfd.service": {
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
    },
    "lumevents@.service": {
        "Unit": {"Description": None, "After": "lumconfd.service", "PartOf": "lumconfd.service",
                 "StartLimitIntervalSec": "0"},
        "Service": {
            "EnvironmentFile": "/etc/lumevents/%i", "User": "lum", "Group": "lum",
            "ExecStart": "/usr/bin/lumevents --quiet --name %i --exec-unless-empty ${LUM_COMMAND} $LUM_EVENTS",
            "Environment": "LUM_ROOT=/var/opt/lum", "Restart": "always", "RestartPreventExitStatus": "2",
            "NoNewPrivileges": "yes",
        },
        "Install": {"WantedBy": "multi-user.target lumconfd.service"},
    },
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


def check_fields(sections, wanted):
    for section, settings in wanted.items():
        for key, value in settings.items():
            found = sections.get(section, {}).get(key)
            if found is None or (value is not None and found != [value]):
                yield f"[{section}] {key} must be {value!r}, is {found}"


def verify(name, text):
    """What the service manager's own tool says, where it is installed. Of a template it is asked for one that runs."""
    if not shutil.which("systemd-analyze"):
        return []
    with tempfile.TemporaryDirectory(prefix="lumunit.") as folder:
        path = pathlib.Path(folder) / name.replace("@", "@one")
        path.write_text(re.sub("/usr/bin/lum[a-z]+", "/bin/true", text))
        outcome = subprocess.run(["systemd-analyze", "verify", "--man=no", str(path)], capture_output=True, text=True)
    lines = outcome.stdout.splitlines() + outcome.stderr.splitlines()
    return [line for line in lines if path.name in line]


def check_unit(name, wanted):
    text = (ROOT / "packaging" / name).read_text(encoding="utf-8")
    sections, errors = read(text)
    yield from errors
    yield from check_fields(sections, wanted)
    if name == "lumconfd.service":
        yield from check_stop_time(sections)
    yield from verify(name, text)


def main():
    errors = [f"packaging/{name}: {error}" for name, wanted in WANTED.items() for error in check_unit(name, wanted)]
    for error in errors:
        print(error)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
