#include "modules.h"

#include <robaxi/kv_error.h>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class ModulesTest : public testing::Test {
  protected:
    void addKey(const std::string& name, const KVValue& value, bool writable = false) {
        KVKeyInfo key;
        key.fName = name;
        key.fWritable = writable;
        fTable->addKey(key, value);
    }

    static KVError errorOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const KVError& error) {
            return error;
        }
        throw std::logic_error("nothing was refused");
    }

    boost::shared_ptr<KVValueTable> fTable = boost::make_shared<KVValueTable>();
};

TEST_F(ModulesTest, memoryGivesValuesAndNames) {
    addKey("A/One", 1);
    addKey("A/Two", "two");
    addKey("B/One", true);
    const auto memory = robot::makeMemoryModule(fTable);
    EXPECT_EQ(memory->getName(), "KVMemory");
    EXPECT_TRUE(memory->getInfo().fHasValues);
    EXPECT_EQ(memory->invoke("getData", {"A/Two"}), KVValue("two"));
    EXPECT_EQ(memory->invoke("getDataList", {"A/"}), KVValue(KVValue::List{"A/One", "A/Two"}));
    EXPECT_EQ(memory->invoke("getDataList", {""}).toList().size(), 3U);
    EXPECT_EQ(memory->invoke("getDataList", {"C"}).toList().size(), 0U);
    EXPECT_THROW(memory->invoke("getData", {"A/Three"}), KVError);
    EXPECT_THROW(memory->invoke("getData", {1}), KVError);
}

TEST_F(ModulesTest, memorySetsWhatCanBeWrittenAndRefusesWithAReason) {
    addKey("Fixed", 1);
    addKey("Free", 1.5, true);
    std::vector<std::string> written;
    fTable->setWriteHandler([&](const std::string& name, const KVValue& value) {
        if (value.toFloat() > 10) {
            throw std::runtime_error("that is too much");
        }
        written.push_back(name);
    });
    const auto memory = robot::makeMemoryModule(fTable);
    memory->invoke("setData", {"Free", 2.5});
    EXPECT_EQ(memory->invoke("getData", {"Free"}), KVValue(2.5));
    EXPECT_THAT(written, ElementsAre("Free"));
    EXPECT_THAT(errorOf([&] {
                    memory->invoke("setData", {"Free", 11.0});
                }).toString(),
                HasSubstr("that is too much"));
    EXPECT_THAT(errorOf([&] {
                    memory->invoke("setData", {"Fixed", 2});
                }).toString(),
                HasSubstr("Fixed"));
    EXPECT_EQ(memory->invoke("getData", {"Free"}), KVValue(2.5));
    EXPECT_EQ(memory->invoke("getData", {"Fixed"}), KVValue(1));
}

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
        robot::makeBallamorModule(fTable, [&](const std::string& text) { shown.push_back(text); });
    EXPECT_EQ(ballamor->getName(), "KVBallamor");
    EXPECT_EQ(fTable->getValue("Ballamor/Clipboard").fValue, KVValue(""));
    ballamor->invoke("sendClipboard", {"one"});
    ballamor->invoke("sendClipboard", {"two\nlines"});
    EXPECT_EQ(fTable->getValue("Ballamor/Clipboard").fValue, KVValue("two\nlines"));
    EXPECT_EQ(fTable->getValue("Ballamor/ClipboardCount").fValue, KVValue(2));
    EXPECT_THAT(shown, ElementsAre("one", "two\nlines"));
}

TEST_F(ModulesTest, clipboardTakesAnyBytesUpToItsLimit) {
    const auto ballamor = robot::makeBallamorModule(fTable, [](const std::string&) {});
    ballamor->invoke("sendClipboard", {std::string(robot::a_longestClipboard, 'x')});
    EXPECT_THAT(errorOf([&] {
                    ballamor->invoke("sendClipboard",
                                     {std::string(robot::a_longestClipboard + 1, 'y')});
                }).toString(),
                HasSubstr("at most 4096 bytes, not 4097"));
    EXPECT_EQ(fTable->getValue("Ballamor/ClipboardCount").fValue, KVValue(1));
    ballamor->invoke("sendClipboard", {"\xff"});
    EXPECT_EQ(fTable->getValue("Ballamor/Clipboard").fValue, KVValue("\xef\xbf\xbd"));
}

}  // namespace
