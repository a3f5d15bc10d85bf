#include "snapshot/camera.h"

#include "process/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace robaxi_tool {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

KVValue::Map described(const std::string& name, const KVValue& settings) {
    return {{"name", name}, {"description", "Looks ahead."}, {"settings", settings}};
}

const KVValue::Map a_settings{{"width", 640}, {"height", 480}, {"format", "jpeg"}, {"rate", 30.0}};

TEST(Camera, IsReadFromWhatTheRobotSays) {
    const auto cameras = camerasOf(KVValue::List{described("head", a_settings)});
    ASSERT_EQ(1U, cameras.size());
    EXPECT_EQ("head         640x480    jpeg     30.0/s   Looks ahead.\n", textOfCamera(cameras[0]));
    EXPECT_EQ(R"({"name":"head","description":"Looks ahead.","width":640,"height":480,)"
              R"("format":"jpeg","rate":30.0})"
              "\n",
              jsonOfCamera(cameras[0]));
}

TEST(Camera, WhatTheRobotDoesNotSayIsLeftOpen) {
    const auto cameras =
        camerasOf(KVValue::List{KVValue::Map{{"name", "bare"}}, described("odd", KVValue(12))});
    ASSERT_EQ(2U, cameras.size());
    EXPECT_EQ("bare", cameras[0].fName);
    EXPECT_EQ(0, cameras[0].fSettings.fRate);
    EXPECT_EQ(0, cameras[1].fSettings.fWidth);
}

TEST(Camera, NonsenseIsNoCamera) {
    EXPECT_THAT(camerasOf(KVValue()), IsEmpty());
    EXPECT_THAT(camerasOf(KVValue("head")), IsEmpty());
    EXPECT_THAT(camerasOf(KVValue::List{12, KVValue::Map{}, KVValue::Map{{"name", 12}},
                                        KVValue::Map{{"name", ""}}}),
                IsEmpty());
}

TEST(Camera, ARateIsANumberAboveZero) {
    for (const double rate : {-1.0, 0.0, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
        const auto cameras =
            camerasOf(KVValue::List{described("head", KVValue::Map{{"rate", rate}})});
        EXPECT_EQ(0, cameras.at(0).fSettings.fRate) << rate;
    }
}

TEST(Camera, ATextCannotReachTheTerminal) {
    const auto cameras = camerasOf(KVValue::List{described("a\nb\x1b[2J", a_settings)});
    EXPECT_THAT(textOfCamera(cameras.at(0)), HasSubstr("a\\nb\\u001b[2J"));
}

TEST(Camera, AMissingOneIsReportedWithTheExistingOnes) {
    const auto cameras =
        camerasOf(KVValue::List{described("head", a_settings), described("chest", a_settings)});
    EXPECT_EQ("chest", findCamera(cameras, "chest").fName);
    try {
        findCamera(cameras, "tail");
        ADD_FAILURE() << "found";
    } catch (const Failure& failure) {
        EXPECT_EQ(ExitStatus::NotOffered, failure.status());
        EXPECT_STREQ("There is no camera named tail. The robot has: head, chest.", failure.what());
    }
}

}  // namespace
}  // namespace robaxi_tool
