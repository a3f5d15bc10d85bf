#include <base/address.h>

#include <gtest/gtest.h>

TEST(Address, StandsBeforeItsPortAsInAUrl) {
    EXPECT_EQ("robot1:80", base::hostAndPort("robot1", 80));
    EXPECT_EQ("127.0.0.1:9559", base::hostAndPort("127.0.0.1", 9559));
    EXPECT_EQ("[::1]:80", base::hostAndPort("::1", 80));
    EXPECT_EQ("[fe80::1%eth0]:80", base::hostAndPort("fe80::1%eth0", 80));
}

TEST(Address, IsOfOneOfTwoKinds) {
    EXPECT_TRUE(base::isIPv4("10.77.1.1"));
    EXPECT_TRUE(base::isIPv6("fe80::1"));
    for (const std::string other : {"", "robot1", "10.77.1", "10.77.1.256", "fe80::1%eth0"}) {
        EXPECT_FALSE(base::isIPv4(other)) << other;
        EXPECT_FALSE(base::isIPv6(other)) << other;
    }
}

TEST(Address, IsKnownFromNames) {
    for (const std::string address : {"10.77.1.1", "::1", "fe80::1%eth0"}) {
        EXPECT_TRUE(base::isAddress(address)) << address;
    }
    for (const std::string name : {"robot1", "10.77.1", "10.77.1.1.local", "10.77.1.256", "cafe"}) {
        EXPECT_FALSE(base::isAddress(name)) << name;
    }
}

TEST(Address, TellsThisMachineFromOthers) {
    EXPECT_TRUE(base::isLoopback("127.0.0.1"));
    EXPECT_TRUE(base::isLoopback("127.1.2.3"));
    EXPECT_TRUE(base::isLoopback("::1"));
    for (const std::string other : {"", "1270.0.0.1", "10.127.0.1", "::", "::1%lo"}) {
        EXPECT_FALSE(base::isLoopback(other)) << other;
    }
}
