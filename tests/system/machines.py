"""Machines of their own for what installs things: bare systems with a few packages, each in namespaces of its own.

BareSystem lays down the essential packages and those that are wanted, with all that they depend on, as they are installed
here: nothing is fetched. Machine runs one, or many of them: what is written there lies in memory and goes with it.
"""
import collections
import itertools
import os
import pathlib
import re
import shutil
import subprocess
import tempfile

from node import wait_until

DPKG = pathlib.Path("/var/lib/dpkg")
# What no program needs to run.
LEFT_OUT = re.compile(r"/usr/share/(doc|man|info|locale|i18n|lintian|zoneinfo)/.")
MERGED = ("bin", "sbin", "lib", "lib32", "lib64", "libx32")


def installed():
    """{name: {field: value}} of the packages of this system; of one for several architectures the native one."""
    found = {}
    for stanza in (DPKG / "status").read_text(encoding="utf-8").split("\n\n"):
        fields = dict(re.findall(r"^([A-Za-z-]+): *((?:.*\n?(?: .*\n?)*))", stanza, re.M))
        fields = {name: value.strip() for name, value in fields.items()}
        if fields.get("Status", "").endswith(" installed"):
            found.setdefault(fields["Package"], dict(fields, Stanza=stanza.strip()))
    return found


class Closure:
    """The packages that some packages need."""

    def __init__(self, packages):
        self.packages = packages
        self.providers = collections.defaultdict(list)
        for name, fields in packages.items():
            for provided in re.findall(r"([a-z0-9][a-z0-9+.-]+)(?: \([^)]*\))?(?:, |$)", fields.get("Provides", "")):
                self.providers[provided].append(name)

    def of(self, names):
        wanted, more = set(), list(names)
        while more:
            name = more.pop()
            if name in wanted:
                continue
            wanted.add(name)
            fields = self.packages[name]
            more += self.needed(", ".join(fields.get(kind, "") for kind in ("Pre-Depends", "Depends")))
        return wanted

    def needed(self, line):
        """What stands in a line of dependencies: of the alternatives the first that is there."""
        for alternatives in filter(None, (part.strip() for part in line.split(","))):
            names = [re.match(r"[a-z0-9+.-]+", word.strip()).group() for word in alternatives.split("|")]
            here = [name for name in names if name in self.packages] or \
                [provider for name in names for provider in self.providers[name]]
            if not here:
                raise AssertionError(f"nothing here is {alternatives}: run scripts/packages test")
            yield here[0]


