"""What people meet at the desk: ./dev and the sandbox, in a checkout whose tools only pretend to build."""

import fcntl
import os
import pty
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PROJECT = Path(sys.argv.pop(1))
NOBODY = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]

# cmake -S . -B DIR makes the cache, cmake --build DIR a lab that tells its words.
CMAKE = """#!/bin/sh
echo "cmake $*" >>"$CALLS"
case $1 in
-S)
    echo "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" >"$4/CMakeCache.txt" ;;
--build)
    for step in 1/3 2/3 3/3; do echo "$step compiling"; done
    [ -z "$BROKEN" ] || { echo "FAILED: main.cpp"; exit 1; }
    printf '#!/bin/sh\\necho "lab in $(pwd): $*"\\n' >"$2/qo1905-lab"
    printf '#!/bin/sh\\necho "qo1905 in $(pwd): $*"\\n' >"$2/qo1905"
    chmod +x "$2/qo1905-lab" "$2/qo1905" ;;
esac
"""
DPKG = """#!/bin/sh
[ -n "$BARE" ] && [ ! -e "$CALLS.installed" ] || printf 'install ok installed'
"""
APT = """#!/bin/sh
echo "apt-get $*" >>"$CALLS"
case $1 in install) printf 'Get:1 a\\nUnpacking a\\nSetting up a\\n'; : >"$CALLS.installed" ;; esac
"""


VIEWER = """#!/bin/sh
mkdir -p "$1"
echo page >"$1/index.html"
echo "the page is built" >>"$CALLS"
"""


def has_namespaces():
    return subprocess.run([PROJECT / "lab/sandbox.sh", "--probe"], capture_output=True).returncode == 0


class Desk(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="qo1905-desk.", dir="/tmp"))
        self.folder.chmod(0o755)
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.checkout = self.folder / "checkout"
        (self.checkout / "lab").mkdir(parents=True)
        for name in ("dev", "CMakeLists.txt", "lab/sandbox.sh"):
            shutil.copy(PROJECT / name, self.checkout / name)
        (self.checkout / "viewer").mkdir()
        (self.checkout / "viewer/build.sh").write_text(VIEWER)
        (self.checkout / "viewer/build.sh").chmod(0o755)
        tools = self.folder / "tools"
        tools.mkdir()
        for name, text in (("cmake", CMAKE), ("dpkg-query", DPKG), ("apt-get", APT), ("sudo", '#!/bin/sh\nexec "$@"\n'), ("npm", "#!/bin/sh\n")):
            (tools / name).write_text(text)
            (tools / name).chmod(0o755)
        self.calls = self.folder / "calls"
        self.calls.touch()
        self.calls.chmod(0o666)
        self.environment = {
            "PATH": f"{tools}:{os.environ['PATH']}",
            "CALLS": str(self.calls),
            "HOME": str(self.folder),
            "TERM": "xterm",
        }

    def dev(self, *words, user=(), cwd=None, **more):
        return subprocess.run(
            [*user, self.checkout / "dev", *words],
            cwd=cwd or self.checkout,
            env={**self.environment, **more},
            capture_output=True,
            text=True,
            stdin=subprocess.DEVNULL,
        )

    def dev_on_a_terminal(self, *words, **more):
        ours, theirs = pty.openpty()
        program = subprocess.Popen(
            [self.checkout / "dev", *words],
            cwd=self.checkout,
            env={**self.environment, **more},
            stdout=theirs,
            stderr=theirs,
            stdin=subprocess.DEVNULL,
        )
        os.close(theirs)
        text = b""
        try:
            while chunk := os.read(ours, 65536):
                text += chunk
        except OSError:  # the terminal's other end is closed
            pass
        os.close(ours)
        self.assertEqual(program.wait(), 0, text)
        return text.decode()

    def page_is_built(self):
        for _ in range(3000):
            if (self.checkout / "build/viewer/index.html").exists():
                return
            time.sleep(0.01)
        self.fail("the page was not built")

    def built(self):
        self.assertEqual(self.dev("run").returncode, 0)
        self.page_is_built()
        self.calls.write_text("")


