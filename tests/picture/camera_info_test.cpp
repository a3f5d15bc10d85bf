#include <picture/camera_info.h>
#include <robaxi/kv_error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using picture::CameraInfo;
using picture::CameraMode;
using picture::CameraSettings;
using picture::fittedSettings;
using picture::readCameras;
using picture::readSettings;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

KVValue modeValue(const KVValue& width, const KVValue& height, const KVValue::List& formats,
                  const KVValue::List& rates) {
    return KVValue(KVValue::Map{{"width", width},
                                {"height", height},
                                {"formats", KVValue(formats)},
                                {"rates", KVValue(rates)}});
}

KVValue goodMode() {
    return modeValue(640, 480, {KVValue("rgb"), KVValue("jpeg")}, {KVValue(15.0), KVValue(30.0)});
}

KVValue cameraValue(const std::string& name, const KVValue::List& modes) {
    return KVValue(KVValue::Map{{"name", KVValue(name)},
                                {"description", KVValue("looks ahead")},
                                {"modes", KVValue(modes)},
                                {"settings", CameraSettings{640, 480, "jpeg", 30}.toValue()}});
}

CameraInfo cameraWith(const std::vector<CameraMode>& modes) {
    CameraInfo camera;
    camera.fModes = modes;
    return camera;
}

TEST(CameraInfo, ReadsWhatARobotTells) {
    const auto cameras = readCameras(KVValue(KVValue::List{cameraValue("head", {goodMode()})}));
    ASSERT_THAT(cameras, SizeIs(1));
    EXPECT_EQ(cameras[0].fName, "head");
    EXPECT_EQ(cameras[0].fDescription, "looks ahead");
    EXPECT_EQ(cameras[0].fSettings, (CameraSettings{640, 480, "jpeg", 30}));
    ASSERT_THAT(cameras[0].fModes, SizeIs(1));
    EXPECT_THAT(cameras[0].fModes[0].fFormats, ElementsAre("rgb", "jpeg"));
    EXPECT_THAT(cameras[0].fModes[0].fRates, ElementsAre(15, 30));
}

TEST(CameraInfo, RefusesAnAnswerThatIsNoList) {
    EXPECT_THROW(readCameras(KVValue("head")), KVError);
    EXPECT_THAT(readCameras(KVValue(KVValue::List{})), IsEmpty());
}

TEST(CameraInfo, LeavesOutWhatMakesNoSense) {
    const KVValue::List modes{
        modeValue(0, 480, {KVValue("rgb")}, {KVValue(30.0)}),
        modeValue(640, -1, {KVValue("rgb")}, {KVValue(30.0)}),
        modeValue(640, 65536, {KVValue("rgb")}, {KVValue(30.0)}),
        modeValue(KVValue("640"), 480, {KVValue("rgb")}, {KVValue(30.0)}),
        modeValue(640, 480, {}, {KVValue(30.0)}),
        modeValue(640, 480, {KVValue("rgb")},
                  {KVValue(0.0), KVValue(-1.0), KVValue(std::nan("")),
                   KVValue(std::numeric_limits<double>::infinity()), KVValue("30")}),
        KVValue(3),
        goodMode()};
    const auto cameras = readCameras(KVValue(
        KVValue::List{KVValue("no map"), cameraValue("", {goodMode()}), cameraValue("head", modes),
                      cameraValue("head", {}), cameraValue(std::string(1000, 'x'), {})}));
    ASSERT_THAT(cameras, SizeIs(1));
    EXPECT_THAT(cameras[0].fModes, SizeIs(1));
}

TEST(CameraInfo, BoundsWhatItTakes) {
    KVValue::List many;
    for (int i = 0; i < 70; ++i) {
        many.push_back(cameraValue("camera" + std::to_string(i), KVValue::List(300, goodMode())));
    }
    KVValue::List rates;
    for (int i = 1; i < 1000; ++i) {
        rates.emplace_back(i);
    }
    many[0] = cameraValue("first", {modeValue(1, 1, {KVValue("rgb")}, rates)});
    const auto cameras = readCameras(KVValue(many));
    EXPECT_THAT(cameras, SizeIs(picture::a_maxCameras));
    EXPECT_THAT(cameras[1].fModes, SizeIs(picture::a_maxModes));
    EXPECT_THAT(cameras[0].fModes[0].fRates, SizeIs(picture::a_maxChoices));
}

TEST(CameraInfo, WritesSettingsAsItReadsThem) {
    const CameraSettings settings{320, 240, "grey", 7.5};
    EXPECT_EQ(readSettings(settings.toValue()), settings);
    EXPECT_EQ(readSettings(KVValue(1)), CameraSettings());
}

TEST(CameraInfo, KeepsSettingsThatAModeAllows) {
    const CameraInfo camera = cameraWith({{640, 480, {"rgb"}, {15}}, {640, 480, {"jpeg"}, {30}}});
    const CameraSettings wanted{640, 480, "jpeg", 30};
    EXPECT_EQ(fittedSettings(camera, wanted), wanted);
}

TEST(CameraInfo, FitsFormatAndRateToASize) {
    const CameraInfo camera =
        cameraWith({{640, 480, {"rgb", "jpeg"}, {5, 30}}, {1280, 720, {"jpeg"}, {5, 15}}});
    EXPECT_EQ(fittedSettings(camera, {1280, 720, "rgb", 30}),
              (CameraSettings{1280, 720, "jpeg", 15}));
}

TEST(CameraInfo, PrefersTheModeWithTheFormat) {
    const CameraInfo camera = cameraWith({{640, 480, {"rgb"}, {30}}, {640, 480, {"jpeg"}, {10}}});
    EXPECT_EQ(fittedSettings(camera, {640, 480, "jpeg", 30}),
              (CameraSettings{640, 480, "jpeg", 10}));
}

TEST(CameraInfo, TakesTheNearestSizeThatThereIs) {
    const CameraInfo camera = cameraWith({{160, 120, {"rgb"}, {30}}, {640, 480, {"rgb"}, {30}}});
    EXPECT_EQ(fittedSettings(camera, {600, 400, "rgb", 30}).fWidth, 640);
}

TEST(CameraInfo, KeepsAWishWhereNothingIsKnown) {
    const CameraSettings wanted{640, 480, "jpeg", 30};
    EXPECT_EQ(fittedSettings(CameraInfo(), wanted), wanted);
}

const CameraInfo a_camera{"eye",
                          "An eye",
                          {{320, 240, {"rgb", "jpeg"}, {5, 15}}, {640, 480, {"jpeg"}, {5}}},
                          {320, 240, "jpeg", 5}};

TEST(CameraInfo, IsToldAsTheDocumentsSay) {
    const KVValue::Map settings{{"width", 320}, {"height", 240}, {"format", "jpeg"}, {"rate", 5.0}};
    EXPECT_EQ(a_camera.fSettings.toValue(), KVValue(settings));
    const KVValue::Map camera = a_camera.toValue().toMap();
    EXPECT_EQ(camera.at("name"), KVValue("eye"));
    EXPECT_EQ(camera.at("description"), KVValue("An eye"));
    EXPECT_EQ(camera.at("settings"), KVValue(settings));
    EXPECT_EQ(camera.at("modes").toList().at(1),
              KVValue(KVValue::Map{{"width", 640},
                                   {"height", 480},
                                   {"formats", KVValue::List{"jpeg"}},
                                   {"rates", KVValue::List{5.0}}}));
}

TEST(CameraInfo, IsReadAsItIsTold) {
    EXPECT_THAT(readCameras(KVValue::List{a_camera.toValue()}), ElementsAre(a_camera));
}

}  // namespace
