# The data model of a topology dump, as a shell script would make it: jq -f model.jq DUMP >MODEL.
def ethernet: "IEEE 802.3u(IEEE 802.3u Fast Ethernet)";
def low: "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))";
def high: "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))";
def media: if . == "5G" then high elif . == "2.4G" then low else ethernet end;
def no_mac: "00:00:00:00:00:00";
def interface($mac; $media): {InterfaceId: $mac, MediaType: $media, PowerState: "On"};

def neighbor_mac($links): . as $almac
  | first(($links[]? | select(.neighbor_al == $almac) | .metrics[0].neighbor_if_mac), no_mac);

def neighbor($number; $mac; $station):
  {LocalInterface: "Interface.\($number)", NeighborInterfaceId: $mac, MediaType: $station[0], RATE: 0,
   RSSI: $station[1], SignalLevel: 0, Tx: "", Rx: ""};

def device:
  . as $entry
  | (."backhaul link metrics" // []) as $metrics
  | [."Radio Info"[]? | (.channel | tonumber | if . < 36 then low else high end) as $media
     | .BSSINFO[] | {bssid: .BSSID, $media, stations: (."connected sta info" // [])}] as $bsses
  | ([interface($entry."AL MAC"; ethernet),
      ($entry."BH Interface(APCLI)"[0]? // null
       | if . == null then interface(no_mac; ethernet) else interface(."MAC address"; high) end)]
     + [$bsses[] | interface(.bssid; .media)]) as $interfaces
  | (reduce range($interfaces | length) as $i ({};
       if has($interfaces[$i].InterfaceId) then . else .[$interfaces[$i].InterfaceId] = $i end)) as $numbers
  | [$entry."BH Info"[]? | {local: $entry."BH Info"[0]."connected iface addr",
       mac: (."neighbor almac addr" | neighbor_mac($metrics)), medium: ."Backhaul Medium Type",
       signal: (if ."Backhaul Medium Type" == "Ethernet" then 0 else (.RSSI | tonumber) end)}] as $links
  | (reduce (($bsses[].stations[] | {mac: ."STA MAC address", media: (.Medium | media),
                                     signal: (."uplink rssi" | tonumber)}),
             ($links[] | {mac, media: (.medium | media), signal})) as $s
       ({}; .[$s.mac] += [[$s.media, $s.signal]])) as $stations
  | ([$bsses[] | .bssid as $local | .stations[] | select(."BH STA" == "No") | [$local, ."STA MAC address"]]
     + [$entry."Other Clients Info"[]? | [$entry."Other Clients Info"[0]."1905 Intf address", ."Client Address"]])
    as $clients
  | ([$bsses[] | .bssid as $local | .stations[] | select(."BH STA" == "Yes") | [$local, ."STA MAC address"]]
     + [$links[] | [.local, .mac]]) as $mesh
  | {IEEE1905Id: ."AL MAC", InterfaceNumberOfEntries: ($interfaces | length),
     NonIEEE1905NeighborNumberOfEntries: ($clients | length), IEEE1905NeighborNumberOfEntries: ($mesh | length),
     BridgingTupleNumberOfEntries: 0, EnableReboot: true, EnableInterfacePowerControl: true, FirmwareVersion: "",
     Newfirmware: 0, NewfirmwareUpgradeState: 0, Newfirmwareversion: "", Newfirmwaredate: "", Hostname: "Unknown",
     DeviceIP: "", DeviceMode: (if any($links[]; .medium == "Ethernet") then "AP" else "Agent" end),
     ReleaseVersion: "", ResetAfterDistribution: 0, LEDstatus: "", PowerControlMediaType: "0xffff",
     PowerControlPowerState: "0xff", DeviceType: "Enrollee", "Ap-autoconfig": 1, "Ap-autoconfig_2.4G": 0,
     "Ap-autoconfig_5G": 0,
     AppVersion: {Version: "", L2DeviveCtrl: 0, WiFiAutoCfg: 0, WiFiOnOff: 0, FwUpgrade: 0, LEDOnOff: 0}}
    + ([range($interfaces | length) | {key: "Interface.\(. + 1)", value: $interfaces[.]}] | from_entries)
    + ([range($clients | length) as $i | $clients[$i] as [$local, $mac] | $numbers[$local] as $n
        | if $stations[$mac] == null then
            {LocalInterface: "Interface.\($n + 1)", NeighborInterfaceId: $mac, MediaType: ethernet}
          elif $stations[$mac][0][0] == $interfaces[$n].MediaType then neighbor($n + 1; $mac; $stations[$mac][0])
          else empty end
        | {key: "NonIEEE1905Neighbor.\($i + 1)", value: .}] | from_entries)
    + ([$mesh[] as [$local, $mac] | $stations[$mac][]?
        | neighbor($numbers[$local] + 1; $mac; .) + {IEEE802dot1Bridge: false}]
       | [range(length) as $i | {key: "IEEE1905Neighbor.\($i + 1)", value: .[$i]}] | from_entries);

."topology information" as $topology
| ([$topology[] | select(."Device role" == "02")] | length) as $agents
| {Device: {X_0A3C5E_IEEE1905: {AL: {
    IEEE1905Id: $topology[0]."AL MAC", Status: "UP", LastChange: 0, LowerLayers: ["Interface.1"],
    InterfaceNumberOfEntries: 1, EnableReboot: false, EnableInterfacePowerControl: false, DeviceMode: "Router",
    ReleaseVersion: "", ResetAfterDistribution: 0, LEDstatus: "", DeviceType: "Registrar", SendSearchMsg: 0,
    SendResponseMsg: 0,
    "Interface.1": {InterfaceId: no_mac, Status: "Up", LastChange: (now | floor), LowerLayers: [],
                    MediaType: ethernet, PowerState: "On", LinkNumberOfEntries: 0,
                    VendorProperties: {OUI: "00-00-00", Information: ""}},
    NetworkTopology: ({Enable: true, Status: "Available", IEEE1905DeviceNumberOfEntries: $agents}
      + ([range($agents) as $i | {key: "IEEE1905Device.\($i + 1)", value: ($topology[$i + 1] | device)}] | from_entries)),
    Security: {SetupMethod: "UCPK", Password: "(null)"}}}}}
