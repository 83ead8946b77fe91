#include "reader/json_form.h"

#include <gtest/gtest.h>

#include "tests/reader/inputs.h"

using nlohmann::json;
using reader::make_snapshot;
using reader::Snapshot;

namespace {

TEST(JsonForm, OfADeviceHasWhatIsKnownAndNothingElse) {
    const Snapshot snapshot = make_snapshot(two_agents());
    const json cellar = reader::to_json(snapshot.devices[2]);
    EXPECT_EQ(cellar, json::parse(R"json({
        "al_mac": "02:0b:00:00:00:01", "local": false, "role": "agent", "parent": "02:0a:00:00:00:01", "hops": 2,
        "medium": "2.4 GHz", "signal": -52, "interfaces": [
            {"mac": "02:0b:00:00:00:01", "media_type": "IEEE 802.3u(IEEE 802.3u Fast Ethernet)", "use": "other"},
            {"mac": "02:0b:00:00:00:0c", "media_type": "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))", "band": "5 GHz",
             "use": "uplink"},
            {"mac": "02:0b:00:00:06:00", "media_type": "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))", "band": "2.4 GHz",
             "use": "bss"},
            {"mac": "02:0b:00:00:95:00", "media_type": "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))", "band": "5 GHz",
             "use": "bss"}],
        "neighbours": [{"al_mac": "02:0a:00:00:00:01", "medium": "2.4 GHz", "signal": -52}]})json"));
}

TEST(JsonForm, OfAStation) {
    Snapshot snapshot = make_snapshot(two_agents());
    snapshot.stations[0].name = "phone\n\"";
    EXPECT_EQ(json(reader::to_json(snapshot.stations[0])), json::parse(R"({
        "mac": "02:57:00:00:00:01", "device": "02:0a:00:00:00:01", "name": "phone\n\"", "interface": "02:0a:00:00:06:00",
        "interface_name": "ra0", "band": "2.4 GHz", "signal": -60, "rate": 72, "wired": false, "random_mac": true})"));
    EXPECT_EQ(json(reader::to_json(snapshot.stations[5])), json::parse(R"({
        "mac": "02:e7:00:00:00:01", "device": "02:0a:00:00:00:01", "interface": "02:0a:00:00:00:01", "wired": true,
        "random_mac": true})"));
}

TEST(JsonForm, OfASnapshotTellsWhereAndWhenItIsFrom) {
    const json snapshot = reader::to_json(make_snapshot(two_agents()));
    EXPECT_EQ(snapshot["schema"], 1);
    EXPECT_EQ(snapshot["source"], "test");
    EXPECT_EQ(snapshot["time"], "2023-11-14T22:14:02Z");
    EXPECT_EQ(snapshot["read_at"], "2023-11-14T22:14:12Z");
    EXPECT_EQ(snapshot["age"], 10.0);
    EXPECT_EQ(
        snapshot["missing"],
        json::parse(
            R"([{"part": "leases", "file": "dnsmasq.leases", "kind": "missing", "reason": "No such file or directory"}])"));
    EXPECT_EQ(snapshot["devices"].size(), 3U);
    EXPECT_EQ(snapshot["stations"].size(), 8U);
}

TEST(JsonForm, OfAnEvent) {
    const Snapshot before = make_snapshot(two_agents());
    Snapshot after = before;
    after.stations[0].device = mac("02:0b:00:00:00:01");
    after.devices[1].firmware = "1.0.3";
    const auto events = reader::events(before, after);
    EXPECT_EQ(json(reader::to_json(events[0])), json::parse(R"({
        "schema": 1, "event": "firmware", "time": "2023-11-14T22:14:02Z", "device": "02:0a:00:00:00:01",
        "name": "Attic \"North\" \\ wing", "old": "1.0.2(A)b7", "new": "1.0.3"})"));
    EXPECT_EQ(json(reader::to_json(events[1])), json::parse(R"({
        "schema": 1, "event": "roam", "time": "2023-11-14T22:14:02Z", "station": "02:57:00:00:00:01",
        "from": {"device": "02:0a:00:00:00:01", "device_name": "Attic \"North\" \\ wing", "band": "2.4 GHz",
                 "signal": -60, "wired": false},
        "to": {"device": "02:0b:00:00:00:01", "band": "2.4 GHz", "signal": -60, "wired": false}})"));
}

}  // namespace
