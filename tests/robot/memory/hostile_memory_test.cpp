#include "memory/hostile_memory.h"

#include <robaxi/kv_error.h>

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <set>

using robot::HostileMemory;

namespace {

class HostileMemoryTest : public testing::Test {
  protected:
    KVValue value(const std::string& name) const { return fTable->getValue(name).fValue; }

    std::shared_ptr<KVMemoryModule> fModule = std::make_shared<KVMemoryModule>();
    std::shared_ptr<KVValueTable> fTable = fModule->getValues();
    HostileMemory fMemory{fModule};
};

TEST_F(HostileMemoryTest, servesMarkupControlCharactersAndLongTexts) {
    EXPECT_NE(value("Hostile/Text/Markup").toString().find("<h1>"), std::string::npos);
    EXPECT_NE(value("Hostile/Text/Control").toString().find('\0'), std::string::npos);
    EXPECT_EQ(value("Hostile/Text/Long").getSize(), 10'000'000);
    EXPECT_TRUE(std::isnan(value("Hostile/Number/NotANumber").toFloat()));
}

TEST_F(HostileMemoryTest, aTypeChangesAtEveryStepAndTakesEveryOne) {
    std::set<KVValue::Type> types;
    for (std::uint64_t step = 1; step <= 8; ++step) {
        const KVValue::Type before = value("Hostile/Type").type();
        fMemory.update(step);
        EXPECT_NE(value("Hostile/Type").type(), before);
        types.insert(value("Hostile/Type").type());
    }
    EXPECT_EQ(types.size(), 8U);
}

TEST_F(HostileMemoryTest, keysVanishAndReturn) {
    const std::uint32_t first = fTable->getValue("Hostile/Vanishing/0").fId;
    fMemory.update(2);
    EXPECT_THROW(value("Hostile/Vanishing/0"), KVError);
    fMemory.update(4);
    EXPECT_NE(fTable->getValue("Hostile/Vanishing/0").fId, first);
}

}  // namespace
