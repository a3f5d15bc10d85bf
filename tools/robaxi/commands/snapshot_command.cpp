#include "commands/commands.h"
#include "network/robot_link.h"
#include "process/failure.h"
#include "process/output_file.h"
#include "snapshot/camera.h"
#include "snapshot/fresh_frame.h"
#include "snapshot/picture_file.h"
#include "values/change_format.h"
#include "values/value_text.h"

#include <base/time.h>
#include <picture/pixel_format.h>

#include <algorithm>

namespace robaxi_tool {

namespace {

constexpr const char* a_standardOutput = "-";
/** A camera that has sent nothing new for this many of its periods has stopped. */
constexpr double a_periodsOfPatience = 4;
constexpr double a_shortestPatience = 1;  ///< seconds
constexpr double a_usualRate = 1;  ///< frames a second, for a camera that does not report its rate

PictureFormat parseFormat(const std::string& text) {
    const std::optional<PictureFormat> format = parsePictureFormat(text);
    if (!format) {
        throw UsageError("--format is 'jpeg', 'png', 'ppm' or 'pgm', not '" + text + "'");
    }
    return *format;
}

class SnapshotCommand : public Command {
  public:
    std::string name() const override { return "snapshot"; }
    std::string summary() const override { return "saves a current picture of a camera"; }
    Words words() const override { return {"HOST [CAMERA]", 1, 2}; }
    std::string explanation() const override {
        return "Without CAMERA it uses the first camera that the robot lists. Prints the name of\n"
               "the file. A JPEG of the camera is saved as received. The picture was taken after\n"
               "the command was started; if the camera has stopped, its last picture is saved,\n"
               "with a message.\n";
    }

    void addOptions(Options& options) override {
        options.addText("-o,--output", "FILE", &fFile,
                        "the file to write, '-' for standard output; ROBOT-CAMERA-TIME\n"
                        "with an ending, in the current folder, unless given");
        options.addText("--format", "jpeg|png|ppm|pgm", &fFormatName,
                        "the format; otherwise by the file's ending, or JPEG when the\n"
                        "camera sends it, else PNG");
        options.addSwitch("--list", &fList, "list the robot's cameras, and save nothing");
        options.addSwitch("--json", &fJson, "describe the picture or each camera in JSON");
        options.addText("--module", "MODULE", &fModule, "the module that has the cameras",
                        "KVVideo");
        options.addTimeout(&fTimeout);
    }

    ExitStatus run(const std::vector<std::string>& given, Surroundings& surroundings) override {
        const std::optional<PictureFormat> format = xChosenFormat();
        xCheckOptions(surroundings.fConsole);
        const RobotLink link(given[0], fTimeout, surroundings.fInterruption);
        const Cameras cameras = xCameras(link, given);
        if (fList) {
            for (const picture::CameraInfo& camera : cameras) {
                surroundings.fConsole.print(fJson ? jsonOfCamera(camera) : textOfCamera(camera));
            }
            return ExitStatus::Success;
        }
        if (cameras.empty()) {
            throw Failure(ExitStatus::NotOffered, "The robot has no camera.");
        }
        const picture::CameraInfo& camera =
            given.size() > 1 ? findCamera(cameras, given[1]) : cameras.front();
        const FreshFrame::Result result = xWaitForFrame(link, camera, surroundings);
        xSave(result, format.value_or(bestFormatFor(result.fFrame.fFormat)), link, camera,
              surroundings.fConsole);
        return ExitStatus::Success;
    }

  private:
    /** Returns the camera that the user names, without settings, if the robot cannot list them. */
    Cameras xCameras(const RobotLink& link, const std::vector<std::string>& given) const {
        try {
            return camerasOf(link.module(fModule)->callValue("getCameras", {}));
        } catch (const KVError& error) {
            if (error.cause() != KVError::Cause::NoSuchMethod) {
                throw;
            }
            if (fList || given.size() < 2) {
                throw Failure(ExitStatus::NotOffered,
                              error.toString() + " It can be watched by name: give CAMERA.");
            }
            picture::CameraInfo camera;
            camera.fName = given[1];
            return {camera};
        }
    }

