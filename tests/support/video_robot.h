#ifndef OBVISTA_TESTS_SUPPORT_VIDEO_ROBOT_H
#define OBVISTA_TESTS_SUPPORT_VIDEO_ROBOT_H

#include <robaxi/kv_frame.h>
#include <robaxi/kv_value.h>

#include <boost/shared_ptr.hpp>

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

class KVBroker;
class KVFrameSource;

namespace obvista_test {

/** A robot in the test's own process whose cameras send what the test tells them to. */
class VideoRobot {
  public:
    enum class Video { Offered, Missing };

    explicit VideoRobot(const std::string& name = "TestRobot", Video video = Video::Offered);
    ~VideoRobot();
    VideoRobot(const VideoRobot&) = delete;
    VideoRobot& operator=(const VideoRobot&) = delete;

    int port() const { return fPort; }

    /** Adds a camera of 160x120 and 320x240, in all formats at 5, 15 and 30 a second, set to
     * 320x240 rgb at 30. */
    void addCamera(const std::string& name);
    void removeCamera(const std::string& name);

    /** Sends a frame, with the camera's next number and the time of now where it has none. */
    void publish(const std::string& camera, KVFrame frame);
    int watchers(const std::string& camera) const;

    /** From now on "setSettings" fails with this sentence; with an empty one it works. */
    void refuse(const std::string& sentence);
    /** From now on every call takes so long. */
    void delay(std::chrono::milliseconds time);
    /** From now on "getCameras" answers this. */
    void lieAboutCameras(const KVValue& answer);
    /** What a camera is set to, as in "getSettings". */
    KVValue::Map settings(const std::string& camera);
    void setSettings(const std::string& camera, const KVValue::Map& settings);

    /** Breaks every connection and stops listening. */
    void stop();

    /** The source of the cameras' frames, which has a stream for each camera. */
    KVFrameSource& cameras() { return *fFrames; }

  private:
    struct Camera {
        std::string fName;
        KVValue::Map fSettings;
    };
    std::vector<Camera>::iterator xFind(const std::string& name);

    KVValue xGetCameras() const;
    KVValue xSetSettings(const KVValue::List& arguments);
    void xWait() const;

    boost::shared_ptr<KVFrameSource> fFrames;
    mutable std::mutex fMutex;     // guards all below but the broker
    std::vector<Camera> fCameras;  // in the order in which they were added
    std::map<std::string, std::uint64_t> fNumbers;
    std::string fRefusal;
    KVValue fLie;
    std::chrono::milliseconds fDelay{0};
    boost::shared_ptr<KVBroker> fBroker;
    int fPort = 0;
};

}  // namespace obvista_test

#endif