class BareSystem:
    """A folder with a system in which the essential packages and these are installed, as dpkg sees it too."""

    def __init__(self, *names):
        if os.geteuid() != 0:
            raise AssertionError("only root can make a machine: run these tests as root")
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="lumsystem."))
        self.root = self.folder / "root"
        self.root.mkdir()
        try:
            self.packages = installed()
            essential = [name for name, fields in self.packages.items() if fields.get("Essential") == "yes"]
            self.names = sorted(Closure(self.packages).of([*essential, *names]))
            self.lay_down()
        except BaseException:
            self.close()
            raise

    def close(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def stem(self, name):
        """How the files of dpkg about a package begin."""
        for stem in (f"{name}:{self.packages[name]['Architecture']}", name):
            if (DPKG / f"info/{stem}.list").exists():
                return stem
        raise AssertionError(f"dpkg has no list of the files of {name}")

    def lay_down(self):
        for name in MERGED:
            if os.path.islink(f"/{name}"):
                (self.root / "usr" / name).mkdir(parents=True, exist_ok=True)
                (self.root / name).symlink_to(f"usr/{name}")
        self.copy(path for name in self.names
                  for path in (DPKG / f"info/{self.stem(name)}.list").read_text(encoding="utf-8").splitlines())
        self.copy(["/etc/alternatives", *map(str, pathlib.Path("/etc/alternatives").iterdir()),
                   *(str(path) for path in pathlib.Path("/usr/bin").iterdir()
                     if path.is_symlink() and os.readlink(path).startswith("/etc/alternatives/"))])
        self.tell_dpkg()
        self.make_users()
        for name in ("proc", "sys", "dev", "run", "tmp", "root", "var/tmp", "var/log", "var/opt"):
            (self.root / name).mkdir(parents=True, exist_ok=True)
        (self.root / "tmp").chmod(0o1777)
        # So that dpkg knows whom to tell of what is installed later.
        for command in (["ldconfig"], ["dpkg", "--configure", "--pending"]):
            subprocess.run(["chroot", self.root, *command], check=True, capture_output=True, cwd="/",
                           env={"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "DEBIAN_FRONTEND": "noninteractive"})

    def copy(self, paths):
        """By their names alone: what a folder holds besides is none of the packages'."""
        there = sorted({path for path in paths if path not in ("/.", "") and not LEFT_OUT.match(path) and
                        not (path.strip("/") in MERGED and os.path.islink(path)) and os.path.lexists(path)})
        packed = subprocess.Popen(["tar", "--directory=/", "--create", "--no-recursion", "--null", "--files-from=-"],
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        unpacked = subprocess.Popen(["tar", f"--directory={self.root}", "--extract", "--keep-directory-symlink",
                                     "--same-permissions"], stdin=packed.stdout)
        packed.stdout.close()
        packed.stdin.write(b"\0".join(path[1:].encode() for path in there))
        packed.stdin.close()
        if packed.wait() or unpacked.wait():
            raise AssertionError("the packages' files could not be copied")

    def tell_dpkg(self):
        target = self.root / "var/lib/dpkg"
        (target / "info").mkdir(parents=True, exist_ok=True)
        for name in ("updates", "triggers", "parts"):
            (target / name).mkdir(exist_ok=True)
        (target / "status").write_text("".join(self.packages[name]["Stanza"] + "\n\n" for name in self.names),
                                       encoding="utf-8")
        for name in self.names:
            for path in (DPKG / "info").glob(f"{self.stem(name)}.*"):
                shutil.copy(path, target / "info")
        shutil.copytree(DPKG / "alternatives", target / "alternatives", dirs_exist_ok=True)
        for name in ("diversions", "info/format"):
            if (DPKG / name).exists():
                shutil.copy(DPKG / name, target / name)

    def make_users(self):
        for name in ("passwd", "group"):
            shutil.copy(self.root / f"usr/share/base-passwd/{name}.master", self.root / "etc" / name)
        shutil.copy(self.root / "usr/share/libc-bin/nsswitch.conf", self.root / "etc")
        shutil.copytree("/etc/pam.d", self.root / "etc/pam.d", dirs_exist_ok=True)
        (self.root / "etc/shadow").touch(0o640)
        (self.root / "etc/gshadow").touch(0o640)


# Runs a command in namespaces whose mounts reach no others. Where the root is a folder (chroot) nothing is mounted there:
# it is mounted over itself and entered from above.
ALONE = ("--mount", "--propagation", "unchanged", "sh", "-c", 'mount --make-rprivate / 2>/dev/null && exec "$@"\n'
         "mount --rbind / / && exec chroot /.. sh -c 'mount --make-rprivate / && exec \"$@\"' sh \"$@\"", "sh")


class Machine:
    """One that runs such a system: its processes, mounts, network and name are its own. What it writes lies in memory."""

    def __init__(self, system, name="machine"):
        self.name = name
        script = ('set -e\nmount -t tmpfs tmpfs "$1"\nmkdir "$1/upper" "$1/work" "$1/root"\n'
                  'mount -t overlay overlay -o "lowerdir=$2,upperdir=$1/upper,workdir=$1/work" "$1/root"\n'
                  'cd "$1/root"\nmount -t proc proc proc\nmount --rbind /dev dev\nmount -t tmpfs -o mode=755 tmpfs run\n'
                  'mount -t tmpfs tmpfs tmp\nchmod 1777 tmp\nhostname "$3"\necho "127.0.0.1 localhost $3" >etc/hosts\n'
                  'ip link set lo up\nexec chroot . sh -c "echo ready; exec cat"')
        scratch = system.folder / "scratch"
        scratch.mkdir(exist_ok=True)  # each machine mounts there what the others do not see
        self.holder = subprocess.Popen(
            ["unshare", "--pid", "--fork", "--net", "--uts", "--ipc", "--kill-child", *ALONE, "sh", "-c", script, "sh",
             scratch, system.root, name], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        if self.holder.stdout.readline() != "ready\n":
            self.close()
            raise AssertionError("the machine does not start")
        self.pid = int(pathlib.Path(f"/proc/{self.holder.pid}/task/{self.holder.pid}/children").read_text())

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        self.close()

    def enter(self):
        return ["nsenter", f"--target={self.pid}", "--mount", "--pid", "--net", "--uts", "--ipc", "--root", "--",
                "env", "--chdir=/", "-i", "PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", "HOME=/root",
                "LANG=C.UTF-8", "DEBIAN_FRONTEND=noninteractive"]

    def path(self, name):
        """Where a file of the machine is seen from here."""
        return pathlib.Path(f"/proc/{self.pid}/root") / str(name).lstrip("/")

    def put(self, *files, folder="/tmp"):
        for file in files:
            shutil.copy(file, self.path(folder))
        return [f"{folder}/{pathlib.Path(file).name}" for file in files]

    def run(self, *command, code=0, timeout=120):
        """Runs it there as root; returns what it printed, errors included. code: what it must end with."""
        done = subprocess.run([*self.enter(), *map(str, command)], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, timeout=timeout)
        if done.returncode != code:
            raise AssertionError(f"{self.name}: {command} ended with {done.returncode}:\n{done.stdout}")
        return done.stdout

    def close(self):
        """The first process goes, and all others with it."""
        self.holder.kill()
        self.holder.wait()
        self.holder.stdin.close()
        self.holder.stdout.close()


class ManagedMachine(Machine):
    """One whose first process is systemd. Its control groups lie below a group of its own, which goes with it."""
    numbers = itertools.count()
    BEFORE = ('set -e\nmount -t cgroup2 none "$1/groups"\nmkdir "$1/groups/$4"\necho $$ >"$1/groups/$4/cgroup.procs"\n'
              'umount "$1/groups"\nexec unshare --cgroup --mount --pid --fork --net --uts --ipc --kill-child sh -c "$5" sh "$@"')
    FIRST = ('set -e\nmount -t tmpfs tmpfs "$1"\nmkdir "$1/upper" "$1/work" "$1/root"\n'
             'mount -t overlay overlay -o "lowerdir=$2,upperdir=$1/upper,workdir=$1/work" "$1/root"\n'
             'cd "$1/root"\nmount -t proc proc proc\nmount -t tmpfs -o mode=755 tmpfs sys\nmkdir -p sys/fs/cgroup\n'
             'mount -t cgroup2 cgroup2 sys/fs/cgroup\nmount -t tmpfs -o mode=755 tmpfs dev\n'
             'for name in null zero full random urandom tty; do cp -a "/dev/$name" dev; done\nmkdir dev/pts dev/shm\n'
             'mount -t devpts -o newinstance,ptmxmode=0666 devpts dev/pts\nln -s pts/ptmx dev/ptmx\n'
             'ln -s /proc/self/fd dev/fd\nmount -t tmpfs -o mode=755 tmpfs run\nmount -t tmpfs tmpfs tmp\nchmod 1777 tmp\n'
             'hostname "$3"\n: >etc/machine-id\nip link set lo up\n'
             'exec chroot . env -i container=lum PATH=/usr/sbin:/usr/bin:/sbin:/bin /lib/systemd/systemd '
             '--show-status=no --log-target=console multi-user.target')

    def __init__(self, system, name="managed"):
        self.name = name
        self.group = f"lum-{os.getpid()}-{next(self.numbers)}"
        self.scratch = system.folder / "scratch"
        (self.scratch / "groups").mkdir(parents=True, exist_ok=True)
        self.holder = subprocess.Popen(["unshare", *ALONE, "sh", "-c", self.BEFORE, "sh", self.scratch, system.root, name,
                                        self.group, self.FIRST], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=subprocess.STDOUT, text=True)
        children = pathlib.Path(f"/proc/{self.holder.pid}/task/{self.holder.pid}/children")
        try:
            wait_until(lambda: self.holder.poll() is not None or self.is_managed(children), f"{name} is managed")
        except BaseException:
            self.close()
            raise
        if self.holder.poll() is not None:
            raise AssertionError(f"the machine does not start: {self.holder.stdout.read()}")
        self.run("systemctl", "is-system-running", "--wait")

    def is_managed(self, children):
        """Whether systemd has begun there, and answers."""
        for child in children.read_text().split():
            self.pid = int(child)
            try:
                return pathlib.Path(f"/proc/{child}/comm").read_text() == "systemd\n" and \
                    self.path("/run/systemd/private").exists()
            except (FileNotFoundError, ProcessLookupError):
                return False  # one of the programs on the way there
        return False

    def close(self):
        super().close()
        remove = ('mount -t cgroup2 none "$1" && if [ -d "$1/$2" ]; then '
                  'find "$1/$2" -depth -type d -exec rmdir {} +; fi')
        # Its processes are killed by now, and leave their groups in a moment.
        wait_until(lambda: subprocess.run(["unshare", *ALONE, "sh", "-c", remove, "sh", self.scratch / "groups",
                                           self.group], capture_output=True).returncode == 0, "its groups are gone")
