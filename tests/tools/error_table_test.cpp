// The table of errors in docs/protocol.md, compared with the library and the command line tool.
#include "error_sentences.h"
#include "process/exit_status.h"
#include "project_files.h"
#include "wire/message_codec.h"
#include "wire/status_codec.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <string>

namespace {

using robaxi::v1::Error;

struct Row {
    std::string fStatus;
    std::string fSentence;
    int fExitStatus = 0;
};

std::map<std::string, Row> readTable() {
    std::ifstream page(obvista_test::sourceFile("docs/protocol.md"));
    const std::regex row(R"(\| `([A-Z_]+)` \| `([A-Z_]+)` \| ([^|`]+) \| `[A-Za-z]+` \| (\d+) \|)");
    std::map<std::string, Row> table;
    std::string line;
    std::smatch found;
    while (std::getline(page, line)) {
        if (std::regex_match(line, found, row)) {
            table[found[1]] = {found[2], found[3], std::stoi(found[4])};
        }
    }
    return table;
}

std::string nameOf(grpc::StatusCode code) {
    static const std::map<grpc::StatusCode, std::string> names{
        {grpc::StatusCode::INTERNAL, "INTERNAL"},
        {grpc::StatusCode::INVALID_ARGUMENT, "INVALID_ARGUMENT"},
        {grpc::StatusCode::NOT_FOUND, "NOT_FOUND"},
        {grpc::StatusCode::UNKNOWN, "UNKNOWN"},
        {grpc::StatusCode::PERMISSION_DENIED, "PERMISSION_DENIED"},
        {grpc::StatusCode::UNAUTHENTICATED, "UNAUTHENTICATED"},
        {grpc::StatusCode::RESOURCE_EXHAUSTED, "RESOURCE_EXHAUSTED"},
        {grpc::StatusCode::CANCELLED, "CANCELLED"},
        {grpc::StatusCode::DEADLINE_EXCEEDED, "DEADLINE_EXCEEDED"},
        {grpc::StatusCode::FAILED_PRECONDITION, "FAILED_PRECONDITION"},
        {grpc::StatusCode::UNAVAILABLE, "UNAVAILABLE"}};
    return names.at(code);
}

}  // namespace

TEST(ErrorTable, ListsEveryCauseWithItsStatusSentenceAndExitStatus) {
    const auto table = readTable();
    EXPECT_EQ(table.size(), static_cast<std::size_t>(Error::Cause_ARRAYSIZE));
    for (int number = Error::Cause_MIN; number <= Error::Cause_MAX; ++number) {
        const auto cause = static_cast<Error::Cause>(number);
        const std::string& name = Error::Cause_Name(cause);
        const auto row = table.find(name);
        ASSERT_NE(row, table.end()) << name;
        EXPECT_EQ(row->second.fStatus, nameOf(robaxi::statusCodeOf(cause))) << name;
        EXPECT_EQ(row->second.fSentence, robaxi::sentenceOf(cause)) << name;
        const auto exitStatus = robaxi_tool::exitStatusOf(robaxi::decodeCause(cause));
        EXPECT_EQ(row->second.fExitStatus, static_cast<int>(exitStatus)) << name;
    }
}
