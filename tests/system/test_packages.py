#!/usr/bin/python3
"""The Debian packages, made of the tree that is tested, on a machine that has nothing but what they depend on."""
import contextlib
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

from machines import BareSystem, Machine, ManagedMachine
from node import BUILD, PATIENCE_S, ROOT, wait_until

LONG = bool(os.environ.get("LUM_LONG"))
PACKAGES = ("liblumconf1", "lumconf", "liblumconf-dev")
EXAMPLE = "/usr/share/doc/lumconf/examples/policies/7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11_header.xml"
# The service manager's own folder for what is started, and the file of somebody who changed the unit.
ENABLED, DROP_IN = "/etc/systemd/system/multi-user.target.wants", "/etc/systemd/system/lumconfd.service.d"
AS_LUM = ("runuser", "-u", "lum", "--")
# What stays of a package that is purged: the user, what the package manager writes down, and caches.
STAYS = re.compile(r"/etc/(passwd|group|shadow|gshadow)-?$|/etc/ld\.so\.cache|/var/(lib/dpkg|log|cache|lib/systemd)(/|$)|"
                   r"/(tmp|run|proc|dev|root)(/|$)|/etc/\.pwd\.lock")


def make(folder, *options):
    """Makes the packages; returns {name: path}. Those of a release alone are made small: that is what takes the time."""
    environment = os.environ if LONG else dict(os.environ, DPKG_DEB_COMPRESSOR_TYPE="none")
    folder.mkdir()
    done = subprocess.run([ROOT / "scripts/package", *options, BUILD, folder], stdin=subprocess.DEVNULL, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=300,
                          env=environment)
    if done.returncode != 0:
        raise AssertionError(done.stdout)
    return {path.name.split("_")[0]: path for path in folder.glob("*.deb")}


def field(package, name):
    return subprocess.run(["dpkg-deb", "--field", package, name], check=True, capture_output=True, text=True).stdout


def needed(packages):
    """What they depend on besides themselves: the first of each alternatives, which is on every usual system."""
    lines = [field(packages[name], "Depends") for name in PACKAGES]
    return {word for line in lines for word in re.findall(r"(?:^|, )([a-z0-9.+-]+)", line)} - set(PACKAGES)


def processes_in(namespace):
    found = []
    for process in pathlib.Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            found += [process.name] if os.readlink(process / "ns/pid") == namespace else []
    return found


class Packaged(unittest.TestCase):
    """Machines on which nothing is but what the packages depend on."""
    kind = Machine

    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="lumpackages."))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.packages = make(cls.folder / "first")
        cls.system = BareSystem(*needed(cls.packages))
        cls.addClassCleanup(cls.system.close)

    def setUp(self):
        self.machine = self.kind(self.system)
        self.addCleanup(self.machine.close)

    def install(self, packages=None):
        # Not below /tmp: a service manager hides that.
        self.machine.run("dpkg", "--install", *self.machine.put(*(packages or self.packages).values(), folder="/root"))
        self.assertEqual(self.machine.run("dpkg", "--audit"), "")


