#include "reader/events.h"

#include <gmock/gmock.h>

#include "reader/words.h"
#include "tests/reader/inputs.h"

using reader::Band;
using reader::Event;
using reader::EventKind;
using reader::make_snapshot;
using reader::Snapshot;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// "roam 02:57:...", one for each.
std::vector<std::string> told(const Snapshot &before, const Snapshot &after) {
    std::vector<std::string> lines;
    for (const Event &event : reader::events(before, after)) {
        std::string line = std::string(word(event.kind)) + ' ' + event.mac.text();
        if (event.old_value) {
            line += ' ' + *event.old_value + " -> " + *event.new_value;
        }
        lines.push_back(line);
    }
    return lines;
}

class EventsTest : public testing::Test {
protected:
    Snapshot before_ = make_snapshot(two_agents());
    Snapshot after_ = before_;
    reader::Station &station(std::size_t place) { return after_.stations[place]; }
    reader::Device &device(std::size_t place) { return after_.devices[place]; }
};

TEST_F(EventsTest, NothingHappenedBetweenTheSame) { EXPECT_THAT(told(before_, after_), IsEmpty()); }

TEST_F(EventsTest, StationsJoinLeaveAndRoam) {
    station(0).device = mac("02:0b:00:00:00:01");
    station(0).signal = -71;
    after_.stations.erase(after_.stations.begin() + 2);
    before_.stations.erase(before_.stations.begin() + 4);
    EXPECT_THAT(told(before_, after_),
                ElementsAre("roam 02:57:00:00:00:01", "leave 02:57:00:00:00:03", "join 02:57:00:00:00:05"));
    const Event roam = reader::events(before_, after_)[0];
    EXPECT_TRUE(roam.is_station);
    EXPECT_EQ(roam.from->device, mac("02:0a:00:00:00:01"));
    EXPECT_EQ(roam.from->device_name, "Attic \"North\" \\ wing");
    EXPECT_EQ(roam.from->signal, -60);
    EXPECT_EQ(roam.to->device, mac("02:0b:00:00:00:01"));
    EXPECT_EQ(roam.to->signal, -71);
}

TEST_F(EventsTest, AnotherBandOfTheSameDeviceIsARoam) {
    station(0).band = Band::k5GHz;
    EXPECT_THAT(told(before_, after_), ElementsAre("roam 02:57:00:00:00:01"));
}

TEST_F(EventsTest, DevicesComeGoAndChange) {
    device(1).firmware = "1.0.3";
    device(1).name = "attic";
    device(1).address = "10.0.0.9";
    device(1).role = reader::Role::kController;
    device(2).parent = mac("02:00:00:00:00:01");
    device(2).medium = reader::Medium::k5GHz;
    EXPECT_THAT(told(before_, after_), ElementsAre("role 02:0a:00:00:00:01 agent -> controller",
                                                   "firmware 02:0a:00:00:00:01 1.0.2(A)b7 -> 1.0.3",
                                                   "name 02:0a:00:00:00:01 Attic \"North\" \\ wing -> attic",
                                                   "address 02:0a:00:00:00:01 192.168.1.21 -> 10.0.0.9",
                                                   "parent 02:0b:00:00:00:01 02:0a:00:00:00:01 -> 02:00:00:00:00:01",
                                                   "medium 02:0b:00:00:00:01 2.4 GHz -> 5 GHz"));
    Snapshot without = before_;
    without.devices.pop_back();
    EXPECT_THAT(told(before_, without), ElementsAre("down 02:0b:00:00:00:01"));
    EXPECT_THAT(told(without, before_), ElementsAre("up 02:0b:00:00:00:01"));
}

TEST_F(EventsTest, WhatIsUnknownHasNotChanged) {
    device(1).firmware.reset();
    device(1).name.reset();
    device(2).parent.reset();
    station(0).band.reset();
    before_.stations[1].name = "phone";
    EXPECT_THAT(told(before_, after_), IsEmpty());
    EXPECT_THAT(told(after_, before_), IsEmpty());
}

TEST_F(EventsTest, NamesAndAddressesOfStationsChange) {
    before_.stations[0].name = "phone";
    before_.stations[0].address = "10.0.0.1";
    station(0).name = "phone-anna";
    station(0).address = "10.0.0.2";
    EXPECT_THAT(told(before_, after_), ElementsAre("name 02:57:00:00:00:01 phone -> phone-anna",
                                                   "address 02:57:00:00:00:01 10.0.0.1 -> 10.0.0.2"));
}

// The dump went: its stations have not left.
TEST_F(EventsTest, StationsOfTheLocalDeviceAreComparedOnlyWhereBothMomentsKnowThem) {
    before_.stations[0].device = before_.devices[0].al_mac;
    after_.stations.erase(after_.stations.begin());
    after_.knows_local_stations = false;
    EXPECT_THAT(told(before_, after_), IsEmpty());
    EXPECT_THAT(told(after_, before_), IsEmpty());
    after_.knows_local_stations = true;
    EXPECT_THAT(told(before_, after_), ElementsAre("leave 02:57:00:00:00:01"));
}

// Seen from two gateways, each of which does not know its own.
TEST_F(EventsTest, AJoinIsOneOnlyWhereItIsKnownThatNobodyWasThere) {
    before_.stations.erase(before_.stations.begin());  // at the attic
    before_.devices[0].is_local = false;
    before_.devices[1].is_local = true;
    before_.knows_local_stations = false;
    EXPECT_THAT(told(before_, after_), IsEmpty());
    EXPECT_THAT(told(after_, before_), IsEmpty());
    before_.devices[1].is_local = false;
    EXPECT_THAT(told(before_, after_), ElementsAre("join 02:57:00:00:00:01"));
}

TEST_F(EventsTest, EveryKindHasItsWord) {
    for (int kind = 0; kind <= static_cast<int>(EventKind::kAddress); ++kind) {
        EXPECT_STRNE(word(static_cast<EventKind>(kind)), "");
    }
}

}  // namespace