class TheFirstMinute(Desk):
    def test_shows_on_a_terminal_what_is_installed_and_how_far_the_build_is(self):
        text = self.dev_on_a_terminal("run", BARE="1")
        self.assertIn("== installing ", text)
        for step in ("installing, step 1", "installing, step 3", "building in build: 1/3", "building in build: 3/3"):
            self.assertIn(step, text)
        self.assertIn("lab in ", text)

    def test_says_in_a_pipe_that_it_takes_a_while_once(self):
        first = self.dev("run").stderr
        self.assertIn("== building in build; the first time it takes some minutes\n", first)
        self.assertIn("== the page is still being built; it will be there in a minute", first)
        self.page_is_built()
        again = self.dev("run")
        self.assertEqual(again.stderr, "")
        self.assertEqual(again.stdout, f"lab in {self.checkout}: run\n")

    def test_has_no_colour_where_none_is_wanted_and_no_escapes_on_a_dumb_terminal(self):
        self.assertIn("\033[1m", self.dev_on_a_terminal("run", BARE="1"))
        self.assertNotIn("\033[1m", self.dev_on_a_terminal("run", NO_COLOR="1"))
        self.assertNotIn("\033", self.dev_on_a_terminal("run", TERM="dumb"))

    def test_shows_what_the_compiler_said_when_it_fails(self):
        broken = self.dev("run", BROKEN="1")
        self.assertEqual(broken.returncode, 2)
        self.assertIn("FAILED: main.cpp\ndev: the build failed\n", broken.stderr)

    def test_says_that_it_waits_for_another_build(self):
        self.built()
        other = os.open(self.checkout / "build", os.O_RDONLY)
        fcntl.flock(other, fcntl.LOCK_EX)
        waiting = subprocess.Popen(
            [self.checkout / "dev", "run"],
            cwd=self.checkout,
            env=self.environment,
            stderr=subprocess.PIPE,
            stdout=subprocess.DEVNULL,
            text=True,
        )
        self.assertEqual(waiting.stderr.readline(), "== waiting for another build in build\n")
        os.close(other)
        self.assertEqual(waiting.wait(), 0)
        waiting.stderr.close()


class Checkouts(Desk):
    def test_one_that_was_moved_is_built_anew(self):
        self.built()
        moved = self.folder / "moved"
        self.checkout.rename(moved)
        before, self.checkout = self.checkout, moved
        result = self.dev("run")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn(f"== build was built when this was {before}: building it anew\n", result.stderr)
        self.page_is_built()
        self.assertEqual(self.dev("run").stderr, "")

    def cannot_write(self):
        """Words in front of a command that make it somebody's who may not write here."""
        if os.geteuid() == 0:
            return NOBODY
        (self.checkout / "build").chmod(0o555)
        self.checkout.chmod(0o555)
        self.addCleanup((self.checkout / "build").chmod, 0o755)
        self.addCleanup(self.checkout.chmod, 0o755)
        return []

    def test_one_that_cannot_be_written_runs_what_is_built(self):
        self.built()
        result = self.dev("run", "villa", user=self.cannot_write())
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn(": running what is built\n", result.stderr)
        self.assertEqual(result.stdout, f"lab in {self.checkout}: run villa\n")
        self.assertEqual(self.calls.read_text(), "")

    def test_one_that_cannot_be_written_says_so_in_a_line_when_it_has_to_be_built(self):
        (self.checkout / "build").mkdir()
        result = self.dev("test", user=self.cannot_write())
        self.assertEqual(result.returncode, 2)
        self.assertRegex(result.stderr, r"^dev: .*/build cannot be written by \w+: copy the checkout, .*\n$")

    def test_a_working_directory_that_is_gone_is_no_obstacle(self):
        self.built()
        gone = self.folder / "gone"
        gone.mkdir()
        result = subprocess.run(
            ["sh", "-c", 'rmdir "$1"; "$2" run', "sh", gone, self.checkout / "dev"],
            cwd=gone,
            env={**self.environment, "PWD": str(gone)},
            capture_output=True,
            text=True,
        )
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout, "lab in /: run\n")


