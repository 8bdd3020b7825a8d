"""The first process of a node of a real cluster: pacemaker_host.py NAME FOLDER PACKAGES, in namespaces that are new.

PACKAGES (what scripts/cluster-packages has unpacked) comes to lie over the system's own folders, what the cluster writes
goes to memory, and FOLDER/etc holds its configuration. It tells "mounted", waits for a line until the node has its
network, and starts the cluster's daemons. The node ends, with all of its processes, when the input does.
"""
import ctypes
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

MS_RDONLY, MS_NOSUID, MS_NODEV, MS_NOEXEC, MS_BIND, MS_PRIVATE = 1, 2, 4, 8, 4096, 1 << 18
MEMORY = pathlib.Path("/run/node")
# A node that panics starts its machine anew by these; here it would be everybody's.
PANIC_BUTTONS = ("/proc/sysrq-trigger", "/proc/sys/kernel/sysrq")
CLUSTER = "/var/lib/pacemaker", "/var/log/pacemaker", "/run/crm"
NOTING_CRM_NODE = """\
#!/bin/sh
read caller 2>/dev/null </proc/$PPID/comm
if [ "$caller" = lumconfd ]; then
    read since_boot _ </proc/uptime
    echo "$since_boot" >>'{looks}'
fi
exec /usr/libexec/true/crm_node "$@"
"""
libc = ctypes.CDLL(None, use_errno=True)


def mount(source, at, kind=None, flags=0, options=""):
    if libc.mount(source.encode(), str(at).encode(), kind and kind.encode(), flags, options.encode()) != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()), str(at))


def keep_mounts_to_ourselves():
    """Each for itself: where the root was changed, the system's own root is no mount."""
    for line in pathlib.Path("/proc/self/mountinfo").read_text().splitlines():
        at = line.split()[4].encode().decode("unicode_escape")
        libc.mount(None, at.encode(), None, MS_PRIVATE, None)


def lay_over(packages, top):
    layer = MEMORY / top.replace("/", "-")
    for part in ("upper", "work"):
        (layer / part).mkdir(parents=True, exist_ok=True)
    mount("overlay", f"/{top}", "overlay", 0,
          f"lowerdir={packages}/{top}:/{top},upperdir={layer}/upper,workdir={layer}/work")


def mount_all(packages, folder):
    keep_mounts_to_ourselves()
    mount("tmpfs", "/run", "tmpfs", MS_NOSUID | MS_NODEV, "mode=755")
    lay_over_programs(packages, folder / "looks")
    shutil.copytree(folder / "etc", MEMORY / "etc/upper")
    for top in ("etc", "var/lib", "var/log"):
        lay_over(packages, top)
    mount("tmpfs", "/dev/shm", "tmpfs", MS_NOSUID | MS_NODEV, "mode=1777")
    mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC)
    for button in filter(os.path.exists, PANIC_BUTTONS):
        mount("/dev/null", button, None, MS_BIND)


def lay_over_programs(packages, looks):
    """crm_node also notes when a daemon of ours asks for it, with which each look at the cluster begins."""
    sbin, true = MEMORY / "usr/sbin", MEMORY / "usr/libexec/true"
    for folder in (sbin, true):
        folder.mkdir(parents=True)
    unpacked = pathlib.Path(packages) / "usr/sbin/crm_node"
    shutil.copy(unpacked if unpacked.exists() else "/usr/sbin/crm_node", true)
    (sbin / "crm_node").write_text(NOTING_CRM_NODE.format(looks=looks))
    (sbin / "crm_node").chmod(0o755)
    mount("overlay", "/usr", "overlay", MS_RDONLY, f"lowerdir={MEMORY}/usr:{packages}/usr:/usr")


def name_users():
    """In a namespace of users that has only one, the cluster's are that one."""
    if pathlib.Path("/proc/self/uid_map").read_text().split()[2] == "1":
        for path, line in (("/etc/passwd", "hacluster:x:0:0::/:/bin/false"), ("/etc/group", "haclient:x:0:")):
            others = [other for other in pathlib.Path(path).read_text().splitlines() if not other.startswith("hac")]
            pathlib.Path(path).write_text("\n".join([*others, line]) + "\n")


def configure(name, folder):
    host = f"host-of-{name}".encode()  # which the cluster calls otherwise
    libc.sethostname(host, len(host))
    name_users()
    for path in ("/run/crm", "/run/lock", "/run/resource-agents", "/run/heartbeat/rsctmp", "/var/lib/corosync"):
        os.makedirs(path, exist_ok=True)
    shutil.copy(folder / "cib.xml", "/var/lib/pacemaker/cib/cib.xml")
    os.chmod("/var/lib/pacemaker/cib/cib.xml", 0o600)
    for top in CLUSTER:
        for path in (top, *(os.path.join(at, each) for at, folders, files in os.walk(top) for each in folders + files)):
            shutil.chown(path, "hacluster", "haclient")


def start_cluster(folder):
    environment = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "PCMK_logfacility": "none",
                   "PCMK_logfile": f"{folder}/pacemaker.log"}
    with open(folder / "daemons.log", "ab") as log:
        def start(*command):
            subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=log, stderr=log)

        start("corosync", "-f")
        # pacemakerd gives up where it cannot have the configuration.
        while subprocess.run(["corosync-cmapctl", "-g", "totem.cluster_name"], env=environment, stdout=log,
                             stderr=log, check=False).returncode != 0:
            time.sleep(0.02)
        start("pacemakerd", "-f")


def reap(*_):
    """Whoever has lost his parent is a child of this process."""
    try:
        while os.waitpid(-1, os.WNOHANG)[0]:
            pass
    except ChildProcessError:
        pass


def main(name, folder, packages):
    folder = pathlib.Path(folder)
    mount_all(packages, folder)
    configure(name, folder)
    print("mounted", flush=True)
    if sys.stdin.readline():
        start_cluster(folder)
        signal.signal(signal.SIGCHLD, reap)
        reap()
        print("started", flush=True)
        sys.stdin.read()


if __name__ == "__main__":
    main(*sys.argv[1:])
