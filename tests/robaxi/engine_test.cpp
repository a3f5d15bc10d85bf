// When the engine is loaded, from where, and what happens when it cannot be.
#include "child_process.h"
#include "support/project_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

using obvista_test::builtFile;
using testing::HasSubstr;

namespace {

const std::string a_beforeTheNetwork = "start: not loaded\nbroker: not loaded\n";
const std::string a_refused =
    "connect: Cannot reach 127.0.0.1 port 1: nothing listens on that port. Check that the robot's "
    "middleware is running and that the port is right.\nconnect: loaded\n";

std::string builtEngine() {
    return builtFile("lib/" ROBAXI_ENGINE_FILE);
}

/** A folder with librobaxi alone, for the program to use in place of the built one. */
class LibraryFolder {
  public:
    LibraryFolder() : fFolder(fs::canonical(fs::temp_directory_path()) / "libraries") {
        fs::create_directories(fs::path(engine()).parent_path());
    }
    ~LibraryFolder() { fs::remove_all(fFolder); }
    LibraryFolder(const LibraryFolder&) = delete;
    LibraryFolder& operator=(const LibraryFolder&) = delete;

    std::string library() const { return fFolder / "librobaxi.so.0"; }
    std::string engine() const { return fFolder / ROBAXI_ENGINE_FILE; }

    /** Returns the output of the program with these libraries. */
    std::string run(const std::vector<std::string>& arguments) const {
        std::vector<std::string> command{"env", "LD_LIBRARY_PATH=" + fFolder.string(),
                                         builtFile("tests/robaxi_engine_program")};
        command.insert(command.end(), arguments.begin(), arguments.end());
        obvista_test::ChildProcess program(command);
        EXPECT_EQ(program.waitForEnd(), 0) << program.errors();
        return program.output();
    }

  private:
    const fs::path fFolder;
};

std::string unusable(const std::string& way, const std::string& engine, const std::string& reason) {
    return way + ": The middleware's library " + engine + " cannot be loaded: " + reason +
           ". Install the program again.\n";
}

}  // namespace

TEST(Engine, IsLoadedByTheFirstConnection) {
    obvista_test::ChildProcess program({builtFile("tests/robaxi_engine_program"), "connect"});
    EXPECT_EQ(program.waitForEnd(), 0) << program.errors();
    EXPECT_EQ(program.output(), a_beforeTheNetwork + a_refused);
}

TEST(Engine, IsLoadedByABrokerThatListens) {
    obvista_test::ChildProcess program({builtFile("tests/robaxi_engine_program"), "listen"});
    EXPECT_EQ(program.waitForEnd(), 0) << program.errors();
    EXPECT_EQ(program.output(), a_beforeTheNetwork + "listen: done\nlisten: loaded\n");
}

TEST(Engine, IsFoundWhereALinkToTheLibraryLeads) {
    const LibraryFolder folder;
    fs::create_symlink(builtFile("lib/librobaxi.so.0"), folder.library());
    EXPECT_EQ(folder.run({"connect"}), a_beforeTheNetwork + a_refused);
}

TEST(Engine, ThatIsMissingIsAnErrorThatNamesItsFile) {
    const LibraryFolder folder;
    fs::copy_file(builtFile("lib/librobaxi.so.0"), folder.library());
    for (const std::string way : {"connect", "listen"}) {
        EXPECT_EQ(folder.run({way}),
                  a_beforeTheNetwork +
                      unusable(way, folder.engine(),
                               "cannot open shared object file: No such file or directory") +
                      way + ": not loaded\n");
    }
}

TEST(Engine, IsLookedForAgainAfterAFailure) {
    const LibraryFolder folder;
    fs::copy_file(builtFile("lib/librobaxi.so.0"), folder.library());
    const std::string output = folder.run({"connect", folder.engine(), builtEngine()});
    EXPECT_THAT(output, HasSubstr("cannot open shared object file"));
    EXPECT_THAT(output, testing::EndsWith("connect: not loaded\n" + a_refused));
}

TEST(Engine, OfAnotherVersionIsNotUsed) {
    const LibraryFolder folder;
    fs::copy_file(builtFile("lib/librobaxi.so.0"), folder.library());
    fs::copy_file(builtFile("tests/other_engine.so"), folder.engine());
    EXPECT_THAT(
        folder.run({"connect"}),
        HasSubstr(unusable("connect", folder.engine(), "it is not of version " ROBAXI_VERSION)));
}

TEST(Engine, ThatIsNoneIsNotUsed) {
    const LibraryFolder folder;
    fs::copy_file(builtFile("lib/librobaxi.so.0"), folder.library());
    fs::copy_file(builtFile("lib/librobaxi.so.0"), folder.engine());
    EXPECT_THAT(folder.run({"listen"}),
                HasSubstr(unusable("listen", folder.engine(), "undefined symbol: robaxiEngine")));
}