class Words(Desk):
    def test_unknown_ones_are_refused_before_anything_is_built(self):
        for words in (["frobnicate"], ["sanitize", "foo"], ["bench", "foo"], ["cross", "foo"], ["fuzz", "foo"]):
            self.assertEqual(self.dev(*words).returncode, 2, words)
        self.assertEqual(self.calls.read_text(), "")

    def test_help_and_version_build_nothing(self):
        for words in (["--help"], ["run", "--help"], ["test", "--help"], []):
            self.assertIn("usage: ./dev COMMAND", self.dev(*words).stdout)
        self.assertRegex(self.dev("--version").stdout, r"^\d+\.\d+\.\d+\n$")
        self.assertEqual(self.calls.read_text(), "")

    def test_help_tells_the_ranges(self):
        text = self.dev("--help").stdout
        for range_ in ("N cycles, 1 or more", "0.05 to 1000", "0 to 9", "0.001 to 3600"):
            self.assertIn(range_, text)

    def test_a_dump_is_replayed_however_its_option_is_spelt(self):
        for words in (["--dump", "x.json"], ["--dump=x.json"], ["--out", "o", "--dump", "-"], ["--stay"]):
            result = self.dev("run", *words)
            self.assertEqual(result.stdout, f"lab in {self.checkout}: replay {' '.join(words)}\n")

    def test_the_command_is_run_where_the_user_is(self):
        result = self.dev("qo1905", "-s", "lab:gateway", "tree", cwd=self.folder)
        self.assertEqual(result.stdout, f"qo1905 in {self.folder}: -s lab:gateway tree\n")

    def test_a_temporary_folder_that_is_not_there_is_said_and_is_no_reason_to_leave_the_sandbox(self):
        result = self.dev("run", TMPDIR="/nowhere")
        self.assertEqual(result.returncode, 2)
        self.assertIn("sandbox.sh: no folder can be made in /nowhere, which TMPDIR names\n", result.stderr)
        self.assertNotIn("NO SANDBOX", result.stderr)

    def test_without_namespaces_one_device_takes_the_place_of_a_mesh(self):
        result = self.dev("run", QO1905_NO_SANDBOX="1")
        self.assertIn("== a mesh needs namespaces, which this machine denies", result.stderr)
        self.assertIn("NO SANDBOX", result.stderr)
        self.assertEqual(result.stdout, f"lab in {self.checkout}: replay --stay\n")
        result = self.dev("run", "--cycles", "2", QO1905_NO_SANDBOX="1")
        self.assertEqual(result.stdout, f"lab in {self.checkout}: replay --cycles 2\n")


@unittest.skipUnless(has_namespaces(), "this machine denies namespaces")
class Sandbox(Desk):
    def sandbox(self, *words, **more):
        return subprocess.run(
            [self.checkout / "lab/sandbox.sh", *words],
            env={**self.environment, "TMPDIR": str(self.folder), **more},
            capture_output=True,
            text=True,
            check=True,
        )

    def left(self):
        return [path.name for path in self.folder.glob("qo1905-sandbox.*")]

    def test_throws_its_folder_away(self):
        self.sandbox("--", "true")
        self.assertEqual(self.left(), [])

    def test_tidies_up_after_one_that_was_killed_and_leaves_one_that_runs(self):
        (self.folder / "qo1905-sandbox.killed" / "tmp").mkdir(parents=True)
        running = subprocess.Popen(
            [self.checkout / "lab/sandbox.sh", "--", "cat"],
            env={**self.environment, "TMPDIR": str(self.folder)},
            stdin=subprocess.PIPE,
        )
        end = time.monotonic() + 60
        while time.monotonic() < end and not any((self.folder / name / "rc.d").exists() for name in self.left()):
            time.sleep(0.01)
        self.sandbox("--", "true")
        self.assertEqual(len(self.left()), 1)
        self.assertNotIn("qo1905-sandbox.killed", self.left())
        running.communicate()
        self.assertEqual(running.returncode, 0)
        self.assertEqual(self.left(), [])

    def test_leaves_no_mount_points_of_a_checkout_in_tmp(self):
        root = self.folder / "root"
        self.sandbox("--root", root, "--", "touch", "/tmp/file")
        self.assertEqual(sorted(path.name for path in (root / "tmp").iterdir()), ["file", "scratch"])


if __name__ == "__main__":
    unittest.main()
