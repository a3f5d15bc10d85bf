#ifndef OBVISTA_MEMORYVIEWER_MCAP_CHANGE_FILE_H
#define OBVISTA_MEMORYVIEWER_MCAP_CHANGE_FILE_H

#include "recording/change_file.h"

#include <memory>
#include <robot_recording/robot_file.h>
#include <robot_recording/value_topics.h>

namespace memoryviewer {

/** An MCAP file of changes, with the topics and messages of "robaxi record". */
class McapChangeFile : public ChangeFile {
  public:
    explicit McapChangeFile(robot_recording::RobotOrigin robot) : fRobot(std::move(robot)) {}

    bool open(const QString& fileName) override;
    bool append(const RecordedChange& change) override;
    bool append(const RecordedEvent& event) override;
    bool appendLoss(std::uint64_t lost) override;
    bool write() override;
    void sync() override {}
    void close() override;
    std::int64_t size() const override;
    std::uint64_t changes() const override { return fChanges; }
    QString error() const override { return fError; }

  private:
    bool xCheck();

    const robot_recording::RobotOrigin fRobot;
    std::unique_ptr<robot_recording::RobotFile> fFile;
    std::unique_ptr<robot_recording::ValueTopics> fTopics;
    std::uint64_t fChanges = 0;
    QString fError;
};

}  // namespace memoryviewer

#endif
