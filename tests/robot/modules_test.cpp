#include "modules.h"

#include <robaxi/kv_error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class ModulesTest : public testing::Test {
  protected:
    static KVError errorOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const KVError& error) {
            return error;
        }
        throw std::logic_error("nothing was refused");
    }

    KVValue value(const std::string& key) const {
        return fMemory->getValues()->getValue(key).fValue;
    }

    std::shared_ptr<KVMemoryModule> fMemory = std::make_shared<KVMemoryModule>();
};

TEST_F(ModulesTest, ledsPassTheDurationOn) {
    std::vector<double> durations;
    const auto leds =
        robot::makeLedsModule([&](double duration) { durations.push_back(duration); });
    EXPECT_EQ(leds->getName(), "KVLeds");
    leds->invoke("rasta", {1.5F});
    leds->invoke("rasta", {2});
    EXPECT_THAT(durations, ElementsAre(1.5, 2));
    EXPECT_EQ(errorOf([&] { leds->invoke("rasta", {"long"}); }).cause(),
              KVError::Cause::WrongArguments);
}

TEST_F(ModulesTest, clipboardIsKeptCountedAndShown) {
    std::vector<std::string> shown;
    const auto ballamor =
        robot::makeBallamorModule(fMemory, [&](const std::string& text) { shown.push_back(text); });
    EXPECT_EQ(ballamor->getName(), "KVBallamor");
    EXPECT_EQ(value("Ballamor/Clipboard"), KVValue(""));
    ballamor->invoke("sendClipboard", {"one"});
    ballamor->invoke("sendClipboard", {"two\nlines"});
    EXPECT_EQ(value("Ballamor/Clipboard"), KVValue("two\nlines"));
    EXPECT_EQ(value("Ballamor/ClipboardCount"), KVValue(2));
    EXPECT_THAT(shown, ElementsAre("one", "two\nlines"));
}

TEST_F(ModulesTest, clipboardTakesAnyBytesUpToItsLimit) {
    const auto ballamor = robot::makeBallamorModule(fMemory, [](const std::string&) {});
    ballamor->invoke("sendClipboard", {std::string(robot::a_longestClipboard, 'x')});
    EXPECT_THAT(errorOf([&] {
                    ballamor->invoke("sendClipboard",
                                     {std::string(robot::a_longestClipboard + 1, 'y')});
                }).toString(),
                HasSubstr("at most 4096 bytes, not 4097"));
    EXPECT_EQ(value("Ballamor/ClipboardCount"), KVValue(1));
    ballamor->invoke("sendClipboard", {"\xff"});
    EXPECT_EQ(value("Ballamor/Clipboard"), KVValue("\xef\xbf\xbd"));
}

}  // namespace
