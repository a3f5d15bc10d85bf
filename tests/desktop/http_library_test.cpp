// The library on libcurl, which is loaded with the first download.
#include "child_process.h"
#include "project_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

using obvista_test::builtFile;
using obvista_test::ChildProcess;

namespace {

/** An installation of the program that downloads an icon, without the library for downloads. */
class Installation {
  public:
    Installation() : fFolder(fs::canonical(fs::temp_directory_path()) / "installation") {
        fs::create_directories(fFolder / "bin");
        fs::create_directories(library().parent_path());
        fs::copy_file(builtFile("tests/icon_program"), program());
    }
    ~Installation() { fs::remove_all(fFolder); }
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;

    fs::path program() const { return fFolder / "bin/icon_program"; }
    fs::path library() const { return fFolder / "lib/obvista/http/libobvista_http.so"; }

    /** Expects that the program reports an icon without bytes, and this reason. */
    void expectNoIcon(const std::string& reason) const {
        ChildProcess process({"env", "LD_LIBRARY_PATH=" + builtFile("lib"), program()});
        EXPECT_EQ(process.waitForEnd(), 0);
        EXPECT_EQ(process.output(), "finished with 0 bytes\n");
        const std::string failure =
            "Unable to download the file http://127.0.0.1/media/buddy.icon : The library " +
            (fFolder / "bin/../lib/obvista/http/libobvista_http.so").string() +
            " cannot be loaded: " + reason;
        EXPECT_EQ(process.errors(),
                  failure + ", but let's retry.\n" + failure + ", and we tried twice...\n");
    }

  private:
    const fs::path fFolder;
};

}  // namespace

TEST(HttpLibrary, ThatIsMissingLeavesRobotsWithoutIcons) {
    Installation().expectNoIcon("cannot open shared object file: No such file or directory");
}

TEST(HttpLibrary, ThatIsDamagedLeavesRobotsWithoutIcons) {
    const Installation installation;
    std::ofstream(installation.library()) << std::string(1000, '?');
    installation.expectNoIcon("invalid ELF header");
}
