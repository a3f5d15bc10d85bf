#ifndef OBVISTA_TESTS_SUPPORT_VIDEO_ROBOT_H
#define OBVISTA_TESTS_SUPPORT_VIDEO_ROBOT_H

#include <robaxi/kv_frame.h>
#include <robaxi/kv_value.h>

#include <boost/shared_ptr.hpp>

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class KVBroker;
class KVFrameSource;

namespace obvista_test {

/** A robot in the test's process whose cameras send frames under the test's control. */
class VideoRobot {
  public:
    enum class Video { Offered, Missing };

    /** @param port 0 for a free one */
    explicit VideoRobot(const std::string& name = "TestRobot", Video video = Video::Offered,
                        int port = 0);
    ~VideoRobot();
    VideoRobot(const VideoRobot&) = delete;
    VideoRobot& operator=(const VideoRobot&) = delete;

    int port() const { return fPort; }

    /**
     * Adds a camera of 160x120 and 320x240, in all formats at 5, 15 and 30 frames a second, set to
     * 320x240 rgb at 30 except for the given settings.
     */
    void addCamera(const std::string& name, const KVValue::Map& settings = {});
    void removeCamera(const std::string& name);

    /** Sends a frame; sets the camera's next number and the current time if it has none. */
    void publish(const std::string& camera, KVFrame frame);
    int watchers(const std::string& camera) const;

    /** Makes "setSettings" fail with this sentence; succeed with an empty one. */
    void refuse(const std::string& sentence);
    /** Delays every call by this time. */
    void delay(std::chrono::milliseconds time);
    /** Returns how often the cameras were listed. */
    int lists() const;
    /** Sets the answer of "getCameras". */
    void lieAboutCameras(const KVValue& answer);
    /** Returns the camera's settings, as "getSettings" does. */
    KVValue::Map settings(const std::string& camera);
    void setSettings(const std::string& camera, const KVValue::Map& settings);

    /** Breaks every connection and stops listening. */
    void stop();

    /** Returns the source of the cameras' frames, with a stream for each camera. */
    KVFrameSource& cameras() { return *fFrames; }

  private:
    struct Camera {
        std::string fName;
        KVValue::Map fSettings;
    };
    std::vector<Camera>::iterator xFind(const std::string& name);

    KVValue xGetCameras();
    KVValue xSetSettings(const KVValue::List& arguments);
    void xWait() const;

    std::shared_ptr<KVFrameSource> fFrames;
    mutable std::mutex fMutex;     // guards all members below except the broker
    std::vector<Camera> fCameras;  // in the order in which they were added
    std::map<std::string, std::uint64_t> fNumbers;
    std::string fRefusal;
    int fLists = 0;
    KVValue fLie;
    std::chrono::milliseconds fDelay{0};
    boost::shared_ptr<KVBroker> fBroker;
    int fPort = 0;
};

}  // namespace obvista_test

#endif
