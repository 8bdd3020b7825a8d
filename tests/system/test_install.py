#!/usr/bin/python3
"""What is installed stands on its own: a program outside the tree is built against it, and its tools run."""
import concurrent.futures
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import tempfile
import unittest

from node import BUILD, EXAMPLES, ROOT, Node, free_port

EXAMPLE = EXAMPLES / "7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11_header.xml"


# Programs that say their version otherwise than by --version: the option, and what they end with.
OWN_VERSION = {"lumclusterinfo": ("-version", 3), "lumappinstance": ("-version", 3)}


def cache():
    """What the tree was configured with."""
    lines = (BUILD / "CMakeCache.txt").read_text().splitlines()
    return dict(re.match(r"([A-Z_]+):[A-Z]+=(.*)", line).groups() for line in lines
                if re.match(r"CMAKE_(CXX_FLAGS|CXX_COMPILER|BUILD_TYPE):", line))


def run(*command, **keywords):
    done = subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=300, **keywords)
    if done.returncode != 0:
        raise AssertionError(f"{command} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


def readme_steps(kind):
    """The commands below each mark of this kind, as they are written."""
    return "".join(re.findall(rf"<!-- {kind} -->\n```sh\n(.*?)```", (ROOT / "README.md").read_text(encoding="utf-8"),
                              re.S))


class InstalledTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(tempfile.mkdtemp(prefix="luminstall."))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.prefix = cls.folder / "prefix"
        run("cmake", "--install", BUILD, "--prefix", cls.prefix)
        cls.headers = cls.prefix / "include/lumconf"

    @classmethod
    def outside(cls):
        """The folder where the programs of somebody else are built, as the README says and with what this tree is
        built with: the flags of the sanitizers, say."""
        home = cls.folder / "somebody"
        if not home.exists():
            home.mkdir()
            (home / "lumconf").symlink_to(cls.prefix)
            configure, build, cls.asking = readme_steps("program").splitlines()
            settings = cache()
            run("bash", "-ec", f"{configure}\n{build}", cwd=ROOT,
                env={"HOME": str(home), "PATH": os.environ["PATH"], "CXX": settings["CMAKE_CXX_COMPILER"],
                     "CXXFLAGS": settings["CMAKE_CXX_FLAGS"]})
        return home / "outside"

    def test_an_outside_program_is_built_against_the_package_and_asks_a_node(self):
        build = self.outside()
        self.assertEqual(run(build / "outside_platform"), "lumconf\n")
        with Node() as node:
            self.assertEqual(node.policy("install", "--no-notify", EXAMPLE).code, 0)
            self.assertEqual(run("bash", "-ec", self.asking, cwd=ROOT,
                                 env=dict(node.environment(), HOME=str(build.parent))),
                             "7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11\n1\n")
            self.assertEqual(run(build / "outside_settings", "localhost", env=node.environment()), "grün\n0\n")
            done = subprocess.run([build / "outside_settings", f"127.0.0.1:{free_port()}"], env=node.environment(),
                                  capture_output=True, text=True, timeout=60)
            self.assertEqual((done.returncode, done.stdout), (6, "unreachable\n"))

    def test_a_program_of_the_tree_brings_the_policy_operations_up_with_the_shared_library_alone(self):
        program, settings = self.folder / "operation", cache()
        folders = [ROOT / "src", ROOT / "src/include", ROOT / "platform/include"]
        libraries = next(self.prefix.rglob("liblumconf.so")).parent
        run(settings["CMAKE_CXX_COMPILER"], "-std=c++20", *shlex.split(settings["CMAKE_CXX_FLAGS"]),
            *(f"-I{folder}" for folder in folders), ROOT / "tests/data/outside/operation.cpp", "-o", program,
            f"-L{libraries}", "-llumconf", "-llumplatform", f"-Wl,-rpath,{libraries}")
        root = self.folder / "root"
        root.mkdir()
        self.assertEqual(run(program, env={"LUM_ROOT": str(root)}), "none\n")

    def test_a_packager_configures_without_what_only_tests_and_benchmarks_need(self):
        build = self.folder / "packager"
        absent = ("GTest", "benchmark")
        run("cmake", "-S", ROOT, "-B", build, "-G", "Ninja", "-DBUILD_TESTING=OFF", "-DLUM_BUILD_BENCHMARKS=OFF",
            *(f"-DCMAKE_DISABLE_FIND_PACKAGE_{name}=ON" for name in absent))
        commands = (build / "build.ninja").read_text()
        self.assertIn("liblumconf", commands)
        for unwanted in ("gtest", "lumbench", "unit_src", "-Werror", "ccache", "fuse-ld"):
            self.assertNotIn(unwanted, commands)

    def test_what_builds_an_outside_program_comes_with_the_packages_that_the_readme_installs(self):
        made_by = re.search(r"^CMAKE_MAKE_PROGRAM:[A-Z]+=(.*)$", (self.outside() / "CMakeCache.txt").read_text(), re.M)
        packages = (ROOT / "scripts/packages").read_text()
        named = re.findall(r'^    "([^:"]+):', re.search(r"^build=\((.*?)^\)", packages, re.M | re.S).group(1), re.M)
        owner = run("dpkg", "-S", made_by.group(1)).split(":")[0]
        self.assertIn(owner, named)

    def test_each_program_comes_with_its_manual_page_and_its_completion(self):
        for program in (self.prefix / "bin").iterdir():
            self.assertEqual(len(list((self.prefix / "share/man").glob(f"man[18]/{program.name}.[18]"))), 1, program)
            completion = self.prefix / f"share/bash-completion/completions/{program.name}"
            self.assertIn(program.name, run("bash", "--norc", "-c", f"source '{completion}'; complete -p"))
            fish = self.prefix / f"share/fish/vendor_completions.d/{program.name}.fish"
            offers = run("fish", "--no-config", "-c", f"source '{fish}'; complete -C '{program} -'")
            self.assertTrue(offers.strip(), f"{fish}: asks {completion} of this place")
            self.assertIn(program.name, (self.prefix / "share/zsh/vendor-completions/_lumpolicy").read_text())

    def test_the_package_refuses_a_request_for_another_major_version(self):
        source = self.folder / "wrong"
        source.mkdir()
        (source / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.25)\nproject(Wrong LANGUAGES NONE)\n"
                                               "find_package(LumConf 2.0 QUIET)\n"
                                               "if(LumConf_FOUND)\n  message(FATAL_ERROR found)\nendif()\n")
        run("cmake", "-S", source, "-B", source / "build", f"-DCMAKE_PREFIX_PATH={self.prefix}")

    def test_every_public_header_compiles_alone(self):
        headers = sorted(self.headers.rglob("*.h"))
        self.assertGreater(len(headers), 30)
        settings = cache()

        def compile_alone(header):
            source = self.folder / f"alone_{header.stem}.cpp"
            source.write_text(f'#include "{header.relative_to(self.headers)}"\n')
            run(settings["CMAKE_CXX_COMPILER"], "-std=c++20", "-Wall", "-Wextra", "-Werror", "-fsyntax-only",
                f"-I{self.headers}", source)

        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            list(pool.map(compile_alone, headers))

    def test_public_headers_show_no_header_of_anybody_else(self):
        for header in sorted(self.headers.rglob("*.h")):
            for kind, name in re.findall(r'^\s*#\s*include\s*([<"])([^>"]+)', header.read_text(encoding="utf-8"), re.M):
                if kind == "<":
                    self.assertRegex(name, r"^[a-z_]+$", f"{header.name} includes <{name}>")
                else:
                    self.assertTrue((self.headers / name).is_file() or (header.parent / name).is_file(),
                                    f"{header.name} includes {name}, which is not installed")

    def test_each_program_of_the_tree_is_installed_and_finds_its_libraries(self):
        programs = sorted(path.stem for path in (ROOT / "tools").glob("*.cpp"))
        self.assertEqual(sorted(path.name for path in (self.prefix / "bin").iterdir()), programs)
        environment = {key: value for key, value in os.environ.items() if key != "LD_LIBRARY_PATH"}
        for program in programs:
            option, code = OWN_VERSION.get(program, ("--version", 0))
            done = subprocess.run([self.prefix / "bin" / program, option], env=environment, stdin=subprocess.DEVNULL,
                                  capture_output=True, text=True, timeout=300)
            self.assertEqual((done.returncode, done.stdout), (code, f"{program} 1.0.0\n"), done.stderr)
        libraries = run("ldd", self.prefix / "bin/lumpolicy")
        self.assertIn(f"{self.prefix}/bin/../lib", libraries)
        self.assertNotIn(str(BUILD), libraries)

    def test_the_unit_starts_the_installed_daemon(self):
        unit = (self.prefix / "lib/systemd/system/lumconfd.service").read_text()
        self.assertIn(f"ExecStart={self.prefix}/bin/lumconfd\n", unit)
        daemon = shlex.split(re.search(r"^ExecStart=(.*)$", unit, re.M).group(1))[0]
        self.assertTrue(os.access(daemon, os.X_OK))

    def test_the_first_steps_of_the_readme_work_as_they_are_written(self):
        steps = readme_steps("steps")
        home = self.folder / "home"
        home.mkdir()
        port = free_port()
        # All at once, but that on a slow machine a consumer takes longer than the page says; and a port that is free.
        command, log = "lumevents '*' &", home / "lumevents"
        self.assertEqual((steps.count("lumconfd &\n"), steps.count(f"{command}\nsleep 1\n")), (1, 1))
        steps = steps.replace(f"{command}\nsleep 1\n", f"{command[:-1]} 2>{log} &\n"
                              f"until grep -qs 'registered' {log}; do sleep 0.05; done\n")
        steps = steps.replace("~/lumconf/bin", f"{self.prefix}/bin").replace("7443", str(port))
        steps = steps.replace("[conf.server]", f"[vox.http.ext.conf]\nSERVER_PORT={port}\nTARGET_PORT={port}\n"
                                               "[conf.server]")
        steps = "set -e\ntrap 'kill $(jobs -p); wait' EXIT\n" + steps
        output = run("bash", "-c", steps, cwd=ROOT, env={"HOME": str(home), "PATH": os.environ["PATH"]})
        for sign in ("the configuration is in order", "installed a package of 3", "nightly-backup", "memory-use",
                     "CHECK_POLICY:backup 7c1f6a52-2d0e-4b39-9d77-0b6f8a1e4c11", "removed from localhost",
                     "REMOVE_POLICY:collect", "Success Audit: REMOVE", "<policy_name>disk-io</policy_name>"):
            self.assertIn(sign, output)

    def test_the_papers_and_examples_are_installed(self):
        papers = self.prefix / "share/doc/lumconf"
        for page in ("README.md", "docs/wire.md", "docs/files.md", "docs/configuration.md"):
            self.assertTrue((papers / page).is_file(), page)
        self.assertTrue((papers / "examples/policies" / EXAMPLE.name).is_file())
        for file in (ROOT / "examples/program").iterdir():
            self.assertEqual((papers / "examples/program" / file.name).read_bytes(), file.read_bytes())

    def test_no_link_of_an_installed_paper_is_dead_and_no_word_of_it_is_lost(self):
        papers = self.prefix / "share/doc/lumconf"
        link = re.compile(r"\[([^\]\n]*)\]\(([^)\s]+)\)")
        pages = sorted(papers.rglob("*.md"))
        self.assertGreater(len(pages), 20)
        for page in pages:
            text = page.read_text(encoding="utf-8")
            for _, target in link.findall(text):
                name = target.partition("#")[0]
                self.assertTrue(not name or re.match("[a-z]+:", name) or (page.parent / name).exists(),
                                f"{page.relative_to(papers)}: {target}")
            ours = (ROOT / page.relative_to(papers)).read_text(encoding="utf-8")
            self.assertEqual(link.sub(r"\1", text), link.sub(r"\1", ours), page.name)

    def test_a_program_finds_the_library_by_pkg_config(self):
        found = run("pkg-config", "--cflags", "--libs", "lumconf",
                    env=dict(os.environ, PKG_CONFIG_PATH=str(next(self.prefix.rglob("lumconf.pc")).parent))).split()
        program = self.folder / "by_pkg_config"
        settings = cache()
        run(settings["CMAKE_CXX_COMPILER"], *settings["CMAKE_CXX_FLAGS"].split(),
            ROOT / "examples/program/outside_platform.cpp", "-o", program, *found)
        libraries = self.prefix / "lib"
        self.assertEqual(run(program, env=dict(os.environ, LD_LIBRARY_PATH=str(libraries))), "lumconf\n")


if __name__ == "__main__":
    unittest.main()
