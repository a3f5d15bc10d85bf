#include "export/frame_export.h"

#include "process/failure.h"
#include "snapshot/picture_file.h"

#include <base/safe_text.h>
#include <base/time.h>
#include <picture/frame_check.h>

#include <filesystem>
#include <iomanip>
#include <map>
#include <matroska/camera_film.h>
#include <recorded_robot/channel_reader.h>
#include <recorded_robot/recorded_video.h>
#include <recording/output_file.h>
#include <sstream>

namespace robaxi_tool {

namespace {

using recorded_robot::ChannelReader;
using recording::Message;

/** The channels of one camera. */
struct Camera {
    std::string fName;  ///< for people
    std::map<std::uint16_t, ChannelReader> fChannels;
};

Camera chosenCamera(const ExportRequest& request, const recorded_robot::RecordedRobot& robot) {
    std::map<std::string, Camera> cameras;
    std::string names;
    recorded_robot::ParsedSchemas schemas;
    for (const auto& [id, recorded] : robot.fChannels) {
        ChannelReader channel(request.fReader, id, recorded, schemas);
        if (hasPictures(channel.channel().fContent)) {
            const std::string& name = channel.channel().fName;
            Camera& camera = cameras[name];
            if (camera.fChannels.empty()) {
                camera.fName = base::oneLine(name);
                names += (names.empty() ? "" : ", ") + camera.fName;
            }
            camera.fChannels.emplace(id, std::move(channel));
        }
    }
    const std::string robotName = recorded_robot::displayName(robot, request.fFile);
    if (cameras.empty()) {
        throw Failure(ExitStatus::NotOffered, "No camera of " + robotName + " was recorded.");
    }
    if (request.fCamera.empty() && cameras.size() > 1) {
        throw UsageError(robotName + " has several cameras: " + names + "; --camera chooses one");
    }
    const auto chosen = request.fCamera.empty() ? cameras.begin() : cameras.find(request.fCamera);
    if (chosen == cameras.end()) {
        throw Failure(ExitStatus::NotOffered, robotName + " has no recorded camera '" +
                                                  request.fCamera + "'; it has " + names + '.');
    }
    return std::move(chosen->second);
}

/** The files that frames are written to. */
class FrameFiles {
  public:
    FrameFiles() = default;
    virtual ~FrameFiles() = default;
    FrameFiles(const FrameFiles&) = delete;
    FrameFiles& operator=(const FrameFiles&) = delete;

    /** @return false if the frame is damaged. @throws Failure if the files cannot be made */
    virtual bool write(const KVFrame& frame, std::int64_t arrival) = 0;
    virtual std::vector<std::string> finish() = 0;
};

class PngFiles : public FrameFiles {
  public:
    explicit PngFiles(const ExportRequest& request) : fRequest(request) {}

    bool write(const KVFrame& frame, std::int64_t /*arrival*/) override {
        std::string content;
        try {
            content = pictureFile(frame, PictureFormat::Png, fPixels);
        } catch (const NoDecoder&) {
            throw;
        } catch (const Failure&) {
            return false;
        }
        const std::string name = xName(fFiles.size() + 1);
        recording::OutputFile file(name, false);
        fRequest.fTakeFile(name);
        file.append(content);
        file.close();
        fFiles.push_back(name);
        return true;
    }
    std::vector<std::string> finish() override { return std::move(fFiles); }

  private:
    /** Numbers of the same width, so that the names are in the order of the frames. */
    std::string xName(std::size_t number) const {
        constexpr int width = 6;
        const std::filesystem::path path(fRequest.fOutput);
        std::ostringstream name;
        name << path.stem().string() << '-' << std::setw(width) << std::setfill('0') << number
             << path.extension().string();
        return (path.parent_path() / name.str()).string();
    }

    const ExportRequest& fRequest;
    PixelReader fPixels;
    std::vector<std::string> fFiles;
};

class FilmFiles : public FrameFiles {
  public:
    FilmFiles(const ExportRequest& request, const std::string& title)
        : fRequest(request), fFilm(request.fOutput, [title](std::int64_t time) {
              return title + base::utcText(time);
          }) {}

    bool write(const KVFrame& frame, std::int64_t arrival) override {
        const bool isWritten = fFilm.write(picture::check(frame, fJpegs), arrival);
        xCheck();
        return isWritten;
    }
    std::vector<std::string> finish() override {
        fFilm.finish();
        xCheck();
        return fFilm.files();
    }

  private:
    void xCheck() {
        for (; fReported < fFilm.files().size(); ++fReported) {
            fRequest.fTakeFile(fFilm.files()[fReported]);
        }
        if (!fFilm.failure().empty()) {
            throw Failure(ExitStatus::CannotWrite, fFilm.failure());
        }
    }

    const ExportRequest& fRequest;
    picture::JpegReader fJpegs;
    matroska::CameraFilm fFilm;
    std::size_t fReported = 0;
};

}  // namespace

ExportReport exportFrames(const ExportRequest& request,
                          const recorded_robot::RecordedRobot& robot) {
    const Camera camera = chosenCamera(request, robot);
    std::unique_ptr<FrameFiles> files;
    if (request.fFormat == ExportFormat::Png) {
        files = std::make_unique<PngFiles>(request);
    } else {
        files = std::make_unique<FilmFiles>(
            request,
            camera.fName + " of " + recorded_robot::displayName(robot, request.fFile) + ", ");
    }
    recording::Selection selection;
    selection.fFrom = request.fFrom;
    selection.fTo = request.fTo;
    selection.fChannels.emplace();
    for (const auto& [id, channel] : camera.fChannels) {
        selection.fChannels->insert(id);
    }
    ExportReport report;
    picture::JpegReader jpegs;
    recorded_robot::RecordedVideo video;
    bool isFirstKeyMissing = true;
    recording::Messages messages = request.fReader.messages(selection);
    while (const std::optional<Message> message = messages.next()) {
        const ChannelReader& channel = camera.fChannels.at(message->fChannelId);
        std::optional<KVFrame> frame = channel.frame(*message, jpegs);
        if (frame && channel.channel().fIsVideo && !video.complete(*frame) && isFirstKeyMissing) {
            continue;  // it needs frames before the span
        }
        isFirstKeyMissing = false;
        const auto arrival =
            static_cast<std::int64_t>(message->fLogTime / base::a_nanosecondsPerMicrosecond);
        const bool isWritten = frame && files->write(*frame, arrival);
        if (!isWritten) {
            video.interrupt();
        }
        ++(isWritten ? report.fFrames : report.fDamagedFrames);
    }
    report.fFiles = files->finish();
    if (report.fFrames == 0) {
        throw Failure(ExitStatus::NotOffered,
                      "The camera " + camera.fName + " has no frame in this span.");
    }
    return report;
}

}  // namespace robaxi_tool
