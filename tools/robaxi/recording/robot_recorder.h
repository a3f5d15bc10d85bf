#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_ROBOT_RECORDER_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_ROBOT_RECORDER_H

#include "network/reconnection.h"
#include "network/robot_link.h"
#include "process/bell.h"
#include "snapshot/camera.h"

#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_subscription.h>

#include <download/robot_icon_download.h>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <robot_recording/camera_topic.h>
#include <robot_recording/event_topic.h>
#include <robot_recording/value_topics.h>
#include <string>
#include <vector>

namespace robaxi_tool {

/** The part of a robot to record. */
struct RobotSelection {
    std::vector<std::string> fPatterns;  ///< of keys; none for all of them
    std::vector<std::string> fCameras;
    bool fAllCameras = false;
    std::string fModule;  ///< that has the values
    double fRate = 0;     ///< most updates of a key in a second
    int fTimeout = 0;     ///< seconds
};

struct RobotProgress {
    std::uint64_t fValues = 0;
    std::uint64_t fFrames = 0;
    std::uint64_t fPassedOver = 0;    ///< changes that newer ones replaced before they were sent
    std::uint64_t fMissedFrames = 0;  ///< that the camera made and did not arrive
    bool fIsConnected = false;
};

/** Records the frames of one camera, and watches it again when its stream has ended. */
class CameraRecorder {
  public:
    /** @param ended called when a stream has ended, on a thread of the library */
    CameraRecorder(robot_recording::RecordingSink& sink, robot_recording::EventTopic& events,
                   const std::string& robot, const picture::CameraInfo& camera,
                   std::function<void(const KVError&)> ended);

    void addTo(RobotProgress& progress) const;

    /** @name Watching. Called on the command's thread. */
    ///@{
    void watch(const std::shared_ptr<KVConnection>& connection);
    void stop() { fStream.reset(); }
    /** Returns true if the robot has ended the stream, and it is time for another attempt. */
    bool isDue() const;
    /** Requests the frame with which a decoder of H.264 can begin. */
    void requestKeyFrame();
    /** The same, if a frame was dropped that the following ones need. */
    void requestKeyFrameIfNeeded();
    ///@}

  private:
    // Called on a thread of the library.
    void xTake(const KVFrame& frame);
    void xEnd(const KVError& error);

    robot_recording::EventTopic& fEvents;
    const std::string fName;
    const std::function<void(const KVError&)> fOnEnd;
    mutable std::mutex fMutex;  ///< guards the following members
    robot_recording::CameraTopic fTopic;
    std::uint64_t fLastNumber = 0;
    std::uint64_t fFrames = 0;
    std::uint64_t fMissed = 0;
    bool fIsGap = false;  ///< from an end that was written down to the next frame
    bool fIsKeyFrameNeeded = false;
    std::optional<Clock::time_point> fNextAttempt;

    std::shared_ptr<KVFrameStream> fStream;
};

/**
 * Records one robot. Connects to it again when the connection was lost, and subscribes again when
 * the robot has ended its values or a camera.
 *
 * The operations are called on the command's thread and do not wait for the robot.
 */
class RobotRecorder {
  public:
    /**
     * Connects to the robot and finds its cameras, for which it waits.
     *
     * @param bell rung when attend() is needed
     * @throws UsageError, Failure, KVError, Interrupted
     */
    RobotRecorder(std::string host, RobotSelection selection, Bell& bell,
                  Interruption& interruption);
    ~RobotRecorder();
    RobotRecorder(const RobotRecorder&) = delete;
    RobotRecorder& operator=(const RobotRecorder&) = delete;

    /** Returns the robot's name, for a topic. */
    const std::string& name() const { return fName; }

    /**
     * Begins to record.
     *
     * @param name unique in the recording
     */
    void start(robot_recording::RecordingSink& sink, const std::string& name);

    /** Returns true if attend() has something to do. */
    bool needsAttention() const;

    /**
     * Selects new keys, connects and subscribes again, requests key frames, and takes the icon.
     *
     * @throws KVError if the robot has refused to send its values from the beginning
     */
    void attend();

    /** Requests a key frame of each camera, with which a file can be played. */
    void requestKeyFrames();

    /** Returns patterns that no key has matched so far. */
    std::vector<std::string> unmatchedPatterns() const;

    /** Ends the recording. Nothing is written afterwards, except by writeEnd(). */
    void stop();

    /** Writes the last events. Call it when the disk accepts messages. */
    void writeEnd();

    RobotProgress progress() const;

  private:
    // Called on a thread of the library.
    void xAddKeys(const std::vector<KVKeyInfo>& keys);
    void xRemoveKeys(const std::vector<std::uint32_t>& ids);
    void xWrite(const std::vector<KVChange>& changes);
    void xPassOver(std::uint64_t count);
    void xEnd(const KVError& error);

    void xSubscribe();
    void xSubscribeToValues();
    void xTakeIcon();
    void xReconnect();
    void xSelectKeys();
    bool xIsSelected(const std::string& key);
    bool xIsExpected(const KVError& error) const;
    void xLose(const KVError& error);
    void xDescribe();

    const std::string fHost;
    const RobotSelection fSelection;
    Bell& fBell;
    std::unique_ptr<RobotLink> fLink;
    std::vector<picture::CameraInfo> fCameraInfos;
    std::string fName;
    robot_recording::RecordingSink* fSink = nullptr;
    std::unique_ptr<robot_recording::EventTopic> fEvents;
    std::vector<std::unique_ptr<CameraRecorder>> fCameras;

    mutable std::mutex fMutex;              ///< guards the following members
    std::map<std::string, bool> fPatterns;  ///< true if a key has matched
    std::unique_ptr<robot_recording::ValueTopics> fTopics;
    std::map<std::uint32_t, KVKeyInfo> fKeys;  ///< selected ones of the present subscription
    bool fSelectionChanged = false;
    std::exception_ptr fRefusal;
    bool fIsLost = false;
    bool fHasHadKeys = false;
    bool fAreValuesGone = false;  ///< from the end of the values to the next table of keys
    std::optional<Clock::time_point> fNextAttempt;  ///< to connect, or to subscribe
    std::uint64_t fValues = 0;
    std::uint64_t fPassedOver = 0;

    std::shared_ptr<KVSubscription> fSubscription;
    std::unique_ptr<Reconnection> fReconnection;
    std::unique_ptr<download::RobotIconDownload> fIcon;
};

}  // namespace robaxi_tool

#endif
