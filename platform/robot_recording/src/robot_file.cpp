#include <cctype>
#include <download/robot_icon_download.h>
#include <optional>
#include <robot_recording/robot_file.h>
#include <utility>

namespace robot_recording {

namespace {

/** Bytes that wait for the disk besides those in the recorder's queue. */
constexpr std::size_t a_waitingBytes = std::size_t{8} << 20U;

recording::WriterOptions viewersOptions() {
    recording::WriterOptions options = RecordingSink::usualOptions();
    options.fHeader.fLibrary = "obvista " OBVISTA_VERSION;
    options.fOverflow = recording::Overflow::Wait;
    options.fWaitingBytes = a_waitingBytes;
    options.fOverwrites = true;
    return options;
}

}  // namespace

std::string sentenceOf(std::string error) {
    if (!error.empty()) {
        error[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(error[0])));
    }
    return error + '.';
}

RobotFile::RobotFile(const std::string& path, const RobotOrigin& robot)
    : fRobot(robot.fName),
      fSink(
          path, false, [] {}, viewersOptions()),
      fEvents(fSink, fRobot),
      fIcon(std::make_unique<download::RobotIconDownload>(robot.fAddress, a_iconTimeout)) {
    fSink.addMetadata(robotMetadata(robot));
    fEvents.write("begin", "");
}

RobotFile::~RobotFile() = default;

void RobotFile::addIconIfDone() {
    std::optional<download::RobotIcon> icon = fIcon->take();
    if (icon && icon->fFault.empty()) {
        fSink.addAttachment(robotIcon(fRobot, std::move(icon->fBytes)));
    }
}

void RobotFile::finish() {
    addIconIfDone();
    fEvents.report();
    fEvents.write("end", "");
    fSink.finish();
}

}  // namespace robot_recording
