#include "tests/support/hostile_shapes.h"

namespace hostile {
namespace {

constexpr char kAgentHead[] = R"({"AL MAC":"02:0a:00:00:00:01","Device role":"02")";
constexpr char kStationHead[] = R"("STA MAC address":"02:57:00:00:00:01")";

std::string hex_byte(std::size_t value) {
    constexpr char kDigits[] = "0123456789abcdef";
    return {kDigits[value / 16 % 16], kDigits[value % 16]};
}

std::string mac(const char *kind, std::size_t number) {
    return std::string("02:") + kind + ":00:" + hex_byte(number >> 16U) + ':' + hex_byte(number >> 8U) + ':' +
           hex_byte(number);
}

using Element = std::function<std::string(std::size_t)>;

// Elements with commas between, up to so many bytes.
std::string elements(std::size_t bytes, const Element &element) {
    std::string text;
    text.reserve(bytes + 200);
    for (std::size_t i = 0; i == 0 || text.size() < bytes; ++i) {
        text += i == 0 ? "" : ",";
        text += element(i);
    }
    return text;
}

std::string repeated(std::size_t bytes, const std::string &element) {
    return elements(bytes, [&element](std::size_t) { return element; });
}

// One Agent with these members.
std::string agent(const std::string &members) { return kAgentHead + ("," + members) + "}"; }

std::string list(const char *key, const std::string &items) { return '"' + std::string(key) + "\":[" + items + "]"; }

std::string radio(const std::string &channel, const std::string &bsss) {
    return R"("Number of radios":1,"Radio Info":[{"channel":")" + channel + R"(",)" + list("BSSINFO", bsss) + "}]";
}

std::string bss(const std::string &bssid, const std::string &stations) {
    return R"({"BSSID":")" + bssid + "\"," + list("connected sta info", stations) + "}";
}

Input one_agent(const std::string &members) { return {dump_of(agent(members)), {}, {}, {}}; }

Input one_bss(const std::string &channel, const std::string &stations) {
    return one_agent(radio(channel, bss("02:0b:00:00:00:01", stations)));
}

Element minimal_agent() {
    return [](std::size_t) { return std::string(kAgentHead) + "}"; };
}

std::string report(const std::string &stations) {
    return R"({"SrcAlMac":"02:0a:00:00:00:01","FWVersion":"1",)" + list("STAInfo", stations) + "}";
}

Element reported_station() {
    return [](std::size_t i) { return R"({"STAMac":")" + mac("57", i) + R"(","PhyRate":866})"; };
}

Element other_band_station(const char *medium) {
    return [medium](std::size_t) {
        return std::string("{") + kStationHead + R"(,"BH STA":"No","Medium":")" + medium + "\"}";
    };
}

Element link(const char *neighbor_kind) {
    return [neighbor_kind](std::size_t i) {
        return R"({"neighbor_al":")" + mac(neighbor_kind, i) + R"(","metrics":[{"neighbor_if_mac":")" + mac("0b", i) +
               "\"}]}";
    };
}

Element backhaul(const char *neighbor_kind, const char *medium) {
    return [neighbor_kind, medium](std::size_t i) {
        return R"({"neighbor almac addr":")" + mac(neighbor_kind, i) + R"(","Backhaul Medium Type":")" + medium + "\"}";
    };
}

// A list member of an Agent with nothing but one element, over and over.
Shape list_of(const char *name, const char *key, const char *element) {
    return {name, [key, element](std::size_t bytes) { return one_agent(list(key, repeated(bytes, element))); }};
}

Shape stations_of(const char *name, const char *channel, const Element &element) {
    return {name, [channel, element](std::size_t bytes) { return one_bss(channel, elements(bytes, element)); }};
}

Element same(const std::string &text) {
    return [text](std::size_t) { return text; };
}

