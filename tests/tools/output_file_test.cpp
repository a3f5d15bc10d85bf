#include "process/output_file.h"

#include "process/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

namespace robaxi_tool {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

/** A separate folder for each test. */
class OutputFile : public ::testing::Test {
  protected:
    OutputFile() {
        std::string name = fs::temp_directory_path() / "output_file.XXXXXX";
        fFolder = mkdtemp(name.data());
    }
    ~OutputFile() override { fs::remove_all(fFolder); }

    std::string path(const std::string& name) const { return fFolder / name; }

    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(fFolder)) {
            found.push_back(entry.path().filename());
        }
        return found;
    }

    fs::path fFolder;
};

TEST_F(OutputFile, HoldsEveryByteAndNothingElseIsLeft) {
    const std::string content("a\0b\n", 4);
    writeFile(path("new"), content);
    EXPECT_EQ(content, read("new"));
    writeFile(path("new"), "shorter");
    EXPECT_EQ("shorter", read("new"));
    EXPECT_THAT(names(), UnorderedElementsAre("new"));
}

TEST_F(OutputFile, HasTheUsersPermissions) {
    const mode_t before = umask(027);
    writeFile(path("new"), "content");
    umask(before);
    EXPECT_EQ(fs::perms(0640), fs::status(path("new")).permissions());
}

TEST_F(OutputFile, ALinkStaysOne) {
    writeFile(path("real"), "old");
    fs::create_symlink("real", path("link"));
    writeFile(path("link"), "new");
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ("new", read("real"));
}

TEST_F(OutputFile, ADeviceIsWrittenToAndNotReplaced) {
    writeFile("/dev/null", "content");
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(OutputFile, WhatCannotBeWrittenIsTold) {
    const auto reason = [](const std::string& name) -> std::string {
        try {
            writeFile(name, "content");
        } catch (const Failure& failure) {
            EXPECT_EQ(ExitStatus::CannotWrite, failure.status());
            return failure.what();
        }
        return "it was written";
    };
    EXPECT_THAT(reason("/dev/full"), HasSubstr("/dev/full cannot be written: No space left"));
    EXPECT_THAT(reason(path("nosuch/file")), HasSubstr("No such file or directory"));
    EXPECT_THAT(reason(fFolder), HasSubstr("Is a directory"));
}

TEST(FileNameWord, HasOnlyWhatEveryFileSystemAndShellTakes) {
    EXPECT_EQ("robot-1.a", fileNameWord("robot-1.a"));
    EXPECT_EQ("_._etc_passwd", fileNameWord("../etc/passwd"));
    EXPECT_EQ("_rf__", fileNameWord("-rf *"));
    EXPECT_EQ("a___31m", fileNameWord("a\n\x1b[31m"));
    EXPECT_EQ(80U, fileNameWord(std::string(1000, 'a')).size());
}

}  // namespace
}  // namespace robaxi_tool
