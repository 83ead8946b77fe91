-- The data model of a topology dump, as a script on a router would make it: DUMP MODEL.
local cjson = require "cjson"

local ETHERNET = "IEEE 802.3u(IEEE 802.3u Fast Ethernet)"
local LOW = "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))"
local HIGH = "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))"
local MEDIA = {["5G"] = HIGH, ["2.4G"] = LOW}
local NO_MAC = "00:00:00:00:00:00"
local NONE = {}

local function interface(mac, media)
    return {InterfaceId = mac, MediaType = media, PowerState = "On"}
end

local function neighbor_mac(entry, almac)
    for _, link in ipairs(entry["backhaul link metrics"] or NONE) do
        if link.neighbor_al == almac then
            return link.metrics[1].neighbor_if_mac
        end
    end
    return NO_MAC
end

local function add_station(stations, mac, media, signal)
    local found = stations[mac]
    if found then
        found[#found + 1] = {media, signal}
    else
        stations[mac] = {{media, signal}}
    end
end

local function add_radio(radio, device)
    local media = tonumber(radio.channel) < 36 and LOW or HIGH
    for _, bss in ipairs(radio.BSSINFO) do
        local bssid = bss.BSSID
        for _, station in ipairs(bss["connected sta info"] or NONE) do
            local mac = station["STA MAC address"]
            local list = station["BH STA"] == "No" and device.clients or device.mesh
            list[#list + 1] = {bssid, mac}
            add_station(device.stations, mac, MEDIA[station.Medium], tonumber(station["uplink rssi"]))
        end
        device.interfaces[#device.interfaces + 1] = interface(bssid, media)
    end
end

local function read_device(entry)
    local uplink = (entry["BH Interface(APCLI)"] or NONE)[1]
    local device = {
        interfaces = {interface(entry["AL MAC"], ETHERNET),
                      uplink and interface(uplink["MAC address"], HIGH) or interface(NO_MAC, ETHERNET)},
        clients = {}, mesh = {}, stations = {}, wired = false,
    }
    for _, radio in ipairs(entry["Radio Info"] or NONE) do
        add_radio(radio, device)
    end
    local wired_clients = entry["Other Clients Info"] or NONE
    for _, client in ipairs(wired_clients) do
        device.clients[#device.clients + 1] = {wired_clients[1]["1905 Intf address"], client["Client Address"]}
    end
    local links = entry["BH Info"] or NONE
    for _, link in ipairs(links) do
        local mac = neighbor_mac(entry, link["neighbor almac addr"])
        local medium = link["Backhaul Medium Type"]
        device.mesh[#device.mesh + 1] = {links[1]["connected iface addr"], mac}
        device.wired = device.wired or medium == "Ethernet"
        add_station(device.stations, mac, MEDIA[medium] or ETHERNET, medium == "Ethernet" and 0 or tonumber(link.RSSI))
    end
    return device
end

local function neighbor(number, mac, media, signal)
    return {LocalInterface = "Interface." .. number, NeighborInterfaceId = mac, MediaType = media, RATE = 0,
            RSSI = signal, SignalLevel = 0, Tx = "", Rx = ""}
end

local function add_neighbors(model, device)
    local numbers, media_of = {}, {}
    for i, item in ipairs(device.interfaces) do
        if not numbers[item.InterfaceId] then
            numbers[item.InterfaceId], media_of[item.InterfaceId] = i, item.MediaType
        end
        model["Interface." .. i] = item
    end
    for i, client in ipairs(device.clients) do
        local found = device.stations[client[2]]
        if not found then
            model["NonIEEE1905Neighbor." .. i] = {LocalInterface = "Interface." .. numbers[client[1]],
                                                  NeighborInterfaceId = client[2], MediaType = ETHERNET}
        elseif found[1][1] == media_of[client[1]] then
            model["NonIEEE1905Neighbor." .. i] = neighbor(numbers[client[1]], client[2], found[1][1], found[1][2])
        end
    end
    local number = 0
    for _, entry in ipairs(device.mesh) do
        for _, station in ipairs(device.stations[entry[2]] or NONE) do
            number = number + 1
            local found = neighbor(numbers[entry[1]], entry[2], station[1], station[2])
            found.IEEE802dot1Bridge = false
            model["IEEE1905Neighbor." .. number] = found
        end
    end
end

local function device_model(entry)
    local device = read_device(entry)
    local model = {
        IEEE1905Id = entry["AL MAC"], InterfaceNumberOfEntries = #device.interfaces,
        NonIEEE1905NeighborNumberOfEntries = #device.clients, IEEE1905NeighborNumberOfEntries = #device.mesh,
        BridgingTupleNumberOfEntries = 0, EnableReboot = true, EnableInterfacePowerControl = true,
        FirmwareVersion = "", Newfirmware = 0, NewfirmwareUpgradeState = 0, Newfirmwareversion = "",
        Newfirmwaredate = "", Hostname = "Unknown", DeviceIP = "", DeviceMode = device.wired and "AP" or "Agent",
        ReleaseVersion = "", ResetAfterDistribution = 0, LEDstatus = "", PowerControlMediaType = "0xffff",
        PowerControlPowerState = "0xff", DeviceType = "Enrollee", ["Ap-autoconfig"] = 1, ["Ap-autoconfig_2.4G"] = 0,
        ["Ap-autoconfig_5G"] = 0,
        AppVersion = {Version = "", L2DeviveCtrl = 0, WiFiAutoCfg = 0, WiFiOnOff = 0, FwUpgrade = 0, LEDOnOff = 0},
    }
    add_neighbors(model, device)
    return model
end

local input = assert(io.open(arg[1], "rb"))
local topology = cjson.decode(input:read("a"))["topology information"]
input:close()
local agents = 0
for _, entry in ipairs(topology) do
    if entry["Device role"] == "02" then
        agents = agents + 1
    end
end
local network = {Enable = true, Status = "Available", IEEE1905DeviceNumberOfEntries = agents}
for i = 1, agents do
    network["IEEE1905Device." .. i] = device_model(topology[i + 1])
end
local al = {
    IEEE1905Id = topology[1]["AL MAC"], Status = "UP", LastChange = 0, LowerLayers = {"Interface.1"},
    InterfaceNumberOfEntries = 1, EnableReboot = false, EnableInterfacePowerControl = false, DeviceMode = "Router",
    ReleaseVersion = "", ResetAfterDistribution = 0, LEDstatus = "", DeviceType = "Registrar", SendSearchMsg = 0,
    SendResponseMsg = 0,
    ["Interface.1"] = {InterfaceId = NO_MAC, Status = "Up", LastChange = os.time(), LowerLayers = {},
                       MediaType = ETHERNET, PowerState = "On", LinkNumberOfEntries = 0,
                       VendorProperties = {OUI = "00-00-00", Information = ""}},
    NetworkTopology = network, Security = {SetupMethod = "UCPK", Password = "(null)"},
}
local output = assert(io.open(arg[2], "wb"))
-- An empty table is an object to the encoder.
output:write((cjson.encode({Device = {X_0A3C5E_IEEE1905 = {AL = al}}}):gsub('"LowerLayers":{}', '"LowerLayers":[]', 1)))
output:close()
