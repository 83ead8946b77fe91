#include "reader/lists.h"

#include <gtest/gtest.h>

using reader::InterfaceNames;
using reader::Leases;
using reader::Mac;

namespace {

const Mac kPhone = *Mac::parse("02:57:00:00:00:01");
const Mac kTv = *Mac::parse("02:57:00:00:00:02");

TEST(Leases, TellNameAndAddressByMac) {
    const Leases leases = reader::parse_leases(
        "1795262460 02:57:00:00:00:01 192.168.1.101 phone 01:02:57:00:00:00:01\n"
        "1795262460 02:57:00:00:00:02 192.168.1.102 * *\r\n");
    ASSERT_EQ(leases.size(), 2U);
    EXPECT_EQ(leases.at(kPhone).address, "192.168.1.101");
    EXPECT_EQ(leases.at(kPhone).name, "phone");
    EXPECT_EQ(leases.at(kTv).name, std::nullopt) << "it gave none";
}

TEST(Leases, TheFirstLineOfAMacCounts) {
    const Leases leases =
        reader::parse_leases("1 02:57:00:00:00:01 10.0.0.1 one *\n1 02:57:00:00:00:01 10.0.0.2 two *\n");
    EXPECT_EQ(leases.at(kPhone).name, "one");
}

TEST(Leases, LinesOfAnotherFormArePassedOver) {
    const Leases leases = reader::parse_leases(
        "duid 00:01:00:01:2c:aa\n1795262460 16807 fd00::5 phone 00:01\n\n \t\n1 02:57:00:00:00:01\nno line at all");
    EXPECT_TRUE(leases.empty());
    EXPECT_TRUE(reader::parse_leases("1 02:57:00:00:00:01 10.0.0.1 cut").empty()) << "it was being written";
}

TEST(Leases, ANameThatIsNoUtf8BecomesSome) {
    const Leases leases = reader::parse_leases("1 02:57:00:00:00:01 10.0.0.1 caf\xe9 *\n");
    EXPECT_EQ(leases.at(kPhone).name, "caf\xef\xbf\xbd");
}

TEST(AssociationLists, TellTheNameOfTheInterface) {
    InterfaceNames names;
    reader::parse_list("02:57:00:00:00:01         866   -52     0      0     rai0 0 0 149\n02:57:00:00:00:02 1 2 3\n",
                       names);
    reader::parse_list("02:57:00:00:00:01          65   -61     0      0      ra0 0 0 6\n", names);
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(names.at(kPhone), "rai0");
}

}  // namespace
