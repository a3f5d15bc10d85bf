#include <base/address.h>

#include <gtest/gtest.h>

TEST(Address, StandsBeforeItsPortAsInAUrl) {
    EXPECT_EQ("robot1:80", base::hostAndPort("robot1", 80));
    EXPECT_EQ("127.0.0.1:9559", base::hostAndPort("127.0.0.1", 9559));
    EXPECT_EQ("[::1]:80", base::hostAndPort("::1", 80));
    EXPECT_EQ("[fe80::1%eth0]:80", base::hostAndPort("fe80::1%eth0", 80));
}
