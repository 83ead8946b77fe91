"""Leases as a real dnsmasq writes them, for clients that call themselves what nobody should be called: read by the
module and by the command.

usage: leases_test.py PROJECT BUILD"""

import json
import os
import re
import shutil
import socket
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

PROJECT, BUILD = Path(sys.argv[1]), Path(sys.argv[2]).resolve()
IN_NAMESPACE = "--in-namespace"
AGENT = "02:0a:00:00:00:01"

DISCOVER, OFFER, REQUEST, ACK = 1, 2, 3, 5


def names():
    texts = [bytes([97, byte, 98]) for byte in range(256)]
    texts += [text.encode("latin-1") for text in (
        "\x1b[2J", "\x1b]0;t\x07", "$(reboot)", "`reboot`", ";reboot", "a b", "a\nb", "a\n1 02:57:00:00:00:99 10.0.0.9 forged *",
        "\"", "\\", "'", "<script>", "../../etc/passwd", "%s%n", "*", "-", "", "a" * 63, "a" * 255, "a.b.c", "\xc3\xa9", "\xff\xfe",
        "02:57:00:00:00:01", "phone", "phone", "PHONE", "Unknown",
    )]
    return texts


def mac_of(number):
    return f"02:57:00:01:{number // 256:02x}:{number % 256:02x}"


# --- a DHCP client ---


def checksum(data):
    total = sum(struct.unpack(f"!{len(data) // 2}H", data))
    total = (total >> 16) + (total & 0xFFFF)
    return ~(total + (total >> 16)) & 0xFFFF


def frame(mac, kind, transaction, name, options=b""):
    hardware = bytes.fromhex(mac.replace(":", ""))
    payload = struct.pack("!BBBBIHH4s4s4s4s16s64s128s", 1, 1, 6, 0, transaction, 0, 0x8000, b"", b"", b"", b"", hardware, b"", b"")
    payload += b"\x63\x82\x53\x63" + bytes([53, 1, kind]) + bytes([12, len(name)]) + name + options + b"\xff"
    udp = struct.pack("!HHHH", 68, 67, 8 + len(payload), 0) + payload
    header = struct.pack("!BBHHHBBH4s4s", 0x45, 0, 20 + len(udp), 0, 0, 64, 17, 0, b"\0" * 4, b"\xff" * 4)
    header = header[:10] + struct.pack("!H", checksum(header)) + header[12:]
    return b"\xff" * 6 + hardware + struct.pack("!H", 0x0800) + header + udp


def answer(link, transaction, kind):
    """The address that was given and the server's own; none when no answer comes."""
    link.settimeout(2)
    try:
        while True:
            data = link.recv(2048)
            if len(data) < 282 or data[23] != 17 or data[34:36] != b"\0\x43":
                continue
            payload = data[42:]
            options = payload[240:]
            found = {}
            while options and options[0] != 255:
                found[options[0]] = options[2 : 2 + options[1]]
                options = options[2 + options[1] :]
            if struct.unpack("!I", payload[4:8])[0] == transaction and found.get(53) == bytes([kind]):
                return payload[16:20], found[54]
    except TimeoutError:
        return None


def lease(link, mac, transaction, name):
    link.send(frame(mac, DISCOVER, transaction, name))
    offered = answer(link, transaction, OFFER)
    if offered is None:
        return False
    address, server = offered
    link.send(frame(mac, REQUEST, transaction, name, b"\x32\x04" + address + b"\x36\x04" + server))
    return answer(link, transaction, ACK) is not None


