#include "support/binary_value.h"
#include "test_broker.h"

#include <robaxi/kv_proxy.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

using namespace robaxi_test;
using obvista_test::binaryValue;

namespace {

/** Returns lists nested `depth` deep. */
KVValue nested(int depth) {
    KVValue value = "core";
    for (int i = 0; i < depth; ++i) {
        value = i % 2 == 0 ? KVValue(KVValue::List{value}) : KVValue(KVValue::Map{{"in", value}});
    }
    return value;
}

class RoundTrip : public testing::Test {
  protected:
    KVValue echo(const KVValue& value) { return fProxy->callValue("echo", {value}); }

    BrokerPtr fServer = makeServer();
    std::unique_ptr<KVProxy> fProxy = [this] {
        fServer->addModule(makeEcho());
        return std::make_unique<KVProxy>("Echo", a_loopback, fServer->getPort(), makeClient(),
                                         a_timeOut, 0);
    }();
};

}  // namespace

TEST_F(RoundTrip, KeepsEveryTypeAndItsLimits) {
    const std::string latin1 = "caf\xE9 \xFF";
    const KVValue values[] = {
        KVValue(),
        true,
        false,
        0,
        std::numeric_limits<std::int64_t>::min(),
        std::numeric_limits<std::int64_t>::max(),
        0.1,
        std::numeric_limits<double>::denorm_min(),
        std::numeric_limits<double>::max(),
        HUGE_VAL,
        -HUGE_VAL,
        std::nan(""),
        "",
        "schön",
        std::string("a\0b", 3),
        latin1,
        binaryValue(""),
        binaryValue(std::string("\0\x01\xFF", 3)),
        KVValue::List{},
        KVValue::Map{},
        KVValue::List{KVValue(), true, 1, 2.5, "text", binaryValue("b"), KVValue::List{1}},
        KVValue::Map{{"", 1}, {latin1, 2}, {"deep", KVValue::Map{{"list", KVValue::List{}}}}},
    };
    for (const KVValue& value : values) {
        EXPECT_EQ(echo(value), value) << KVValue::typeName(value.type());
    }
}

TEST_F(RoundTrip, KeepsTheSignOfZero) {
    EXPECT_TRUE(std::signbit(echo(-0.0).toFloat()));
    EXPECT_FALSE(std::signbit(echo(0.0).toFloat()));
}

TEST_F(RoundTrip, KeepsSeveralArguments) {
    auto module = std::shared_ptr<KVModule>(new KVModule("Sum", ""));
    using Type = KVValue::Type;
    module->bindMethod({"sum", "", ""}, {Type::Int, Type::Float, Type::String},
                       [](const KVValue::List& a) {
                           return a[0].toFloat() + a[1].toFloat() + std::stod(a[2].toString());
                       });
    fServer->addModule(module);
    KVProxy proxy("Sum", a_loopback, fServer->getPort(), makeClient(), a_timeOut, 0);
    EXPECT_EQ(proxy.call<double>("sum", 1, 2.5, std::string("3")), 6.5);
}

TEST_F(RoundTrip, CarriesFiveMebibytes) {
    std::string content(std::size_t{5} * 1024 * 1024, '\0');
    for (std::size_t i = 0; i < content.size(); ++i) {
        content[i] = static_cast<char>(i * 31 + i / 251);
    }
    EXPECT_TRUE(echo(binaryValue(content)) == binaryValue(content));
}

TEST_F(RoundTrip, CarriesAlmostSixteenMebibytesAndRefusesMore) {
    const std::size_t limit = std::size_t{16} * 1024 * 1024;
    EXPECT_EQ(echo(std::string(limit - 200, 'x')).getSize(), static_cast<int>(limit - 200));
    const KVError error = errorOf([&] { echo(std::string(limit, 'x')); });
    EXPECT_CAUSE(error, TooLarge);
    EXPECT_NE(error.toString().find("larger than the limit"), std::string::npos)
        << error.toString();
    EXPECT_EQ(echo(1), KVValue(1)) << "the connection does not suffer from it";
}

TEST_F(RoundTrip, RefusesAResultThatIsTooLarge) {
    auto module = std::shared_ptr<KVModule>(new KVModule("Big", ""));
    module->bindMethod({"twice", "", ""}, {KVValue::Type::String}, [](const KVValue::List& a) {
        return KVValue(a[0].toString() + a[0].toString());
    });
    fServer->addModule(module);
    KVProxy proxy("Big", a_loopback, fServer->getPort(), makeClient(), a_timeOut, 0);
    const std::string half(std::size_t{9} * 1024 * 1024, 'x');
    EXPECT_CAUSE(errorOf([&] { proxy.callValue("twice", {half}); }), TooLarge);
    EXPECT_EQ(proxy.callValue("twice", {"ab"}), KVValue("abab"));
}

TEST_F(RoundTrip, CarriesSixtyFourLevelsAndRefusesMore) {
    EXPECT_EQ(echo(nested(64)), nested(64));
    const KVError error = errorOf([&] { echo(nested(65)); });
    EXPECT_CAUSE(error, InvalidArgument);
    EXPECT_NE(error.toString().find("nested too deep"), std::string::npos) << error.toString();
    EXPECT_CAUSE(errorOf([&] { echo(nested(300)); }), InvalidArgument);
}

TEST_F(RoundTrip, ConvertsTheResultToTheTypeAskedFor) {
    EXPECT_EQ(fProxy->call<double>("echo", 3), 3.0);
    EXPECT_EQ(fProxy->call<bool>("echo", true), true);
    EXPECT_EQ(fProxy->call<KVValue::List>("echo", KVValue::List{1, 2}).size(), 2U);
    EXPECT_EQ(fProxy->call<KVValue::Map>("echo", KVValue::Map{{"a", 1}}).size(), 1U);
    EXPECT_CAUSE(errorOf([&] { fProxy->call<std::string>("echo", 1); }), WrongType);
    EXPECT_CAUSE(errorOf([&] { fProxy->call<int>("echo", std::int64_t{1} << 40); }), WrongType);
    EXPECT_CAUSE(errorOf([&] { fProxy->call<std::uint64_t>("echo", -1); }), WrongType);
}
