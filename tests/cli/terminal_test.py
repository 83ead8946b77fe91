"""What people see and type: the command on a pseudo-terminal, what it streams, and completion in the shells.

usage: terminal_test.py PROJECT QO1905"""

import contextlib
import fcntl
import json
import os
import pty
import re
import select
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import time
import unittest
from pathlib import Path

PROJECT, QO1905 = Path(sys.argv.pop(1)), Path(sys.argv.pop(1)).resolve()
HOME, LATER = PROJECT / "docs/examples/home", PROJECT / "docs/examples/later"


def wait_until(condition, seconds=20):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if condition():
            return True
        time.sleep(0.02)
    return False


def watches(pid):
    """Whether a process has an inotify descriptor; others of its descriptors may close while they are read."""
    for descriptor in Path(f"/proc/{pid}/fd").iterdir():
        with contextlib.suppress(FileNotFoundError):
            if "inotify" in os.readlink(descriptor):
                return True
    return False


class Terminal:
    """A program on a terminal of its own."""

    def __init__(self, words, columns=80, rows=24, **environment):
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))
            variables = {"PATH": os.environ["PATH"], "TERM": "xterm", "LC_ALL": "C.UTF-8", **environment}
            os.execve(words[0], [str(word) for word in words], variables)
        self.text = ""
        self.status = None

    def read(self, seconds=0.05):
        while select.select([self.fd], [], [], seconds)[0]:
            try:
                data = os.read(self.fd, 65536)
            except OSError:
                return
            if not data:
                return
            self.text += data.decode()

    def shows(self, text, seconds=20):
        def seen():
            self.read()
            return text in self.text

        return wait_until(seen, seconds)

    def end(self):
        """Its status, once it has ended."""

        def gone():
            self.read()
            pid, self.status = os.waitpid(self.pid, os.WNOHANG)
            return pid != 0

        assert wait_until(gone), self.text
        self.read()
        os.close(self.fd)
        return self.status


def on_terminal(*words, **options):
    terminal = Terminal([QO1905, *words], **options)
    terminal.end()
    return terminal.text.replace("\r\n", "\n")


class InFolder(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="qo1905-terminal."))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.mesh = self.folder / "mesh"
        shutil.copytree(HOME, self.mesh)
        self.model = self.mesh / "tmp/qo1905.json"

    def write(self, text):
        """As the module does: in place."""
        self.model.write_text(text)

    def become(self, source):
        for part in ("tmp/dump.txt", "tmp/ecnt_agent_assoc_list.5g", "tmp/qo1905.json"):
            (self.mesh / part).write_text((source / part).read_text())


class Seen(InFolder):
    def test_colour_and_bars_are_for_terminals(self):
        weak = self.model.read_text().replace('"RSSI": -72', '"RSSI": -80')
        self.write(weak)
        (self.mesh / "tmp/dump.txt").unlink()
        text = on_terminal("-s", self.mesh, "tree", "--stations")
        self.assertIn("\x1b[31m▁▃·· -80 dBm\x1b[0m", text)
        self.assertIn("\x1b[1mSTATION", on_terminal("-s", self.mesh, "stations"))
        plain = on_terminal("-s", self.mesh, "tree", "--stations", NO_COLOR="1")
        self.assertNotIn("\x1b", plain)
        self.assertIn("▁▃▅▇", plain)
        dumb = on_terminal("-s", self.mesh, "tree", "--stations", TERM="dumb")
        self.assertNotIn("\x1b", dumb)
        self.assertNotIn("▁", dumb)
        piped = subprocess.run([QO1905, "-s", self.mesh, "tree", "--stations"], capture_output=True, text=True)
        self.assertEqual(re.sub(r"[▁▃▅▇·]{4} ", "", plain).split("qo1905:")[0], piped.stdout)

    def test_without_utf_8_there_are_no_bars(self):
        text = on_terminal("-s", self.mesh, "tree", "--stations", LC_ALL="C", NO_COLOR="1")
        self.assertTrue(text.isascii(), text)
        self.assertIn("`- living-room", text)

    def test_tables_fit_the_width(self):
        for columns in (60, 80, 100, 200):
            text = re.sub("\x1b\\[[0-9;]*m", "", on_terminal("-s", self.mesh, "devices", columns=columns))
            widest = max(len(line) for line in text.splitlines())
            self.assertLessEqual(widest, columns, text)
            self.assertEqual(text.count("\n"), 4)
            self.assertRegex(text, r"attic .*living-room +5 GHz +-57")
        self.assertIn("192.168.1.121  2.3.9", on_terminal("-s", self.mesh, "devices", columns=200))
        narrow = on_terminal("-s", self.mesh, "stations", columns=50)
        self.assertNotIn("MAC", narrow, "a stump of one is of no use")
        self.assertIn("phone-anna", narrow)
        chosen = on_terminal("-s", self.mesh, "--columns", "name,mac,device", "stations", columns=30)
        self.assertIn("…", chosen, "whoever chooses the columns gets them")


