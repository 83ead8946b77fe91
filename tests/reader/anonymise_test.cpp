#include "reader/anonymise.h"

#include <gmock/gmock.h>

#include "reader/snapshot.h"
#include "tests/reader/inputs.h"

using reader::Anonymiser;
using reader::Inputs;
using testing::HasSubstr;
using testing::Not;

namespace {

Inputs named() {
    Inputs inputs = two_agents();
    inputs.leases = input_of("leases",
                             "1700003600 02:57:00:00:00:01 192.168.1.101 annas-phone 01:02:57:00:00:00:01\n"
                             "1700003600 02:0b:00:00:00:01 fe80::1 * *\n"
                             "duid 00:01:00:01:2c:annas-secret\n");
    return inputs;
}

// What of a mesh does not depend on what anybody is called.
std::vector<std::string> shape(const reader::Snapshot &snapshot) {
    std::vector<std::string> lines;
    for (const reader::Device &device : snapshot.devices) {
        const reader::Device *parent = device.parent ? snapshot.find_device(*device.parent) : nullptr;
        std::size_t stations = 0;
        for (const reader::Station &station : snapshot.stations) {
            stations += station.device == device.al_mac ? 1 : 0;
        }
        lines.push_back(std::to_string(device.hops.value_or(99)) + '/' + std::to_string(device.signal.value_or(0)) +
                        '/' + std::to_string(device.interfaces.size()) + '/' + std::to_string(stations) + '/' +
                        (parent != nullptr ? std::to_string(parent->hops.value_or(99)) : "-"));
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST(Anonymise, TheTreeHoldsTogether) {
    Inputs inputs = named();
    const reader::Snapshot before = reader::make_snapshot(inputs);
    Anonymiser anonymiser;
    anonymiser.anonymise(inputs);
    const reader::Snapshot after = reader::make_snapshot(inputs);
    EXPECT_EQ(shape(after), shape(before));
    EXPECT_EQ(after.stations.size(), before.stations.size());
    EXPECT_TRUE(after.missing.empty());
    const auto *phone = after.find_station(mac(anonymiser.mac(mac("02:57:00:00:00:01"))));
    ASSERT_NE(phone, nullptr);
    EXPECT_EQ(phone->name, anonymiser.name("annas-phone", "station"));
    EXPECT_EQ(phone->signal, -60);
    EXPECT_TRUE(phone->interface_name) << "the lists are about the same MACs";
}

TEST(Anonymise, NothingThatTellsWhoseItIsStays) {
    Inputs inputs = named();
    inputs.model.text.replace(inputs.model.text.find("(null)"), 6, "my-secret-key");
    // Fields of a firmware that nobody has heard of.
    inputs.dump.text.insert(
        1, R"("Location": "Hauptstrasse 5", "Serial": {"Number": ["SN123", 17]}, "a4:83:e7:12:34:56": {"Anna": 1}, )");
    Anonymiser anonymiser;
    anonymiser.anonymise(inputs);
    EXPECT_THAT(anonymiser.summary(), HasSubstr("; left out: 6"))
        << "the password, the three, and two texts in place of lists of stations";
    EXPECT_EQ(inputs.anonymous, anonymiser.id());
    for (const reader::Input *input :
         {&inputs.model, &inputs.dump, &inputs.leases, &inputs.list_24g, &inputs.list_5g}) {
        for (const char *real : {"02:57:00", "02:0a:00", "02:0b:00", "02:00:00:00:00:01", "Attic", "annas", "192.168.",
                                 "fe80::1", "my-secret-key", "Hauptstrasse", "SN123", "a4:83", "Anna"}) {
            EXPECT_THAT(input->text, Not(HasSubstr(real))) << input->file;
        }
    }
    EXPECT_THAT(inputs.model.text, HasSubstr("1.0.2(A)b7")) << "the firmware is what a ticket is about";
    EXPECT_THAT(inputs.leases.text, testing::StartsWith("1700003600 02:00:5e:"));
    EXPECT_EQ(std::count(inputs.leases.text.begin(), inputs.leases.text.end(), '\n'), 2);
}

TEST(Anonymise, TheSameBecomesTheSameInTheNextBundle) {
    Inputs one = named();
    Inputs other = named();
    Anonymiser first, second;
    first.anonymise(one);
    ASSERT_TRUE(second.load_table(first.table()));
    // Another order of things changes nothing.
    (void)second.mac(mac("02:99:00:00:00:01"));
    second.anonymise(other);
    EXPECT_EQ(other.model.text, one.model.text);
    EXPECT_EQ(other.leases.text, one.leases.text);
    EXPECT_EQ(other.anonymous, one.anonymous);
    EXPECT_NE(Anonymiser().id(), first.id());
    EXPECT_NE(second.mac(mac("02:99:00:00:00:01")), second.mac(mac("02:57:00:00:00:01")));
}

TEST(Anonymise, ATableThatIsNoneIsRefused) {
    Anonymiser anonymiser;
    EXPECT_FALSE(anonymiser.load_table(""));
    EXPECT_FALSE(anonymiser.load_table("[]"));
    EXPECT_FALSE(anonymiser.load_table("{\"schema\": 2, \"id\": \"a\"}"));
    EXPECT_FALSE(anonymiser.load_table("{\"schema\": 1}"));
    EXPECT_TRUE(anonymiser.load_table("{\"schema\": 1, \"id\": \"a\", \"macs\": [3], \"names\": {\"a\": 3}}"));
    EXPECT_EQ(anonymiser.id(), "a");
}

TEST(Anonymise, MacsKeepWhetherTheyAreRandomAndAreNeverMixedUp) {
    Anonymiser anonymiser;
    EXPECT_EQ(anonymiser.mac(mac("02:57:00:00:00:01")), "02:00:5e:00:00:01");
    EXPECT_EQ(anonymiser.mac(mac("00:57:00:00:00:01")), "00:00:5e:00:00:02");
    EXPECT_EQ(anonymiser.mac(mac("ff:ff:ff:ff:ff:ff")), "ff:ff:ff:ff:ff:ff");
    EXPECT_EQ(anonymiser.name("Unknown", "device"), "Unknown");
    EXPECT_EQ(anonymiser.address("10.1.2.3"), "198.18.0.1");
    EXPECT_EQ(anonymiser.address("fd00::1"), "2001:db8::0:0:2");
}

TEST(Anonymise, WhatCannotBeUnderstoodIsLeftOut) {
    for (const std::string &text : {std::string("no JSON"), std::string(2000, '['), std::string()}) {
        Inputs inputs = named();
        inputs.dump.text = text;
        Anonymiser().anonymise(inputs);
        ASSERT_TRUE(inputs.dump.problem) << text.size();
        EXPECT_THAT(inputs.dump.problem->reason,
                    testing::Eq("left out, because it cannot be made anonymous: it is no JSON, or nested too deeply"));
        EXPECT_EQ(inputs.dump.text, "");
    }
}

TEST(WithoutPassword, OnlyItsValueGoes) {
    EXPECT_EQ(reader::without_password("{\"Password\": \"a\\\"b\",\n\"Other\": \"x\"}"),
              "{\"Password\": \"\",\n\"Other\": \"x\"}");
    EXPECT_EQ(reader::without_password("{\"Password\" :\n3, \"x\": 1}"), "{\"Password\" :\n\"\", \"x\": 1}");
    EXPECT_EQ(reader::without_password("\"Password\""), "\"Password\"");
    EXPECT_EQ(reader::without_password("[\"Password\", \"x\"]"), "[\"Password\", \"x\"]");
    EXPECT_EQ(reader::without_password("\"Password\": \"cut"), "\"Password\": \"\"");
    EXPECT_EQ(reader::without_password("\"Password\": \"cut\\"), "\"Password\": \"\"");
}

}  // namespace
