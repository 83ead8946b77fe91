#include "bench/mesh.h"

#include <random>

namespace bench {
namespace {

constexpr unsigned kSeed = 1905;

std::string hex(std::size_t value) {
    constexpr char kDigits[] = "0123456789abcdef";
    return {kDigits[value / 16 % 16], kDigits[value % 16]};
}

// `kind` is the second byte; the number fills the three last.
std::string make_mac(const char *kind, std::size_t number) {
    return std::string("02:") + kind + ":00:" + hex(number >> 16U) + ':' + hex(number >> 8U) + ':' + hex(number);
}

std::string al_mac(std::size_t device) { return make_mac("0a", device * 256 + 1); }
std::string bssid(std::size_t device, std::size_t bss) { return make_mac("0b", device * 256 + bss); }

class Writer {
public:
    Writer(std::size_t devices, std::size_t stations) : devices_(devices), stations_(stations) {}

    Mesh write() {
        Mesh mesh{devices_, stations_, R"({"profile": "1", "topology information": [)", {}, {}};
        for (std::size_t device = 0; device < devices_; ++device) {
            mesh.dump += device == 0 ? "\n" : ",\n";
            write_device(mesh, device);
        }
        mesh.dump += "\n]}\n";
        return mesh;
    }

private:
    // The Agents share the stations as evenly as can be; the Controller's own are nobody's business here.
    std::size_t stations_of(std::size_t device) const {
        const std::size_t agents = devices_ - 1;
        return device == 0 ? 0 : stations_ / agents + (device <= stations_ % agents ? 1 : 0);
    }

    void write_device(Mesh &mesh, std::size_t device) {
        const bool controller = device == 0;
        std::string &text = mesh.dump;
        text += R"({"AL MAC": ")" + al_mac(device) + R"(", "Device role": ")" + (controller ? "01" : "02") +
                R"(", "Manufacturer": "Sample", "Uptime": "86400", "Distance from controller": "1", )" +
                R"x("BH Interface(APCLI)": [{"MAC address": ")x" + make_mac("0c", device) +
                R"(", "Interface": "apclii0"}], "Number of radios": 2, "Radio Info": [)";
        std::string report;
        const std::size_t count = stations_of(device);
        write_radio(text, report, device, 0, count / 3);
        text += ", ";
        write_radio(text, report, device, 1, count - count / 3);
        text += R"(], "Other Clients Info": [{"Client Address": ")" + make_mac("e7", device) +
                R"(", "1905 Intf address": ")" + al_mac(device) + "\"}], ";
        write_backhaul(text, device);
        text += "}";
        if (!controller) {
            mesh.reports.push_back(
                R"({"SrcAlMac": ")" + al_mac(device) +
                R"(", "FWVersion": "2.4.1", "HostName": "agent", "DeviceIP": "10.0.0.2", "STAInfo": [)" + report +
                "]}");
            mesh.leases += "1795262400 " + al_mac(device) + " 10.0.0.3 agent 01:00\n";
        }
        add_leases(mesh, count);
    }

    void write_radio(std::string &text, std::string &report, std::size_t device, std::size_t radio, std::size_t count) {
        const bool high = radio == 1;
        text += std::string(R"({"channel": ")") + (high ? "149" : "6") +
                R"(", "operating class": "128", "bandwidth": "80", "BSSINFO": [{"BSSID": ")" + bssid(device, radio) +
                R"(", "SSID": "Home", "Security": "WPA2PSK/AES", "connected sta info": [)";
        for (std::size_t i = 0; i < count; ++i) {
            const std::string mac = make_mac("57", shuffled(next_station_++));
            const int rate = 6 + static_cast<int>(random_() % 1200);
            text += (i == 0 ? "" : ", ") + (R"({"STA MAC address": ")" + mac) + R"(", "BSSID": ")" +
                    bssid(device, radio) + R"(", "Medium": ")" + (high ? "5G" : "2.4G") +
                    R"(", "BH STA": "No", "uplink rssi": "-)" + std::to_string(30 + random_() % 60) +
                    R"(", "downlink rate": "866", "uplink rate": ")" + std::to_string(rate) +
                    R"(", "associated time": "1229", "Status": "Associated"})";
            report += (report.empty() ? "" : ", ") + (R"({"STAMac": ")" + mac) + R"(", "PhyRate": )" +
                      std::to_string(rate) + "}";
        }
        text += "]}]}";
    }

    // Up to the Controller.
    static void write_backhaul(std::string &text, std::size_t device) {
        if (device == 0) {
            text += R"("BH Info": [], "backhaul link metrics": [])";
            return;
        }
        text += R"("BH Info": [{"neighbor almac addr": ")" + al_mac(0) + R"(", "connected iface addr": ")" +
                make_mac("0c", device) +
                R"(", "Backhaul Medium Type": "5G", "RSSI": "-50"}], "backhaul link metrics": )" +
                R"([{"neighbor_al": ")" + al_mac(0) + R"(", "metrics": [{"intf_mac": ")" + make_mac("0c", device) +
                R"(", "neighbor_if_mac": ")" + bssid(0, 1) + R"(", "phy_rate": "1300"}]}])";
    }

    void add_leases(Mesh &mesh, std::size_t count) {
        for (std::size_t i = next_station_ - count; i < next_station_; ++i) {
            mesh.leases += "1795262400 " + make_mac("57", shuffled(i)) + " 10.1.0.9 phone 01:00\n";
        }
    }

    // Stations do not come in the order of their MACs.
    static std::size_t shuffled(std::size_t number) { return number * 2654435761U & 0xffffffU; }

    std::size_t devices_;
    std::size_t stations_;
    std::size_t next_station_ = 0;
    std::mt19937 random_{kSeed};
};

}  // namespace

Mesh make_mesh(std::size_t devices, std::size_t stations) { return Writer(devices, stations).write(); }

std::string make_report(std::size_t stations) { return make_mesh(2, stations).reports.at(0); }

}  // namespace bench
