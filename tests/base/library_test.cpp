#include <base/library.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

using testing::StrEq;

namespace {

/** Returns the text of the error for a file without a usable function of this name. */
std::string errorOf(const std::string& file, const char* function) {
    try {
        base::functionOfLibrary(file, function);
    } catch (const base::LibraryError& error) {
        return error.what();
    }
    return "no error";
}

}  // namespace

TEST(Library, ExportsAFunction) {
    const auto cosine = base::functionOfLibrary<double(double)>("libm.so.6", "cos");
    EXPECT_EQ(cosine(0), 1);
}

TEST(Library, ThatIsMissingIsAnErrorWithTheReason) {
    EXPECT_THAT(errorOf("/nonexistent/libx.so", "start"),
                StrEq("cannot open shared object file: No such file or directory"));
}

TEST(Library, ThatIsNotALibraryIsAnErrorWithTheReason) {
    const std::string file = std::filesystem::temp_directory_path() / "libtext.so";
    std::ofstream(file) << "a text that is longer than the header of a library, which has 64 bytes";
    EXPECT_THAT(errorOf(file, "start"), StrEq("invalid ELF header"));
}

TEST(Library, WithoutTheFunctionIsAnErrorWithItsName) {
    EXPECT_THAT(errorOf("libm.so.6", "obvistaNoSuchFunction"),
                testing::HasSubstr("undefined symbol: obvistaNoSuchFunction"));
}