    std::optional<PictureFormat> xChosenFormat() const {
        if (!fFormatName.empty()) {
            return parseFormat(fFormatName);
        }
        if (fFile.empty() || fFile == a_standardOutput) {
            return std::nullopt;
        }
        const std::optional<PictureFormat> format = pictureFormatOf(fFile);
        if (!format) {
            throw UsageError("the name " + fFile +
                             " does not end in .jpg, .png, .ppm or .pgm; --format selects the "
                             "format");
        }
        return format;
    }

    void xCheckOptions(const Console& console) const {
        if (fList || fFile != a_standardOutput) {
            return;
        }
        if (fJson) {
            throw UsageError(
                "standard output can receive the picture or its description, not both");
        }
        if (console.isTerminal()) {
            throw UsageError(
                "a terminal cannot show pictures; give a file, or redirect the output "
                "to one");
        }
    }

    FreshFrame::Result xWaitForFrame(const RobotLink& link, const picture::CameraInfo& camera,
                                     Surroundings& surroundings) const {
        Bell bell(surroundings.fInterruption);
        FreshFrame fresh(bell);
        const auto stream =
            KVFrameStream::start(link.connection(), fModule, camera.fName, fresh.callbacks());
        const std::optional<FreshFrame::Result> result =
            fresh.wait(Clock::now() + std::chrono::seconds(fTimeout), xPatience(camera));
        if (!result) {
            throw Failure(ExitStatus::TimedOut, "The camera " + camera.fName +
                                                    " has sent no picture within " +
                                                    std::to_string(fTimeout) + " s.");
        }
        if (!result->fIsNew) {
            surroundings.fConsole.complain("The camera " + camera.fName +
                                           " has stopped. Its last picture is of " +
                                           timeText(result->fFrame.fTime) + '.');
        }
        return *result;
    }

    Clock::duration xPatience(const picture::CameraInfo& camera) const {
        const double rate = camera.fSettings.fRate > 0 ? camera.fSettings.fRate : a_usualRate;
        const double seconds = std::min(std::max(a_periodsOfPatience / rate, a_shortestPatience),
                                        static_cast<double>(fTimeout));
        return base::steadyDuration(seconds);
    }

    void xSave(const FreshFrame::Result& result, PictureFormat format, const RobotLink& link,
               const picture::CameraInfo& camera, Console& console) const {
        const KVFrame& frame = result.fFrame;
        PixelReader reader;
        for (const KVFrame& before : result.fBefore) {
            reader.skip(before);
        }
        const std::string content = pictureFile(frame, format, reader);
        if (fFile == a_standardOutput) {
            console.print(content);
            return;
        }
        const std::string robot = link.connection()->getPeerName();
        const std::string file =
            fFile.empty() ? fileNameWord(robot) + '-' + fileNameWord(camera.fName) + '-' +
                                base::fileTimeText(frame.fTime) + '.' + endingOf(format)
                          : fFile;
        writeFile(file, content);
        if (!fJson) {
            console.print(file + '\n');
            return;
        }
        console.print(jsonLine({{"file", file},
                                {"robot", robot},
                                {"camera", camera.fName},
                                {"number", frame.fNumber},
                                {"time", timeText(frame.fTime)},
                                {"new", result.fIsNew},
                                {"width", frame.fWidth},
                                {"height", frame.fHeight},
                                {"sent", picture::formatName(frame.fFormat)},
                                {"format", nameOf(format)},
                                {"bytes", content.size()}}));
    }

    std::string fFile;
    std::string fFormatName;
    std::string fModule;
    bool fList = false;
    bool fJson = false;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeSnapshotCommand() {
    return std::make_unique<SnapshotCommand>();
}

}  // namespace robaxi_tool