class Watched(InFolder):
    def watch(self, *words, **options):
        terminal = Terminal([QO1905, "-s", self.mesh, "watch", *words], **options)
        self.addCleanup(lambda: terminal.status is None and (os.kill(terminal.pid, signal.SIGKILL), terminal.end()))
        return terminal

    def test_it_draws_again_when_something_has_changed_and_ends_cleanly(self):
        terminal = self.watch("path", "tv")
        self.assertTrue(terminal.shows("living-room  02:0a:00:00:00:01"), terminal.text)
        self.assertTrue(terminal.text.startswith("\x1b[?1049h\x1b[?25l"), "another screen, no cursor")
        self.assertNotIn("\x1b[2J", terminal.text, "nothing is ever empty in between")
        terminal.text = ""
        self.become(LATER)
        self.assertTrue(terminal.shows("attic  02:0b:00:00:00:01"), terminal.text)
        os.kill(terminal.pid, signal.SIGINT)
        status = terminal.end()
        self.assertTrue(os.WIFSIGNALED(status) and os.WTERMSIG(status) == signal.SIGINT, status)
        self.assertTrue(terminal.text.endswith("\x1b[?25h\x1b[?1049l"), "as it was before")

    def test_ctrl_c_on_the_keyboard_and_a_hang_up_end_it_too(self):
        for how in ("key", signal.SIGTERM, signal.SIGHUP):
            terminal = self.watch()
            self.assertTrue(terminal.shows("in short"))
            if how == "key":
                os.write(terminal.fd, b"\x03")
            else:
                os.kill(terminal.pid, how)
            self.assertTrue(os.WIFSIGNALED(terminal.end()))
            self.assertTrue(terminal.text.endswith("\x1b[?25h\x1b[?1049l"), how)

    def test_a_picture_grows_old_by_itself(self):
        os.utime(self.model, (time.time() - 200,) * 2)
        terminal = self.watch(columns=200)
        self.assertTrue(terminal.shows("3 min old"), terminal.text)
        self.model.unlink()
        self.assertTrue(terminal.shows("s ago; "), terminal.text)
        first = int(re.findall(r"\((\d+) s ago; ", terminal.text)[0])
        self.assertTrue(terminal.shows(f"({first + 2} s ago; "), terminal.text)

    def test_ctrl_backslash_leaves_the_terminal_as_it_was(self):
        terminal = self.watch()
        self.assertTrue(terminal.shows("in short"))
        os.kill(terminal.pid, signal.SIGQUIT)
        self.assertTrue(os.WIFSIGNALED(terminal.end()))
        self.assertTrue(terminal.text.endswith("\x1b[?25h\x1b[?1049l"))

    def test_ctrl_z_gives_the_terminal_back_until_it_goes_on(self):
        shell = Terminal(["/bin/bash", "--norc", "-i"], PS1="> ", HOME=str(self.folder))
        self.assertTrue(shell.shows("> "))
        os.write(shell.fd, f"{QO1905} -s {self.mesh} watch tree\n".encode())
        self.assertTrue(shell.shows("living-room"))
        os.write(shell.fd, b"\x1a")
        self.assertTrue(shell.shows("Stopped"), shell.text)
        self.assertIn("\x1b[?25h\x1b[?1049l", shell.text)
        shell.text = ""
        os.write(shell.fd, b"fg\n")
        self.assertTrue(shell.shows("\x1b[?1049h\x1b[?25l"), shell.text)
        os.write(shell.fd, b"\x03")
        self.assertTrue(shell.shows("\x1b[?25h\x1b[?1049l"), shell.text)
        os.write(shell.fd, b"exit\n")
        shell.end()

    def test_status_tells_what_has_changed_since_it_began(self):
        terminal = self.watch()
        self.assertTrue(terminal.shows("changed   nothing has changed since "), terminal.text)
        self.become(LATER)
        self.assertTrue(terminal.shows("changed   2 stations roamed since "), terminal.text)

    def test_a_file_that_is_gone_or_cut_leaves_the_last_picture_and_says_so(self):
        terminal = self.watch("devices", columns=200)
        self.assertTrue(terminal.shows("living-room"))
        text = self.model.read_text()
        for spoil, told in ((self.model.unlink, "No such file or directory"), (lambda: self.write(text[:500]), "is cut")):
            terminal.text = ""
            spoil()
            self.assertTrue(terminal.shows(told), terminal.text)
            self.assertIn("living-room", terminal.text)
        terminal.text = ""
        self.write(text)
        self.assertTrue(terminal.shows("Ctrl-C ends; "))
        self.assertNotIn("is cut", terminal.text)

    def test_it_keeps_within_the_terminal_and_follows_its_size(self):
        terminal = self.watch("tree", "--stations", columns=40, rows=8)
        self.assertTrue(terminal.shows("living-room"))
        self.assertEqual([int(row) for row in re.findall("\x1b\\[(\\d+);1H", terminal.text)][:8], list(range(1, 9)))
        self.assertIn("... and 13 more lines", terminal.text)
        # Behind a line that fills the terminal nothing is erased: it would take the last character.
        for line in re.findall("\x1b\\[\\d+;1H(.*?)(?=\x1b\\[\\d+;1H|$)", terminal.text):
            seen = re.sub("\x1b\\[[0-9;]*[mKJ]", "", line)
            self.assertEqual("\x1b[K" in line, len(seen) < 40, line)
        terminal.text = ""
        fcntl.ioctl(terminal.fd, termios.TIOCSWINSZ, struct.pack("HHHH", 30, 100, 0, 0))
        self.assertTrue(terminal.shows("phone-anna"), terminal.text)

    def test_in_a_pipe_it_gives_one_picture_after_the_other(self):
        with subprocess.Popen([QO1905, "-s", self.mesh, "-o", "ndjson", "watch", "tree"], stdout=subprocess.PIPE, text=True) as watch:
            first = json.loads(watch.stdout.readline())
            self.become(LATER)
            second = json.loads(watch.stdout.readline())
            watch.terminate()
        where = [{s["mac"]: s["device"] for s in moment["stations"]}["02:57:00:00:00:14"] for moment in (first, second)]
        self.assertEqual(where, ["02:0a:00:00:00:01", "02:0b:00:00:00:01"])


