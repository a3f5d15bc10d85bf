#include "process/exit_status.h"

#include "project_files.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace robaxi_tool {
namespace {

std::string document() {
    std::ifstream file(obvista_test::sourceFile("docs/robaxi-tool.md"));
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

TEST(ExitStatus, TheTableIsRepeatedInTheDocument) {
    const std::string text = document();
    std::string table = "| status | meaning |\n|---|---|\n";
    for (const ExitCode& code : exitCodes()) {
        table += "| " + code.fNumber + " | " + code.fMeaning + " |\n";
    }
    EXPECT_NE(text.find(table), std::string::npos) << "docs/robaxi-tool.md lacks:\n" << table;
}

TEST(ExitStatus, EachCauseHasTheNumberThatScriptsKnow) {
    using Cause = KVError::Cause;
    const std::vector<std::pair<Cause, int>> expected = {
        {Cause::NameNotFound, 3},   {Cause::NoRoute, 4},         {Cause::Refused, 4},
        {Cause::TimedOut, 5},       {Cause::ProtocolVersion, 6}, {Cause::NotAuthorised, 7},
        {Cause::NoSuchModule, 8},   {Cause::NoSuchMethod, 8},    {Cause::WrongArguments, 8},
        {Cause::WrongType, 8},      {Cause::InvalidArgument, 8}, {Cause::TooLarge, 8},
        {Cause::RaisedByModule, 9}, {Cause::ConnectionLost, 10}, {Cause::Internal, 13},
        {Cause::Cancelled, 13},     {Cause::AddressInUse, 13},   {Cause::CannotListen, 13}};
    for (const auto& [cause, number] : expected) {
        EXPECT_EQ(number, static_cast<int>(exitStatusOf(cause))) << static_cast<int>(cause);
    }
}

}  // namespace
}  // namespace robaxi_tool
