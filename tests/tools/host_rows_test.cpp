#include "network/host_rows.h"

#include <gtest/gtest.h>

namespace robaxi_tool {
namespace {

AnnouncedHost host(const std::string& hostName, const std::vector<KV::BonjourService>& services,
                   const std::vector<std::string>& addresses) {
    AnnouncedHost announced;
    announced.fHostName = hostName;
    announced.fServices = services;
    announced.fAddresses = addresses;
    return announced;
}

const KV::BonjourService a_robot{"_robax._tcp", 9559, "Walker"};

std::string linesOf(const AnnouncedHost& announced) {
    std::string lines;
    for (const HostRow& row : rowsOf(announced)) {
        lines += jsonOfRow(row);
    }
    return lines;
}

TEST(HostRows, ARobotWithItsMiddlewareIsOneRow) {
    EXPECT_EQ(R"({"name":"robot1","host":"robot1.local","address":"10.77.1.1","port":7000,)"
              R"("kind":"robot","announced":"Walker of Marie"})"
              "\n",
              linesOf(host("robot1.local", {{"_robaxi._tcp", 7000, "Walker of Marie"}, a_robot},
                           {"10.77.1.1", "fe80::1"})));
}

TEST(HostRows, EachMiddlewareOfAComputerIsARow) {
    EXPECT_EQ(
        R"({"name":"desk","host":"desk.local","address":"10.0.0.1","port":1,)"
        R"("kind":"computer","announced":"north"})"
        "\n"
        R"({"name":"desk","host":"desk.local","address":"10.0.0.1","port":2,)"
        R"("kind":"computer","announced":"south"})"
        "\n",
        linesOf(host("desk.local", {{"_robaxi._tcp", 1, "north"}, {"_robaxi._tcp", 2, "south"}},
                     {"10.0.0.1"})));
}

TEST(HostRows, WhatIsNotKnownIsNull) {
    EXPECT_EQ(R"({"name":"robot1","host":"robot1.local","address":null,"port":null,)"
              R"("kind":"robot","announced":"Walker"})"
              "\n",
              linesOf(host("robot1.local", {a_robot}, {})));
}

TEST(HostRows, TheTextHasTheColumnsOfItsHeading) {
    const auto rows =
        rowsOf(host("robot1.local", {a_robot, {"_robaxi._tcp", 9559, "Marie"}}, {"10.77.1.1"}));
    ASSERT_EQ(1U, rows.size());
    const std::string line = textOfRow(rows[0]);
    EXPECT_EQ("robot1                   10.77.1.1        9559   robot    Marie\n", line);
    for (const auto& [heading, value] :
         std::vector<std::pair<std::string, std::string>>{{"NAME", "robot1"},
                                                          {"ADDRESS", "10."},
                                                          {"PORT", "9559"},
                                                          {"KIND", "robot "},
                                                          {"ANNOUNCED AS", "Marie"}}) {
        EXPECT_EQ(rowHeader().find(heading), line.find(value)) << heading;
    }
    const std::string unknown = textOfRow(rowsOf(host("robot1.local", {a_robot}, {})).front());
    EXPECT_EQ("robot1                   -                -      robot    Walker\n", unknown);
}

TEST(HostRows, NamesOfTheNetworkCannotReachTheTerminal) {
    const AnnouncedHost evil = host("\x1b[2Jevil\xc2\x9b.local", {a_robot}, {});
    for (const HostRow& row : rowsOf(evil)) {
        EXPECT_EQ(0U, textOfRow(row).find("\\u001b[2Jevil\\u009b "));
        EXPECT_EQ(std::string::npos, jsonOfRow(row).find('\x1b'));
    }
}

}  // namespace
}  // namespace robaxi_tool