class Streamed(InFolder):
    def stream(self, *words):
        stream = subprocess.Popen(
            [QO1905, "-s", self.mesh, "events", *words],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            env={**os.environ, "LC_ALL": "C.UTF-8"},
        )
        self.addCleanup(lambda: (stream.kill(), stream.wait(), stream.stdout.close(), stream.stderr.close()))
        # It watches before it looks; what happens from its first look on is told.
        self.assertTrue(wait_until(lambda: watches(stream.pid)))
        time.sleep(0.3)
        return stream

    def test_each_event_is_a_line_as_soon_as_it_is_known(self):
        stream = self.stream("-f")
        self.become(LATER)
        self.assertIn("tv (02:57:00:00:00:14) roamed from living-room", stream.stdout.readline())
        self.assertIn("phone-anna (02:57:00:00:00:24) roamed from attic", stream.stdout.readline())
        self.become(HOME)
        self.assertIn("tv (02:57:00:00:00:14) roamed from attic", stream.stdout.readline())
        stream.send_signal(signal.SIGINT)
        self.assertEqual(stream.wait(20), -signal.SIGINT)

    def test_nohup_is_respected(self):
        before = signal.signal(signal.SIGHUP, signal.SIG_IGN)
        try:
            stream = self.stream("-f")
        finally:
            signal.signal(signal.SIGHUP, before)
        stream.send_signal(signal.SIGHUP)
        self.become(LATER)
        self.assertIn("tv (02:57:00:00:00:14) roamed", stream.stdout.readline())
        self.assertIsNone(stream.poll())

    def test_for_programs_a_line_is_an_object(self):
        stream = self.stream("-f", "-o", "json")
        self.become(LATER)
        event = json.loads(stream.stdout.readline())
        self.assertEqual((event["event"], event["station"]), ("roam", "02:57:00:00:00:14"))

    def test_rows_have_one_header(self):
        stream = self.stream("-f", "-o", "tsv", "--columns", "event,mac")
        self.become(LATER)
        lines = [stream.stdout.readline() for _ in range(3)]
        self.become(HOME)
        lines.append(stream.stdout.readline())
        self.assertEqual(lines, ["event\tmac\n", "roam\t02:57:00:00:00:14\n", "roam\t02:57:00:00:00:24\n", "roam\t02:57:00:00:00:14\n"])

    def test_files_that_are_cut_replaced_or_gone_for_a_while_lose_nothing(self):
        stream = self.stream("-f")
        text = self.model.read_text()
        self.write(text[:700])
        self.assertIn("is cut: it does not end as a model does; waiting for it\n", stream.stderr.readline())
        self.write(text)
        self.assertEqual(stream.stderr.readline(), "qo1905: it is there again\n")
        shutil.rmtree(self.mesh)
        self.assertIn("waiting for it\n", stream.stderr.readline())
        shutil.copytree(LATER, self.folder / "new")
        (self.folder / "new").rename(self.mesh)
        self.assertEqual(stream.stderr.readline(), "qo1905: it is there again\n")
        self.assertIn("tv (02:57:00:00:00:14) roamed", stream.stdout.readline())
        self.assertIn("phone-anna (02:57:00:00:00:24) roamed", stream.stdout.readline())
        other = self.mesh / "tmp/other"
        other.write_text((HOME / "tmp/qo1905.json").read_text())
        (self.mesh / "tmp/dump.txt").write_text((HOME / "tmp/dump.txt").read_text())
        other.rename(self.mesh / "tmp/qo1905.json")
        self.assertIn("tv (02:57:00:00:00:14) roamed from attic", stream.stdout.readline())

    def test_without_f_it_ends_with_the_next_writing(self):
        stream = self.stream()
        self.become(LATER)
        self.assertEqual(stream.wait(20), 0)
        self.assertEqual(stream.stdout.read().count("\n"), 2)
        again = self.stream()
        self.become(LATER)
        self.assertEqual(again.wait(20), 0)
        self.assertEqual(again.stderr.read(), "qo1905: nothing has changed\n")

    def test_a_time_can_be_set(self):
        self.assertEqual(self.stream("--timeout", "0.5").wait(20), 5)


