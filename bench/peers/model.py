#!/usr/bin/env python3
"""The data model of a topology dump, as a script would make it: DUMP MODEL."""
import json
import sys
import time

ETHERNET = "IEEE 802.3u(IEEE 802.3u Fast Ethernet)"
LOW = "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))"
HIGH = "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))"
MEDIA = {"5G": HIGH, "2.4G": LOW}
NO_MAC = "00:00:00:00:00:00"


def interface(mac, media):
    return {"InterfaceId": mac, "MediaType": media, "PowerState": "On"}


def neighbor_mac(entry, almac):
    for link in entry.get("backhaul link metrics", ()):
        if link.get("neighbor_al") == almac:
            return link["metrics"][0]["neighbor_if_mac"]
    return NO_MAC


class Device:
    def __init__(self, entry):
        self.entry = entry
        uplink = entry.get("BH Interface(APCLI)")
        self.interfaces = [interface(entry["AL MAC"], ETHERNET),
                           interface(uplink[0]["MAC address"], HIGH) if uplink else interface(NO_MAC, ETHERNET)]
        self.clients = []  # local MAC, neighbour MAC
        self.mesh = []
        self.stations = {}  # MAC -> (media, signal)
        self.client_count = self.mesh_count = 0
        for radio in entry.get("Radio Info", ()):
            self.add_radio(radio)
        self.add_wired()
        self.add_backhaul()

    def add_radio(self, radio):
        media = LOW if int(radio["channel"]) < 36 else HIGH
        for bss in radio["BSSINFO"]:
            bssid = bss["BSSID"]
            for station in bss.get("connected sta info", ()):
                mac = station["STA MAC address"]
                (self.clients if station["BH STA"] == "No" else self.mesh).append((bssid, mac))
                self.stations.setdefault(mac, []).append((MEDIA[station["Medium"]], int(station["uplink rssi"])))
            self.interfaces.append(interface(bssid, media))

    def add_wired(self):
        clients = self.entry.get("Other Clients Info", ())
        if clients:
            local = clients[0]["1905 Intf address"]
            self.clients += [(local, client["Client Address"]) for client in clients]

    def add_backhaul(self):
        links = self.entry.get("BH Info", ())
        for link in links:
            mac = neighbor_mac(self.entry, link["neighbor almac addr"])
            self.mesh.append((links[0]["connected iface addr"], mac))
            medium = link["Backhaul Medium Type"]
            signal = 0 if medium == "Ethernet" else int(link["RSSI"])
            self.stations.setdefault(mac, []).append((MEDIA.get(medium, ETHERNET), signal))

    def neighbor(self, local, mac, media, signal):
        return {"LocalInterface": local, "NeighborInterfaceId": mac, "MediaType": media, "RATE": 0, "RSSI": signal,
                "SignalLevel": 0, "Tx": "", "Rx": ""}

    def add_neighbors(self, model, numbers, media_of):
        for i, (local, mac) in enumerate(self.clients, 1):
            name = "Interface.%d" % numbers[local]
            if mac not in self.stations:
                model["NonIEEE1905Neighbor.%d" % i] = {"LocalInterface": name, "NeighborInterfaceId": mac,
                                                       "MediaType": ETHERNET}
                continue
            media, signal = self.stations[mac][0]
            if media == media_of[local]:
                model["NonIEEE1905Neighbor.%d" % i] = self.neighbor(name, mac, media, signal)
        number = 0
        for local, mac in self.mesh:
            for media, signal in self.stations.get(mac, ()):
                number += 1
                found = self.neighbor("Interface.%d" % numbers[local], mac, media, signal)
                found["IEEE802dot1Bridge"] = False
                model["IEEE1905Neighbor.%d" % number] = found

    def model(self):
        numbers, media_of = {}, {}
        for i, item in enumerate(self.interfaces, 1):
            numbers.setdefault(item["InterfaceId"], i)
            media_of.setdefault(item["InterfaceId"], item["MediaType"])
        wired = any(link["Backhaul Medium Type"] == "Ethernet" for link in self.entry.get("BH Info", ()))
        model = {"IEEE1905Id": self.entry["AL MAC"], "InterfaceNumberOfEntries": len(self.interfaces),
                 "NonIEEE1905NeighborNumberOfEntries": len(self.clients),
                 "IEEE1905NeighborNumberOfEntries": len(self.mesh), "BridgingTupleNumberOfEntries": 0,
                 "EnableReboot": True, "EnableInterfacePowerControl": True, "FirmwareVersion": "", "Newfirmware": 0,
                 "NewfirmwareUpgradeState": 0, "Newfirmwareversion": "", "Newfirmwaredate": "", "Hostname": "Unknown",
                 "DeviceIP": "", "DeviceMode": "AP" if wired else "Agent", "ReleaseVersion": "",
                 "ResetAfterDistribution": 0, "LEDstatus": "", "PowerControlMediaType": "0xffff",
                 "PowerControlPowerState": "0xff", "DeviceType": "Enrollee", "Ap-autoconfig": 1,
                 "Ap-autoconfig_2.4G": 0, "Ap-autoconfig_5G": 0,
                 "AppVersion": {"Version": "", "L2DeviveCtrl": 0, "WiFiAutoCfg": 0, "WiFiOnOff": 0, "FwUpgrade": 0,
                                "LEDOnOff": 0}}
        for i, item in enumerate(self.interfaces, 1):
            model["Interface.%d" % i] = item
        self.add_neighbors(model, numbers, media_of)
        return model


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        topology = json.load(file)["topology information"]
    now = int(time.time())
    agents = sum(entry["Device role"] == "02" for entry in topology)
    network = {"Enable": True, "Status": "Available", "IEEE1905DeviceNumberOfEntries": agents}
    for i in range(1, agents + 1):
        network["IEEE1905Device.%d" % i] = Device(topology[i]).model()
    local = {"InterfaceId": NO_MAC, "Status": "Up", "LastChange": now, "LowerLayers": [], "MediaType": ETHERNET,
             "PowerState": "On", "LinkNumberOfEntries": 0,
             "VendorProperties": {"OUI": "00-00-00", "Information": ""}}
    al = {"IEEE1905Id": topology[0]["AL MAC"], "Status": "UP", "LastChange": 0, "LowerLayers": ["Interface.1"],
          "InterfaceNumberOfEntries": 1, "EnableReboot": False, "EnableInterfacePowerControl": False,
          "DeviceMode": "Router", "ReleaseVersion": "", "ResetAfterDistribution": 0, "LEDstatus": "",
          "DeviceType": "Registrar", "SendSearchMsg": 0, "SendResponseMsg": 0, "Interface.1": local,
          "NetworkTopology": network, "Security": {"SetupMethod": "UCPK", "Password": "(null)"}}
    with open(sys.argv[2], "w", encoding="utf-8") as file:
        json.dump({"Device": {"X_0A3C5E_IEEE1905": {"AL": al}}}, file, indent="\t")


main()
