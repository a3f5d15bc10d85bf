#ifndef ROBOT_RECORDING_ROBOT_FILE_H
#define ROBOT_RECORDING_ROBOT_FILE_H

#include <memory>
#include <robot_recording/event_topic.h>
#include <robot_recording/recording_sink.h>
#include <robot_recording/robot_origin.h>
#include <string>

namespace download {
class RobotIconDownload;
}

namespace robot_recording {

/** Returns an error of a recording as a sentence for the user: with a capital letter and a dot. */
std::string sentenceOf(std::string error);

/**
 * The recording of one robot by a viewer: a file with the robot's description, its icon, and the
 * events at the beginning and the end.
 *
 * For one thread, which waits when the disk is slow. A viewer's recorder has a thread and a bounded
 * queue for that.
 */
class RobotFile {
  public:
    /**
     * Creates the file, replacing an existing one. The icon is downloaded on another thread.
     *
     * @throws recording::RecordingError
     */
    RobotFile(const std::string& path, const RobotOrigin& robot);
    ~RobotFile();
    RobotFile(const RobotFile&) = delete;
    RobotFile& operator=(const RobotFile&) = delete;

    /** Its error(), after each message, tells that the recording is over. */
    RecordingSink& sink() { return fSink; }
    const RecordingSink& sink() const { return fSink; }
    EventTopic& events() { return fEvents; }

    /** Writes the icon if it has arrived. Call it now and then. */
    void addIconIfDone();

    /** Writes what is left, also the icon if it has arrived, and completes the file. Does not wait
     *  for the robot. */
    void finish();

  private:
    const std::string fRobot;
    RecordingSink fSink;
    EventTopic fEvents;
    std::unique_ptr<download::RobotIconDownload> fIcon;
};

}  // namespace robot_recording

#endif