class Installed(Packaged):
    def start(self):
        """As the service manager does, which a machine in a namespace has not."""
        self.machine.run("rm", "-f", "/run/said")
        self.machine.run("start-stop-daemon", "--start", "--background", "--chuid", "lum:lum", "--output", "/run/said",
                         "--exec", "/usr/bin/lumconfd")
        said = self.machine.path("/run/said")
        wait_until(lambda: said.exists() and "serving the node in /var/opt/lum/ on port 7443" in said.read_text(),
                   "the daemon serves")

    def stop(self):
        self.machine.run("start-stop-daemon", "--stop", "--exec", "/usr/bin/lumconfd", "--retry", PATIENCE_S)

    def names(self):
        """Every file and folder of the machine."""
        lines = self.machine.run("find", "/", "-xdev", "-not", "-path", "/tmp/*").splitlines()
        return {line for line in lines if not STAYS.match(line)}

    def test_installed_on_a_bare_machine_a_node_serves_its_policies(self):
        self.install()
        self.assertRegex(self.machine.run("getent", "passwd", "lum"), ":/var/opt/lum:/usr/sbin/nologin\n$")
        self.assertEqual(self.machine.run("stat", "--format=%a %U %G", "/var/opt/lum"), "750 lum lum\n")
        self.assertEqual(self.machine.run("systemctl", "is-enabled", "lumconfd"), "enabled\n")
        self.assertIn("the configuration is in order", self.machine.run(*AS_LUM, "lumconfd", "--check-config"))
        self.start()
        self.machine.run("lumpolicy", "install", "--no-notify", EXAMPLE)
        self.assertIn("nightly-backup", self.machine.run("lumpolicy", "list"))
        self.machine.run(*AS_LUM, "lumtrust", "grant", "operator", "list")
        self.stop()

    def test_removed_it_leaves_the_node_and_nothing_else(self):
        before = self.names()
        self.install()
        kept = self.machine.path("/var/opt/lum/etc/pal/config/local_settings.ini")
        self.machine.run(*AS_LUM, "lumsettings", "get", code=6)
        kept.parent.mkdir(parents=True)
        kept.write_text("[conf.server]\nAUDIT_LOGGING=true\n")
        self.machine.run("dpkg", "--remove", *PACKAGES)
        left = {name for name in self.names() - before if not name.startswith(("/var/opt", ENABLED))}
        self.assertEqual(left, set())
        self.assertEqual(kept.read_text(), "[conf.server]\nAUDIT_LOGGING=true\n")

    def test_the_libraries_have_their_sonames_and_no_paths_of_the_tree(self):
        self.install()
        for path in self.machine.run("find", "/usr/bin", "/usr/lib", "(", "-name", "lum*", "-o", "-name", "liblum*.so.1",
                                     ")", "(", "-type", "f", "-perm", "/1", "-o", "-name", "*.so.1", ")").split():
            with self.subTest(path=path):
                table = subprocess.run(["readelf", "--dynamic", self.machine.path(path)], check=True,
                                       capture_output=True, text=True).stdout
                self.assertNotRegex(table, "RUNPATH|RPATH")
                if ".so" in path:
                    self.assertIn(f"soname: [{pathlib.Path(path).name}]", table)
                else:
                    libraries = self.machine.run("ldd", path)
                    self.assertNotIn("not found", libraries)
                    self.assertRegex(libraries, "liblumplatform.so.1 => /(usr/)?lib/")

    def test_the_headers_lie_below_a_folder_of_their_own(self):
        files = subprocess.run(["dpkg-deb", "--contents", self.packages["liblumconf-dev"]], check=True,
                               capture_output=True, text=True).stdout
        headers = re.findall(r"\./(usr/include/\S+\.h)$", files, re.M)
        self.assertGreater(len(headers), 30)
        self.assertEqual([name for name in headers if not name.startswith("usr/include/lumconf/")], [])

    def test_each_version_of_the_library_wants_the_daemon_of_its_own_version(self):
        version = field(self.packages["lumconf"], "Version").strip()
        for name in ("lumconf", "liblumconf-dev"):
            self.assertIn(f"liblumconf1 (= {version})", field(self.packages[name], "Depends"))

    def test_a_machine_leaves_no_process_and_no_mount(self):
        with self.kind(self.system, "another") as machine:
            machine.run("start-stop-daemon", "--start", "--background", "--exec", "/bin/sleep", "--", "1000")
            namespace = os.readlink(f"/proc/{machine.pid}/ns/pid")
            self.assertGreater(len(processes_in(namespace)), 1)
        wait_until(lambda: not processes_in(namespace), "its processes are gone")
        self.assertNotIn(str(self.system.folder), pathlib.Path("/proc/mounts").read_text())
        self.assertEqual(list((self.system.folder / "scratch").iterdir()), [])

    def test_what_is_not_built_is_no_package(self):
        done = subprocess.run([ROOT / "scripts/package", self.folder, self.folder / "none"], capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (1, f"package: no programs are built in '{self.folder}'\n"))
        self.assertFalse((self.folder / "none").exists())


class Releases(Installed):
    """What a release asks for besides: the package's own critic, an upgrade of a node in use, and the end."""

    def test_the_critic_of_packages_finds_nothing(self):
        done = subprocess.run(["lintian", "--allow-root", "--fail-on=error,warning", *self.packages.values()],
                              capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stdout), (0, ""))

    def test_an_upgrade_keeps_what_was_changed_and_a_purge_keeps_nothing(self):
        before = self.names()
        self.install()
        changed = {
            "/var/opt/lum/etc/pal/config/local_settings.ini": "[conf.server]\nAUDIT_LOGGING=true\n",
            "/etc/systemd/system/lumconfd.service.d/own.conf": "[Service]\nTimeoutStopSec=90\n",
            "/etc/lumevents/backup": "LUM_EVENTS=CHECK_POLICY:backup\nLUM_COMMAND=/usr/local/sbin/reload-backup\n",
        }
        for name, text in changed.items():
            self.machine.path(name).parent.mkdir(parents=True, exist_ok=True)
            self.machine.path(name).write_text(text)
        self.machine.run("chown", "--recursive", "lum:lum", "/var/opt/lum")
        self.start()
        self.machine.run("lumpolicy", "install", "--no-notify", EXAMPLE)
        self.stop()
        self.install(make(self.folder / "second", "--version", "1.0.1"))
        for name in PACKAGES:
            self.assertEqual(self.machine.run("dpkg-query", "--show", "--showformat=${Version}", name), "1.0.1")
        self.start()
        self.assertIn("nightly-backup", self.machine.run("lumpolicy", "list"))
        self.assertEqual(self.machine.run("lumsettings", "get", "conf.server", "AUDIT_LOGGING"), "true\n")
        self.stop()
        for name, text in changed.items():
            self.assertEqual(self.machine.path(name).read_text(), text)
        self.machine.run("dpkg", "--purge", *PACKAGES)
        left = self.names() - before
        self.assertEqual({name for name in left if not name.startswith(DROP_IN)}, {ENABLED} & left)
        self.assertIn("lum:", self.machine.run("getent", "passwd", "lum"))


