#include "test_broker.h"

#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <gtest/gtest.h>

#include <memory>

using namespace robaxi_test;

namespace {

KVModule::Method returning(const KVValue& result) {
    return [result](const KVValue::List&) { return result; };
}

}  // namespace

TEST(Module, NeedsANameAndItsMethodsToo) {
    EXPECT_CAUSE(errorOf([] { KVModule module("", ""); }), InvalidArgument);
    KVModule module("Leds", "");
    EXPECT_CAUSE(errorOf([&] { module.bindMethod({}, {}, returning(1)); }), InvalidArgument);
    EXPECT_CAUSE(errorOf([&] { module.bindMethod({"on", "", ""}, {}, nullptr); }), InvalidArgument);
    module.bindMethod({"on", "", ""}, {}, returning(1));
    EXPECT_CAUSE(errorOf([&] {
                     module.bindMethod({"on", "", ""}, {}, returning(2));
                 }),
                 InvalidArgument);
    EXPECT_EQ(module.invoke("on", {}).toInt(), 1);
}

TEST(Module, DescribesItself) {
    KVModule module("Leds", "Lights of the face");
    module.bindMethod({"rasta", "rasta(duration: float)", "Plays"}, {KVValue::Type::Float},
                      returning({}));
    module.bindMethod({"off", "off()", "Darkens"}, {}, returning({}));
    EXPECT_FALSE(module.getInfo().fHasValues);
    module.setValues(std::make_shared<KVValueTable>());

    const KVModuleInfo info = module.getInfo();
    EXPECT_EQ(info.fName, "Leds");
    EXPECT_EQ(info.fDescription, "Lights of the face");
    EXPECT_TRUE(info.fHasValues);
    ASSERT_EQ(info.fMethods.size(), 2U);
    EXPECT_EQ(info.fMethods[0].fName, "rasta");
    EXPECT_EQ(info.fMethods[0].fSignature, "rasta(duration: float)");
    EXPECT_EQ(info.fMethods[1].fDescription, "Darkens");
}

TEST(Module, RefusesAMethodThatItDoesNotHave) {
    const KVModule module("Leds", "");
    const KVError error = errorOf([&] { module.invoke("rasta", {1.0}); });
    EXPECT_CAUSE(error, NoSuchMethod);
    EXPECT_EQ(error.toString(), "Module Leds has no method named rasta.");
}

TEST(Module, RefusesArgumentsThatDoNotFitBeforeTheMethodRuns) {
    bool ran = false;
    KVModule module("Leds", "");
    module.bindMethod({"rasta", "rasta(duration: float)", ""}, {KVValue::Type::Float},
                      [&](const KVValue::List&) {
                          ran = true;
                          return KVValue();
                      });
    EXPECT_CAUSE(errorOf([&] { module.invoke("rasta", {}); }), WrongArguments);
    EXPECT_CAUSE(errorOf([&] { module.invoke("rasta", {1.0, 2.0}); }), WrongArguments);
    const KVError error = errorOf([&] { module.invoke("rasta", {"long"}); });
    EXPECT_CAUSE(error, WrongArguments);
    EXPECT_EQ(error.toString(),
              "Argument 1 of the method rasta(duration: float) is of type float; it was called "
              "with one of type string.");
    EXPECT_FALSE(ran);
}

TEST(Module, TakesAnIntForAFloatAndAnythingForNothing) {
    KVModule module("Leds", "");
    const auto first = [](const KVValue::List& arguments) { return arguments.front(); };
    module.bindMethod({"number", "", ""}, {KVValue::Type::Float}, first);
    module.bindMethod({"any", "", ""}, {KVValue::Type::Nothing}, first);
    EXPECT_EQ(module.invoke("number", {3}).toFloat(), 3.0);
    EXPECT_EQ(module.invoke("any", {"text"}).toString(), "text");
    EXPECT_CAUSE(errorOf([&] { module.invoke("number", {true}); }), WrongArguments);
}

TEST(Module, TakesTypesAndSignatureFromACallable) {
    KVModule module("Robot", "");
    std::string said;
    module.bindMethod(
        "say", [&said](const std::string& text) { said = text; }, "Says a text");
    module.bindMethod("add", [](int a, double b) { return a + b; });
    module.bindMethod("same", [](const KVValue& value) { return value; });
    module.bindMethod("count", [](const KVValue::List& list, const KVValue::Map& map) {
        return list.size() + map.size();
    });
    const std::vector<KVMethodInfo> methods = module.getInfo().fMethods;
    ASSERT_EQ(methods.size(), 4U);
    EXPECT_EQ(methods[0].fSignature, "say(string)");
    EXPECT_EQ(methods[0].fDescription, "Says a text");
    EXPECT_EQ(methods[1].fSignature, "add(int, float) -> float");
    EXPECT_EQ(methods[2].fSignature, "same(value) -> value");
    EXPECT_EQ(methods[3].fSignature, "count(list, map) -> int");

    EXPECT_TRUE(module.invoke("say", {"hello"}).isNothing());
    EXPECT_EQ(said, "hello");
    EXPECT_EQ(module.invoke("add", {1, 2}).toFloat(), 3.0);
    EXPECT_EQ(module.invoke("same", {"text"}).toString(), "text");
    EXPECT_EQ(module.invoke("count", {KVValue::List{1, 2}, KVValue::Map{}}).toInt(), 2);
    EXPECT_CAUSE(errorOf([&] { module.invoke("say", {1}); }), WrongArguments);
    EXPECT_CAUSE(errorOf([&] { module.invoke("add", {1}); }), WrongArguments);
    EXPECT_CAUSE(errorOf([&] { module.invoke("add", {1LL << 40, 1}); }), WrongType);
    EXPECT_CAUSE(errorOf([&] { module.bindMethod("add", [] {}); }), InvalidArgument);
}

TEST(Module, PassesOnWhatAMethodThrows) {
    KVModule module("Leds", "");
    module.bindMethod({"kv", "", ""}, {}, [](const KVValue::List&) -> KVValue {
        throw KVError(KVError::Cause::NoRoute, "no road");
    });
    module.bindMethod({"std", "", ""}, {},
                      [](const KVValue::List&) -> KVValue { throw std::runtime_error("too hot"); });
    module.bindMethod({"int", "", ""}, {}, [](const KVValue::List&) -> KVValue { throw 3; });
    const KVError own = errorOf([&] { module.invoke("kv", {}); });
    EXPECT_CAUSE(own, NoRoute);
    EXPECT_EQ(own.toString(), "no road");
    const KVError standard = errorOf([&] { module.invoke("std", {}); });
    EXPECT_CAUSE(standard, RaisedByModule);
    EXPECT_EQ(standard.toString(), "too hot");
    EXPECT_CAUSE(errorOf([&] { module.invoke("int", {}); }), RaisedByModule);
}