class Address(InFolder):
    def test_an_address_is_asked_again_and_again(self):
        files = self.mesh / "tmp"
        with subprocess.Popen(
            [sys.executable, "-u", "-m", "http.server", "0", "--bind", "127.0.0.1", "--directory", files],
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
        ) as server:
            port = re.search(r"port (\d+)", server.stdout.readline()).group(1)
            with subprocess.Popen(
                [QO1905, "-s", f"http://127.0.0.1:{port}/", "events", "-f", "--every", "0.1"], stdout=subprocess.PIPE, text=True
            ) as stream:
                time.sleep(1.1)  # the server tells times in seconds
                self.become(LATER)
                self.assertIn("02:57:00:00:00:14 roamed from living-room", stream.stdout.readline())
                stream.terminate()
            server.terminate()


class Completed(InFolder):
    def complete(self, line, shell="bash"):
        """What bash would offer for a line, as COMPREPLY."""
        script = f"""
            PATH={QO1905.parent}:$PATH; source <(qo1905 completion bash)
            COMP_LINE=$1 COMP_POINT=${{#1}}; read -a COMP_WORDS <<<"$1"; COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1))
            # What bash hands over is the part behind its own word breaks.
            part=${{1##* }}; _qo1905 qo1905 "${{part##*[:=@]}}"; printf '%s\\n' "${{COMPREPLY[@]}}" """
        said = subprocess.run([shutil.which("bash"), "-c", script, "bash", line], capture_output=True, text=True, cwd=self.folder, timeout=20)
        self.assertEqual(said.stderr, "")
        return [word for word in said.stdout.split("\n") if word]

    def test_verbs_options_and_values(self):
        self.assertIn("status", self.complete("qo1905 "))
        self.assertEqual(self.complete("qo1905 sta"), ["status", "stations"])
        self.assertNotIn("complete", self.complete("qo1905 co"))
        self.assertEqual(self.complete("qo1905 stations --b"), ["--band"])
        self.assertEqual(self.complete("qo1905 stations --band "), ["2.4", "5", "wired"])
        self.assertEqual(self.complete("qo1905 -o t"), ["table", "tsv"])
        self.assertEqual(self.complete("qo1905 export p"), ["prometheus"])
        self.assertEqual(self.complete("qo1905 export prometheus --stations k"), ["known"])
        self.assertEqual(self.complete("qo1905 schema ev"), ["event"])
        self.assertEqual(self.complete("qo1905 completion z"), ["zsh"])
        self.assertEqual(self.complete("qo1905 watch st"), ["status", "stations"])
        self.assertIn("--max-age", self.complete("qo1905 tree --m"))

    def test_devices_and_stations_by_name(self):
        self.assertEqual(self.complete("qo1905 -s mesh path t"), ["thermostat", "tv", "tablet"])
        self.assertEqual(self.complete("qo1905 -s mesh stations --device a"), ["attic"])
        self.assertEqual(self.complete("qo1905 -s mesh wait --for station=phone-a"), ["phone-anna"])
        # Only what stands behind the last colon is put in its place.
        self.assertEqual(self.complete("qo1905 -s mesh show 02:e7:00:00:00:01"), ["01"])
        self.assertEqual(self.complete("qo1905 -s me"), ["mesh"])
        self.assertEqual(self.complete("qo1905 -s mesh stations --device=a"), ["attic"])
        self.assertEqual(self.complete("qo1905 -s mesh wait --for station=tv@l"), ["living-room"])

    def test_a_strangers_name_is_typed_as_it_is_and_never_run(self):
        leases = self.mesh / "dnsmasq/dnsmasq.leases"
        leases.write_text(f"1 02:57:00:00:00:14 192.168.1.9 $(touch>{self.folder}/owned) *\n1 02:57:00:00:00:15 192.168.1.8 a;`b` *\n")
        model = json.loads(self.model.read_text())
        topology = model["Device"]["X_0A3C5E_IEEE1905"]["AL"]["NetworkTopology"]
        topology["IEEE1905Device.1"]["Hostname"] = "my room"
        topology["IEEE1905Device.2"]["Hostname"] = "\x1b[2Jattic"
        self.write(json.dumps(model) + "\n")
        offered = self.complete("qo1905 -s mesh path ")
        self.assertIn("\\$\\(touch\\>" + str(self.folder) + "/owned\\)", offered)
        self.assertIn("a\\;\\`b\\`", offered)
        self.assertIn("my\\ room", offered)
        self.assertIn("02:0b:00:00:00:01", offered, "what cannot be typed is offered by its MAC")
        self.assertFalse((self.folder / "owned").exists())

    def test_in_a_real_bash_on_a_terminal(self):
        terminal = Terminal(["/bin/bash", "--norc", "-i"], PS1="> ", PATH=f"{QO1905.parent}:{os.environ['PATH']}", HOME=str(self.folder))
        self.assertTrue(terminal.shows("> "))
        os.write(terminal.fd, b"cd " + bytes(self.folder) + b"; source <(qo1905 completion bash)\n")
        self.assertTrue(terminal.shows("bash)\r\n"))
        os.write(terminal.fd, b"qo1905 -s mesh path phone-a\t")
        self.assertTrue(terminal.shows("phone-anna"), terminal.text)
        os.write(terminal.fd, b"\nqo1905 -s mesh wait --for station=tv@liv\t")
        self.assertTrue(terminal.shows("station=tv@living-room"), terminal.text)
        os.write(terminal.fd, b"\nexit\n")
        self.assertTrue(terminal.shows("gateway"), terminal.text)
        terminal.end()

    def test_the_other_shells_take_their_scripts(self):
        for shell, words in (("zsh", ["zsh", "-f", "-c", "autoload -U compinit; compinit -u -D; source <({0} completion zsh); which _qo1905"]),
                             ("fish", ["fish", "-N", "-c", "{0} completion fish | source; complete -C '{0} -s mesh path ta'"])):
            if not shutil.which(shell):
                self.skipTest(f"there is no {shell} here")
            said = subprocess.run([word.format(QO1905) for word in words], capture_output=True, text=True, cwd=self.folder,
                                  env={**os.environ, "HOME": str(self.folder), "LC_ALL": "C.UTF-8"}, timeout=20)
            self.assertEqual((said.returncode, said.stderr), (0, ""), shell)
            self.assertIn("_qo1905" if shell == "zsh" else "tablet", said.stdout)


if __name__ == "__main__":
    unittest.main()