class Services(Packaged):
    """What the service manager makes of the units."""
    kind = ManagedMachine

    def journal(self, unit, *options):
        return self.machine.run("journalctl", "--no-pager", "--output=cat", f"--unit={unit}", *options)

    def follow(self, name, events, command):
        """Starts a unit for events, now and with each start, and waits until it listens."""
        path = self.machine.path(f"/etc/lumevents/{name}")
        path.write_text(f'LUM_EVENTS="{events}"\nLUM_COMMAND="{command}"\n')
        self.machine.run("systemctl", "enable", "--now", f"lumevents@{name}")
        self.await_listener()

    def await_listener(self):
        """An install with nobody to tell ends with 7."""
        def is_told():
            try:
                self.machine.run("lumpolicy", "install", EXAMPLE)
                return True
            except AssertionError:
                return False
        wait_until(is_told, "somebody is told of an install")

    def test_the_daemon_is_started_reloads_and_comes_back_after_a_kill(self):
        self.install()
        self.assertEqual(self.machine.run("systemctl", "is-active", "lumconfd"), "active\n")
        self.machine.run("lumpolicy", "install", "--no-notify", EXAMPLE)
        self.machine.run("systemctl", "reload", "lumconfd")
        first = self.machine.run("systemctl", "show", "--property=MainPID", "--value", "lumconfd")
        self.machine.run("systemctl", "kill", "--signal=KILL", "lumconfd")
        wait_until(lambda: self.machine.run("systemctl", "show", "--property=MainPID", "--value", "lumconfd") not in
                   (first, "0\n"), "it is started again")
        self.machine.run("systemctl", "start", "lumconfd")
        self.assertIn("nightly-backup", self.machine.run("lumpolicy", "list"))

    def test_the_journal_has_priorities_and_one_time_for_each_line(self):
        self.install()
        broken = self.machine.path("/var/opt/lum/policies/type/a_header.xml")
        broken.parent.mkdir()
        broken.write_text("<header")
        self.machine.run("chown", "--recursive", "lum:lum", "/var/opt/lum")
        self.machine.run("systemctl", "restart", "lumconfd")
        self.assertRegex(self.journal("lumconfd", "--priority=warning"), "a_header.xml")
        self.assertNotIn("serving the node", self.journal("lumconfd", "--priority=warning"))
        self.assertRegex(self.journal("lumconfd"), r"(?m)^lumconfd: serving the node")
        self.assertNotRegex(self.journal("lumconfd"), r"(?m)^(<|\d{4}-)")

    def test_a_command_follows_events_and_comes_back_with_the_daemon(self):
        self.install()
        self.follow("all", "CHECK_POLICY:* REMOVE_POLICY:*", "/usr/bin/printenv LUM_EVENT")
        self.assertIn("\nCHECK_POLICY:backup\n", self.journal("lumevents@all"))
        self.machine.run("systemctl", "restart", "lumconfd")
        self.await_listener()
        self.machine.run("lumpolicy", "remove", "--name", "nightly-backup")
        self.assertIn("\nREMOVE_POLICY:backup\n", self.journal("lumevents@all"))
        self.machine.run("systemctl", "stop", "lumconfd")
        self.assertEqual(self.machine.run("systemctl", "is-active", "lumevents@all", code=3), "inactive\n")
        self.machine.run("systemctl", "start", "lumconfd")
        self.await_listener()
        self.assertEqual(self.machine.run("systemctl", "is-active", "lumevents@all"), "active\n")

    def test_a_unit_that_names_no_command_prints_its_events(self):
        self.install()
        self.machine.path("/etc/lumevents/plain").write_text("LUM_EVENTS=CHECK_POLICY:*\n")
        self.machine.run("systemctl", "enable", "--now", "lumevents@plain")
        self.await_listener()
        self.assertIn("CHECK_POLICY:backup ", self.journal("lumevents@plain"))

    def test_an_upgrade_starts_the_daemon_anew_and_a_removal_stops_it(self):
        self.install()
        first = self.machine.run("systemctl", "show", "--property=MainPID", "--value", "lumconfd")
        self.install(make(self.folder / "second", "--version", "1.0.1"))
        second = self.machine.run("systemctl", "show", "--property=MainPID", "--value", "lumconfd")
        self.assertEqual(self.machine.run("systemctl", "is-active", "lumconfd"), "active\n")
        self.assertNotEqual(first, second)
        self.machine.run("dpkg", "--remove", "lumconf")
        self.machine.run("systemctl", "is-active", "lumconfd", code=3)
        self.assertEqual(self.machine.run("sh", "-c", "pidof lumconfd || true"), "")


def load_tests(loader, _tests, _pattern):
    """A release's tests are those of every day and more."""
    kinds = (Releases, Services) if LONG else (Installed,)
    return unittest.TestSuite(loader.loadTestsFromTestCase(kind) for kind in kinds)


if __name__ == "__main__":
    unittest.main()
