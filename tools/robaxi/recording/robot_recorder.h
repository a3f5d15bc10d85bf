#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_ROBOT_RECORDER_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_ROBOT_RECORDER_H

#include "network/robot_link.h"
#include "process/bell.h"
#include "snapshot/camera.h"

#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_subscription.h>
#include <robot_recording/recording_sink.h>
#include <robot_recording/value_message.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace robaxi_tool {

using robot_recording::MessageSchema;
using robot_recording::RecordingSink;
using robot_recording::ValueForm;

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
    std::uint64_t fMissedFrames = 0;  ///< that the camera made and did not arrive
    bool fIsConnected = false;
};

/** The events of one robot in a recording: gaps, drops, removed keys. */
class EventTopic {
  public:
    EventTopic(RecordingSink& sink, const std::string& prefix);

    /** Writes an event now. @param text for people */
    void write(const std::string& event, const std::string& text);

    /** Counts a message that was dropped. */
    void countDrop();
    /** Writes an event about dropped messages if there were some and the disk accepts it. */
    void reportDrops();

  private:
    bool xWrite(const std::string& data);

    RecordingSink& fSink;
    const RecordingSink::Topic fTopic;
    std::mutex fMutex;  ///< guards the following members
    std::uint32_t fSequence = 0;
    std::uint64_t fDropped = 0;
    std::uint64_t fDroppedSince = 0;
};

/** Records the frames of one camera. */
class CameraRecorder : public KVFrameStream::Listener {
  public:
    CameraRecorder(RecordingSink& sink, EventTopic& events, std::string prefix,
                   picture::CameraInfo camera);

    const std::string& camera() const { return fCamera.fName; }
    void addTo(RobotProgress& progress) const;

    // Called on a thread of the library.
    void frameReceived(const KVFrame& frame, std::uint64_t passedOver) override;
    void ended(const KVError& error) override;

  private:
    RecordingSink& fSink;
    EventTopic& fEvents;
    const std::string fPrefix;
    const picture::CameraInfo fCamera;
    mutable std::mutex fMutex;  ///< guards the following members
    std::map<const MessageSchema*, RecordingSink::Topic> fTopics;
    std::uint64_t fLastNumber = 0;
    std::uint64_t fFrames = 0;
    std::uint64_t fMissed = 0;
};

/**
 * Records one robot, and connects to it again when the connection was lost.
 *
 * The operations are called on the command's thread.
 */
class RobotRecorder : public KVSubscription::Listener {
  public:
    /**
     * Connects to the robot and finds its cameras.
     *
     * @param bell rung when attend() is needed
     * @throws UsageError, Failure, KVError, Interrupted
     */
    RobotRecorder(std::string host, RobotSelection selection, Bell& bell,
                  Interruption& interruption);
    ~RobotRecorder() override;

    /** Returns the robot's name, for a topic. */
    const std::string& name() const { return fName; }

    /**
     * Begins to record.
     *
     * @param name unique in the recording
     */
    void start(RecordingSink& sink, const std::string& name);

    /** Returns true if attend() has something to do. */
    bool needsAttention() const;

    /**
     * Selects new keys; connects again, for which it may wait two seconds.
     *
     * @throws KVError if the robot refuses to send its values; Interrupted
     */
    void attend();

    /** Returns patterns that no key has matched so far. */
    std::vector<std::string> unmatchedPatterns() const;

    /** Ends the recording. Nothing is written afterwards, except by writeEnd(). */
    void stop();

    /** Writes the last events. Call it when the disk accepts messages. */
    void writeEnd();

    RobotProgress progress() const;

    // Called on a thread of the library.
    void keysAdded(const std::vector<KVKeyInfo>& keys) override;
    void keysRemoved(const std::vector<std::uint32_t>& ids) override;
    void valuesChanged(const std::vector<KVChange>& changes) override;
    void ended(const KVError& error) override;

  private:
    struct Key {
        KVKeyInfo fInfo;
        std::uint32_t fSequence = 0;
        std::map<ValueForm, RecordingSink::Topic> fTopics;
    };

    void xSubscribe();
    void xReconnect();
    void xPostpone();
    bool xIsSelected(const std::string& key);
    bool xWrite(Key& key, const KVChange& change, std::uint64_t logTime);
    std::optional<RecordingSink::Topic> xTopicOf(Key& key, ValueForm form);
    void xDescribe();

    const std::string fHost;
    const RobotSelection fSelection;
    Bell& fBell;
    Interruption& fInterruption;
    std::unique_ptr<RobotLink> fLink;
    std::vector<picture::CameraInfo> fCameraInfos;
    std::string fName;
    RecordingSink* fSink = nullptr;
    std::unique_ptr<EventTopic> fEvents;
    std::optional<RecordingSink::Topic> fGroup;
    std::vector<std::unique_ptr<CameraRecorder>> fCameras;

    mutable std::mutex fMutex;              ///< guards the following members
    std::map<std::string, bool> fPatterns;  ///< true if a key has matched
    std::map<std::string, Key> fKeys;
    std::map<std::uint32_t, Key*> fKeysById;  ///< those of the present connection
    std::uint32_t fGroupSequence = 0;
    bool fSelectionChanged = false;
    std::exception_ptr fRefusal;
    bool fIsLost = false;
    Clock::time_point fNextAttempt;
    std::uint64_t fValues = 0;

    boost::shared_ptr<KVSubscription> fSubscription;
    std::vector<boost::shared_ptr<KVFrameStream>> fStreams;
};

}  // namespace robaxi_tool

#endif
