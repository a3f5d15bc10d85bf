#include "server/rpc_load.h"

#include <gtest/gtest.h>

using robaxi::RpcLoad;

TEST(RpcLoad, BoundsTheRpcsOfAnAddressAndOfAll) {
    RpcLoad load(2, 100);
    for (const char* address : {"a", "b"}) {
        EXPECT_TRUE(load.add(address, 0));
        EXPECT_TRUE(load.add(address, 0));
        EXPECT_FALSE(load.add(address, 0));
    }
    EXPECT_FALSE(load.add("c", 0)) << "the total is twice the limit of an address";
    load.remove("a", 0);
    EXPECT_TRUE(load.add("c", 0));
    EXPECT_FALSE(load.add("a", 0));
}

TEST(RpcLoad, BoundsTheBytesOfAnAddressAndOfAll) {
    RpcLoad load(9, 100);
    EXPECT_TRUE(load.add("a", 100));
    EXPECT_FALSE(load.add("a", 1));
    EXPECT_TRUE(load.add("b", 90));
    EXPECT_FALSE(load.add("c", 11));
    EXPECT_TRUE(load.add("c", 10));
    load.remove("a", 100);
    EXPECT_TRUE(load.add("c", 90));
}

TEST(RpcLoad, DoesNotKeepOthersOutForResultsAboveTheLimitOfAnAddress) {
    RpcLoad load(9, 100);
    EXPECT_TRUE(load.add("a", 10));
    load.grow("a", 90);
    EXPECT_TRUE(load.hasRoom("a"));
    load.grow("a", 1000);
    EXPECT_FALSE(load.hasRoom("a"));
    EXPECT_FALSE(load.add("a", 0));
    EXPECT_TRUE(load.hasRoom("b"));
    EXPECT_TRUE(load.add("b", 100));
    load.remove("a", 1100);
    EXPECT_TRUE(load.add("a", 100));
}
