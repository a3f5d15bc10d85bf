#include "network/aliases.h"

#include "process/failure.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>
#include <vector>

namespace robaxi_tool {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

/** A separate folder of settings for each test. */
class AliasesTest : public ::testing::Test {
  protected:
    AliasesTest() {
        std::string name = fs::temp_directory_path() / "aliases.XXXXXX";
        fFolder = mkdtemp(name.data());
        setenv("XDG_CONFIG_HOME", fFolder.c_str(), 1);
        fFile = aliasFile();
    }
    ~AliasesTest() override {
        unsetenv("XDG_CONFIG_HOME");
        fs::remove_all(fFolder);
    }

    void write(const std::string& content) const {
        fs::create_directories(fs::path(fFile).parent_path());
        std::ofstream(fFile) << content;
    }

    std::string content() const {
        std::ifstream file(fFile);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string errorOf(const std::string& content) const {
        write(content);
        try {
            readAliases(fFile);
        } catch (const Failure& failure) {
            EXPECT_EQ(ExitStatus::WrongUsage, failure.status());
            return failure.what();
        }
        return {};
    }

    fs::path fFolder;
    std::string fFile;
};

TEST_F(AliasesTest, AreKeptBesideTheSettings) {
    EXPECT_EQ(fFolder / "Quorvane Robotics/robaxi.aliases", fs::path(fFile));
}

TEST_F(AliasesTest, AreNoneWithoutAFile) {
    EXPECT_THAT(readAliases(fFile), IsEmpty());
    EXPECT_EQ("kitchen", givenTarget("kitchen").fHost);
}

TEST_F(AliasesTest, AreReadFromLines) {
    write("# the lab\n\nkitchen = 10.0.0.5:7000\n  hall=robot1\t\r\n");
    EXPECT_THAT(readAliases(fFile),
                ElementsAre(Pair("hall", "robot1"), Pair("kitchen", "10.0.0.5:7000")));
}

TEST_F(AliasesTest, NameTheLineThatIsWrong) {
    EXPECT_THAT(errorOf("a = b\nkitchen\n"), HasSubstr("robaxi.aliases, line 2: "));
    EXPECT_THAT(errorOf("two words = robot1\n"), HasSubstr("'two words' cannot be an alias"));
    EXPECT_THAT(errorOf("a = robot1:port\n"), HasSubstr("line 1: a port is a number"));
    EXPECT_THAT(errorOf(std::string((1 << 20) + 1, '#')), HasSubstr("larger than 1 MiB"));
}

TEST_F(AliasesTest, AreWrittenWithoutChangingOtherLines) {
    writeAlias(fFile, "a", "one");
    EXPECT_EQ("a = one\n", content());
    write("# the lab\nb = two\na = one\nnonsense");
    writeAlias(fFile, "b", "three");
    EXPECT_EQ("# the lab\nb = three\na = one\nnonsense\n", content());
    writeAlias(fFile, "b", {});
    EXPECT_EQ("# the lab\na = one\nnonsense\n", content());
}

TEST_F(AliasesTest, OfWritersAtTheSameTimeAreAllKept) {
    constexpr int writers = 4;
    constexpr int each = 10;
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer) {
        threads.emplace_back([this, writer] {
            for (int number = 0; number < each; ++number) {
                writeAlias(fFile, std::to_string(writer) + '-' + std::to_string(number), "host");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::size_t{writers * each}, readAliases(fFile).size());
}

TEST_F(AliasesTest, StandForTheirHost) {
    write("kitchen = 10.0.0.5:7000\nhall = robot1\nsix = [::1]:7001\n");
    EXPECT_EQ("10.0.0.5", givenTarget("kitchen").fHost);
    EXPECT_EQ(7000, givenTarget("kitchen").fPort);
    EXPECT_EQ(8000, givenTarget("kitchen:8000").fPort) << "the port that is given";
    EXPECT_EQ("robot1", givenTarget("hall").fHost);
    EXPECT_EQ(std::nullopt, givenTarget("hall").fPort);
    EXPECT_EQ("::1", givenTarget("six").fHost);
    EXPECT_EQ("robot1", givenTarget("robot1").fHost);
}

TEST_F(AliasesTest, AreNoAddressesAndNoPunctuation) {
    for (const char* name : {"", "10.0.0.5", "::1", "a:1", "a b", "a=b", "#a", "[a]", "a\n"}) {
        EXPECT_THROW(checkAliasName(name), UsageError) << name;
    }
    EXPECT_NO_THROW(checkAliasName("kitchen-2.lab_a"));
}

}  // namespace
}  // namespace robaxi_tool