std::vector<Shape> make_shapes() {
    return {
        stations_of("mesh stations of one MAC", "36",
                    same(std::string("{") + kStationHead + R"(,"BH STA":"Yes","Medium":"5G"})")),
        stations_of("stations of one MAC", "36", other_band_station("5G")),
        stations_of("stations of the other band, one MAC", "36", other_band_station("2.4G")),
        stations_of("mesh stations without a MAC", "36", same(R"({"BH STA":"Yes"})")),
        stations_of("stations without a MAC", "36", same(R"({"BH STA":"No"})")),
        stations_of("stations {}", "36", same("{}")),
        stations_of("stations null", "36", same("null")),
        stations_of("stations 0", "36", same("0")),
        stations_of("stations whose texts are objects", "36",
                    same(R"({"STA MAC address":{"a":{"b":[1,2]}},"Medium":{"c":"d"},"BH STA":[[]]})")),
        {"interfaces with a station each",
         [](std::size_t bytes) {
             return one_agent(radio("36", elements(bytes, [](std::size_t i) {
                                        return bss(mac("0b", i), R"({"STA MAC address":")" + mac("57", i) +
                                                                     R"(","BH STA":"No","Medium":"5G"})");
                                    })));
         }},
        {"interfaces {\"BSSID\"}",
         [](std::size_t bytes) { return one_agent(radio("36", repeated(bytes, R"({"BSSID":""})"))); }},
        list_of("radios {}", "Radio Info", "{}"),
        list_of("clients {}", "Other Clients Info", "{}"),
        list_of("clients null", "Other Clients Info", "null"),
        {"clients behind one interface",
         [](std::size_t bytes) {
             return one_agent(list("Other Clients Info", elements(bytes, [](std::size_t i) {
                                       return R"({"Client Address":")" + mac("e7", i) +
                                              R"(","1905 Intf address":"02:0a:00:00:00:01"})";
                                   })));
         }},
        list_of("backhauls {}", "BH Info", "{}"),
        list_of("backhauls null", "BH Info", "null"),
        list_of("links {}", "backhaul link metrics", "{}"),
        {"backhauls and links, all different",
         [](std::size_t bytes) {
             return one_agent(list("BH Info", elements(bytes / 2, backhaul("0c", "5G"))) + "," +
                              list("backhaul link metrics", elements(bytes / 2, link("0d"))));
         }},
        {"backhauls and links, each its own",
         [](std::size_t bytes) {
             return one_agent(list("BH Info", elements(bytes / 2, backhaul("0c", "Ethernet"))) + "," +
                              list("backhaul link metrics", elements(bytes / 2, link("0c"))));
         }},
        {"backhauls of one link",
         [](std::size_t bytes) {
             return one_agent(
                 list("BH Info", repeated(bytes, R"({"neighbor almac addr":"1","Backhaul Medium Type":"5G"})")) + "," +
                 list("backhaul link metrics", R"({"neighbor_al":"1","metrics":[{"neighbor_if_mac":"2:2:2:2:2:2"}]})"));
         }},
        {"backhauls of one link with a long MAC",
         [](std::size_t bytes) {
             return one_agent(list("BH Info", repeated(bytes / 2, R"({"neighbor almac addr":"1"})")) + "," +
                              list("backhaul link metrics", R"({"neighbor_al":"1","metrics":[{"neighbor_if_mac":")" +
                                                                std::string(bytes / 2, '0') + "\"}]}"));
         }},
        {"interfaces of one radio with a long channel",
         [](std::size_t bytes) {
             return one_agent(radio(std::string(bytes / 2, '0'), repeated(bytes / 2, R"({"BSSID":""})")));
         }},
        {"equal Agents",
         [](std::size_t bytes) {
             return Input{dump_of(elements(bytes, minimal_agent())), {}, {}, {}};
         }},
        {"topology {}",
         [](std::size_t bytes) {
             return Input{dump_of(repeated(bytes, "{}")), {}, {}, {}};
         }},
        {"equal Agents, one long report",
         [](std::size_t bytes) {
             return Input{dump_of(elements(bytes / 2, minimal_agent())),
                          {report(elements(bytes / 2, reported_station()))},
                          {},
                          {}};
         }},
        {"an Agent's stations and its long report",
         [](std::size_t bytes) {
             Input input = one_bss("36", elements(bytes / 2, [](std::size_t i) {
                                       return R"({"STA MAC address":")" + mac("57", i) + R"(","BH STA":"No"})";
                                   }));
             input.reports = {report(elements(bytes / 2, reported_station()))};
             return input;
         }},
        {"equal Agents, many reports",
         [](std::size_t bytes) {
             constexpr std::size_t kReport = 900;
             Input input{dump_of(elements(bytes / 2, minimal_agent())), {}, {}, {}};
             for (std::size_t size = 0; size < bytes / 2; size += kReport) {
                 input.reports.push_back(report(elements(kReport - 60, reported_station())));
             }
             return input;
         }},
        {"equal Agents, leases of their MAC",
         [](std::size_t bytes) {
             Input input{dump_of(elements(bytes / 2, minimal_agent())), {}, {}, {}};
             while (input.leases.size() < bytes / 2) {
                 input.leases += "1795262400 02:0a:00:00:00:01 10.0.0.3 agent 01:02:0a:00:00:00:01\n";
             }
             return input;
         }},
        {"members that nobody asks for",
         [](std::size_t bytes) {
             return one_bss("36", "{" + elements(bytes, [](std::size_t i) {
                                      return "\"Member " + std::to_string(i) + "\":1";
                                  }) + "}");
         }},
        {"one long text",
         [](std::size_t bytes) { return one_bss("36", R"({"Medium":")" + std::string(bytes, '5') + "\"}"); }},
        {"tokens of a block list",
         [](std::size_t bytes) {
             Input input = one_agent("\"x\":1");
             input.command = R"({"SrcAlMac":"1","Interface":"ra0","FilterMode":0,"FilterLists":")" +
                             repeated(bytes, "02-57-00-00-00-01") + "\"}";
             return input;
         }},
    };
}

}  // namespace

std::string dump_of(const std::string &agents) {
    return R"({"topology information":[{"AL MAC":"02:0a:00:00:00:00","Device role":"01"},)" + agents + "]}";
}

const std::vector<Shape> &shapes() {
    static const std::vector<Shape> all = make_shapes();
    return all;
}

}  // namespace hostile