def write_leases(path):
    """In a network of its own: one end of a cable is dnsmasq's, the other the clients'."""
    for words in ("link set lo up", "link add v0 type veth peer name v1", "addr add 10.7.0.1/16 dev v0", "link set v0 up", "link set v1 up"):
        subprocess.run(["ip", *words.split()], check=True)
    server = subprocess.Popen(
        ["dnsmasq", "--no-daemon", "--conf-file=/dev/null", "--port=0", "--interface=v0", "--bind-interfaces", "--no-ping",
         "--dhcp-range=10.7.1.1,10.7.9.254,1h", "--dhcp-authoritative", f"--dhcp-leasefile={path}",],
        stderr=subprocess.PIPE, text=True)
    line = " "
    while line and "IP range" not in line:
        line = server.stderr.readline()
    assert line, "dnsmasq did not start"
    link = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(0x0800))
    link.bind(("v1", 0))
    given = sum(lease(link, mac_of(number), number + 1, name) for number, name in enumerate(names()))
    given += lease(link, AGENT, 70000, b"living$(room)")
    server.terminate()
    server.wait()
    print(given)


# --- the test ---


def can_have_namespace():
    return subprocess.run(["unshare", "-Urn", "true"], capture_output=True).returncode == 0


class RealLeases(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        if not can_have_namespace():
            raise unittest.SkipTest("this machine denies network namespaces")
        cls.folder = Path(tempfile.mkdtemp(prefix="qo1905-leases."))
        cls.leases = cls.folder / "dnsmasq.leases"
        said = subprocess.run(["unshare", "-Urn", sys.executable, __file__, PROJECT, BUILD, IN_NAMESPACE, cls.leases],
                              capture_output=True, text=True, timeout=120)
        assert said.returncode == 0, said.stderr
        cls.given = int(said.stdout)
        # What stands there, by the form that dnsmasq documents.
        cls.lines = {line.split(" ")[1]: line.split(" ") for line in cls.leases.read_bytes().decode("utf-8", "replace").splitlines()}

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def dump(self):
        """The home, with all the clients at the first Agent."""
        dump = json.loads((PROJECT / "lab/samples/home.dump.json").read_text())
        agent = next(device for device in dump["topology information"] if device["AL MAC"] == AGENT)
        bss = agent["Radio Info"][0]["BSSINFO"][0]
        pattern = {**bss["connected sta info"][0], "BSSID": bss["BSSID"]}
        bss["connected sta info"] = [{**pattern, "STA MAC address": mac} for mac in self.lines if mac != AGENT]
        path = self.folder / "dump.json"
        path.write_text(json.dumps(dump))
        return path

    def test_both_read_them_and_nobody_is_fooled(self):
        self.assertEqual(self.given, len(names()) + 1)
        self.assertEqual(len(self.lines), len(names()) + 1)
        out = self.folder / "out"
        said = subprocess.run([BUILD / "qo1905-lab", "replay", "--dump", self.dump(), "--leases", self.leases, "--out", out],
                              capture_output=True, text=True, timeout=60)
        self.assertEqual(said.returncode, 0, said.stderr)
        model = json.loads((out / "tmp/qo1905.json").read_text())
        device = model["Device"]["X_0A3C5E_IEEE1905"]["AL"]["NetworkTopology"]["IEEE1905Device.1"]
        self.assertEqual(device["IEEE1905Id"], AGENT)
        self.assertEqual((device["Hostname"], device["DeviceIP"]), (self.lines[AGENT][3].replace("*", "Unknown"), self.lines[AGENT][2]))
        snapshot = json.loads(subprocess.run([BUILD / "qo1905", "-s", out, "-o", "json", "tree"], capture_output=True, check=True).stdout)
        stations = {station["mac"]: station for station in snapshot["stations"]}
        for mac, (_, _, address, name, *_) in self.lines.items():
            if mac != AGENT:
                self.assertEqual(stations[mac]["address"], address)
                self.assertEqual(stations[mac].get("name", "*"), name)
        self.assertGreater(len([name for name in self.lines.values() if name[3] != "*"]), 30)
        self.assertNotIn("02:57:00:00:00:99", stations)
        table = subprocess.run([BUILD / "qo1905", "-s", out, "stations"], capture_output=True, text=True, check=True).stdout
        self.assertFalse(re.search(r"[\x00-\x09\x0b-\x1f\x7f]", table))


if __name__ == "__main__":
    if IN_NAMESPACE in sys.argv:
        write_leases(sys.argv[-1])
    else:
        del sys.argv[1:3]
        unittest.main()
