#include <base/listed.h>

#include <gtest/gtest.h>

#include <vector>

namespace base {
namespace {

TEST(Listed, SeparatesTextsByCommas) {
    EXPECT_EQ("", listed(std::vector<std::string>{}));
    EXPECT_EQ("a", listed(std::vector<std::string>{"a"}));
    EXPECT_EQ("a, b, c", listed(std::vector<std::string>{"a", "b", "c"}));
}

TEST(Listed, MakesTextsOfItems) {
    EXPECT_EQ("1, 2", listed(std::vector{1, 2}, [](int item) { return std::to_string(item); }));
}

}  // namespace
}  // namespace base
