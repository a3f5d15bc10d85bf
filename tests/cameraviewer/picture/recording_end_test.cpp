#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <child_process.h>
#include <csignal>
#include <cstdlib>
#include <matroska_reading.h>
#include <project_files.h>
#include <recording_process.h>
#include <string>
#include <vector>

using obvista_test::a_processFrames;
using obvista_test::bytesOf;
using obvista_test::ChildProcess;
using obvista_test::MatroskaContent;
using obvista_test::playMatroska;
using obvista_test::processFrame;
using obvista_test::readMatroska;
using testing::HasSubstr;

namespace {

/** Recordings whose process ends, or whose disk is full. */
class RecordingEnd : public testing::Test {
  protected:
    std::string path() const { return fFolder.filePath(QStringLiteral("a.mkv")).toStdString(); }

    std::vector<std::string> process(const std::string& mode) const {
        return {obvista_test::builtFile("tests/recording_process"), mode, path()};
    }

    MatroskaContent content() const { return readMatroska(QString::fromStdString(path())); }

    QTemporaryDir fFolder;
};

TEST_F(RecordingEnd, LeavesAFileThatPlaysToItsEndWhenTheProcessIsKilled) {
    ChildProcess recording(process("endless"));
    ASSERT_TRUE(recording.waitForOutput("written")) << recording.output() << recording.errors();
    recording.signal(SIGKILL);
    EXPECT_EQ(recording.waitForEnd(), -SIGKILL);

    const MatroskaContent killed = content();
    EXPECT_EQ(killed.fError, "");
    ASSERT_GE(killed.fPictures.size(), a_processFrames - 1);
    for (const MatroskaContent::Picture& picture : killed.fPictures) {
        EXPECT_EQ(picture.fJpeg, bytesOf(processFrame()));
    }
    std::string error;
    EXPECT_EQ(playMatroska(QString::fromStdString(path()), &error),
              static_cast<int>(killed.fPictures.size()));
    EXPECT_EQ(error, "");
}

TEST_F(RecordingEnd, CompletesTheFileWhenTheProcessExits) {
    ChildProcess recording(process("exit"));
    EXPECT_EQ(recording.waitForEnd(), 0) << recording.errors();
    EXPECT_EQ(recording.errors(), "");
    const MatroskaContent complete = content();
    EXPECT_EQ(complete.fError, "");
    EXPECT_EQ(complete.fPictures.size(), a_processFrames);
    EXPECT_GT(complete.fDuration, 0);
}

TEST_F(RecordingEnd, LeavesAFileThatPlaysWhenTheDiskIsFull) {
    const std::vector<std::string> own{"unshare", "--user", "--map-root-user", "--mount"};
    std::vector<std::string> probe = own;
    probe.push_back("true");
    if (ChildProcess(probe).waitForEnd() != 0) {
        GTEST_SKIP() << "namespaces are forbidden here";
    }
    const std::string folder = fFolder.path().toStdString();
    std::vector<std::string> command = own;
    command.insert(command.end(),
                   {"sh", "-c", "mount -t tmpfs -o size=1m none \"$0\" && exec \"$@\"", folder});
    const std::vector<std::string> recorder = process("full");
    command.insert(command.end(), recorder.begin(), recorder.end());
    ChildProcess recording(command);
    EXPECT_EQ(recording.waitForEnd(), 0) << recording.errors();

    const std::string output = recording.output();
    EXPECT_THAT(output, HasSubstr("The disk is full. The part recorded so far can be played."));
    EXPECT_THAT(output, HasSubstr(".png could not be written: No space left on device."));
    const std::size_t fit = 1024 * 1024 / processFrame().fSize;
    const std::size_t read = std::strtoul(output.c_str() + output.find("read ") + 5, nullptr, 10);
    EXPECT_GE(read, fit * 9 / 10);
    EXPECT_THAT(output, HasSubstr("\nplayed " + std::to_string(read) + " \n"));
}

TEST_F(RecordingEnd, InitialisesNothingBeforeTheFirstFrame) {
    ChildProcess idle(process("idle"));
    EXPECT_EQ(idle.waitForEnd(), 0);
    EXPECT_EQ(idle.output(), "not initialised\n");
}

/** The output of a recording where GStreamer has only some of its plugins. */
class MissingElement : public RecordingEnd {
  protected:
    std::string failureWith(const std::vector<std::string>& plugins) {
        const QDir system(QStringLiteral(OBVISTA_GSTREAMER_PLUGINS));
        for (const std::string& plugin : plugins) {
            const QString file = QString::fromStdString("libgst" + plugin + ".so");
            EXPECT_TRUE(QFile::link(system.filePath(file), fFolder.filePath(file)));
        }
        std::vector<std::string> command{
            "env", "GST_PLUGIN_SYSTEM_PATH_1_0=" + fFolder.path().toStdString(),
            "GST_REGISTRY_1_0=" + fFolder.filePath(QStringLiteral("registry")).toStdString()};
        const std::vector<std::string> recorder = process("one");
        command.insert(command.end(), recorder.begin(), recorder.end());
        ChildProcess recording(command);
        EXPECT_EQ(recording.waitForEnd(), 0) << recording.errors();
        return recording.output();
    }
};

TEST_F(MissingElement, NamesThePackageOfTheMuxer) {
    EXPECT_EQ(failureWith({"coreelements", "app"}),
              "Recording needs the GStreamer element \"matroskamux\", which is in the Debian "
              "package gstreamer1.0-plugins-good.\n");
}

TEST_F(MissingElement, NamesThePackageOfTheSource) {
    EXPECT_EQ(failureWith({"coreelements", "matroska"}),
              "Recording needs the GStreamer element \"appsrc\", which is in the Debian package "
              "gstreamer1.0-plugins-base.\n");
}

}  // namespace
