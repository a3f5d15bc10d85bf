#include "network/target.h"

#include "process/failure.h"

#include <gtest/gtest.h>

namespace robaxi_tool {
namespace {

void expectTarget(const std::string& text, const std::string& host, std::optional<int> port) {
    const Target target = parseTarget(text);
    EXPECT_EQ(host, target.fHost) << text;
    EXPECT_EQ(port, target.fPort) << text;
}

TEST(Target, HostAloneOrWithPort) {
    expectTarget("robot1", "robot1", std::nullopt);
    expectTarget("robot1:80", "robot1", 80);
    expectTarget("robot1.local:65535", "robot1.local", 65535);
    expectTarget("10.77.1.1:9559", "10.77.1.1", 9559);
    expectTarget("Marie's robot", "Marie's robot", std::nullopt);
}

TEST(Target, Ipv6AddressesAreBareOrInBrackets) {
    expectTarget("fe80::1", "fe80::1", std::nullopt);
    expectTarget("fe80::1%eth0", "fe80::1%eth0", std::nullopt);
    expectTarget("::1", "::1", std::nullopt);
    expectTarget("[::1]", "::1", std::nullopt);
    expectTarget("[fe80::1%eth0]:80", "fe80::1%eth0", 80);
}

TEST(Target, WhatCannotBeAHostIsRefused) {
    for (const std::string wrong :
         {"", ":80", "robot1:", "robot1:0", "robot1:65536", "robot1:-1", "robot1:+80", "robot1:80x",
          "[::1", "[]", "[robot1]:80", "[10.77.1.1]", "[::1]80", "[::1]:", "a:b:80", "robot:1:80",
          "1:2:3:4:5:6:7:8:80"}) {
        EXPECT_THROW(parseTarget(wrong), UsageError) << wrong;
    }
    EXPECT_THROW(parseTarget(std::string(256, 'a')), UsageError);
}

}  // namespace
}  // namespace robaxi_tool
