#include "video/camera_settings.h"

#include <robaxi/kv_error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using picture::CameraInfo;
using picture::CameraSettings;
using robot::changed;
using testing::HasSubstr;

namespace {

const CameraInfo a_camera{"eye",
                          "An eye",
                          {{320, 240, {"rgb", "jpeg"}, {5, 15}}, {640, 480, {"jpeg"}, {5}}},
                          {320, 240, "jpeg", 5}};

std::string refusalOf(const KVValue::Map& changes) {
    try {
        changed(a_camera, changes);
    } catch (const KVError& error) {
        EXPECT_EQ(error.cause(), KVError::Cause::RaisedByModule);
        return error.toString();
    }
    return "it was accepted";
}

TEST(CameraSettings, whatIsNotNamedStays) {
    EXPECT_EQ(changed(a_camera, {}), a_camera.fSettings);
    EXPECT_EQ(changed(a_camera, {{"rate", 15}}), (CameraSettings{320, 240, "jpeg", 15}));
    EXPECT_EQ(changed(a_camera, {{"width", 640}, {"height", 480}}),
              (CameraSettings{640, 480, "jpeg", 5}));
    EXPECT_EQ(changed(a_camera, {{"format", "rgb"}, {"rate", 15.0}}),
              (CameraSettings{320, 240, "rgb", 15}));
}

TEST(CameraSettings, whatFitsNoModeIsRefusedWithWhatDoes) {
    EXPECT_EQ(refusalOf({{"width", 800}}),
              "The camera eye cannot do 800x240 pixels; it can do 320x240, 640x480.");
    EXPECT_EQ(refusalOf({{"format", "grey"}}),
              "The camera eye cannot do the format grey at 320x240 pixels; it can do rgb, jpeg.");
    EXPECT_EQ(refusalOf({{"rate", 7.5}}),
              "The camera eye cannot do 7.5 frames a second at 320x240 "
              "pixels; it can do 5, 15.");
    EXPECT_THAT(refusalOf({{"width", 640}, {"height", 480}, {"rate", 15}}),
                HasSubstr("at 640x480 pixels; it can do 5."));
    EXPECT_THAT(refusalOf({{"width", std::int64_t{1} << 40}}), HasSubstr("cannot do"));
    EXPECT_THAT(refusalOf({{"width", -(std::int64_t{1} << 40)}}), HasSubstr("cannot do"));
}

TEST(CameraSettings, wrongNamesAndTypesAreRefusedOnOneSafeLine) {
    EXPECT_THAT(refusalOf({{"widht", 320}}), HasSubstr("has no setting 'widht'"));
    EXPECT_THAT(refusalOf({{"a\nb", 320}}), HasSubstr("'a\\nb'"));
    EXPECT_THAT(refusalOf({{"width", "320"}}), HasSubstr("cannot take this width"));
    EXPECT_THAT(refusalOf({{"rate", true}}), HasSubstr("cannot take this rate"));
    EXPECT_THAT(refusalOf({{"format", 1}}), HasSubstr("cannot take this format"));
    EXPECT_THAT(refusalOf({{"format", "h264\x1b"}}), HasSubstr("knows no format 'h264\\u001b'"));
}

}  // namespace
