#include "scanner.h"

namespace recording {

FieldReader fieldsOf(const InputFile& file, const OuterRecord& record, std::uint64_t most) {
    if (record.contentSize() > most) {
        fail(nameOf(record.fOpcode), record.fOffset,
             "has " + std::to_string(record.contentSize()) + " bytes; at most " +
                 std::to_string(most) + " are allowed");
    }
    return {record.fOpcode,
            file.view(record.contentOffset(), static_cast<std::size_t>(record.contentSize())),
            record.fOffset};
}

std::optional<OuterRecord> Scanner::next() {
    const std::uint64_t left = fEnd - fPosition;
    if (left == 0) {
        return std::nullopt;
    }
    if (left < a_prefixSize) {
        fail("record", fPosition, "is cut off");
    }
    const std::string_view prefix = fFile.view(fPosition, a_prefixSize);
    const auto opcode = static_cast<Opcode>(prefix.front());
    if (opcode == Opcode{}) {
        fail("record", fPosition, "has the invalid type 0");
    }
    const auto length = numberAt<std::uint64_t>(prefix.data() + 1);
    if (length > left - a_prefixSize) {
        fail(nameOf(opcode), fPosition, "is cut off");
    }
    const OuterRecord record{opcode, fPosition, a_prefixSize + length};
    fPosition += record.fLength;
    return record;
}

Footer readFooter(const InputFile& file) {
    constexpr std::uint64_t endSize = a_footerSize + a_magic.size();
    Footer footer;
    if (file.size() < a_magic.size() + endSize) {
        fail("file", file.size(), "ends without a footer");
    }
    footer.fOffset = file.size() - endSize;
    const std::string_view end = file.view(footer.fOffset, endSize);
    const bool isFooter = end.substr(a_footerSize) == a_magic &&
                          static_cast<Opcode>(end.front()) == Opcode::Footer &&
                          numberAt<std::uint64_t>(end.data() + 1) == a_footerSize - a_prefixSize;
    if (!isFooter) {
        fail("file", file.size(), "ends without a footer");
    }
    FieldReader fields(Opcode::Footer, end.substr(a_prefixSize, a_footerSize - a_prefixSize),
                       footer.fOffset);
    footer.fSummaryStart = fields.number<std::uint64_t>();
    footer.fOffsetsStart = fields.number<std::uint64_t>();
    footer.fSummaryCrc = fields.number<std::uint32_t>();
    footer.fSummaryEnd = footer.fOffsetsStart == 0 ? footer.fOffset : footer.fOffsetsStart;
    const bool isInFile =
        footer.fSummaryEnd <= footer.fOffset &&
        (footer.fSummaryStart == 0 ||
         (footer.fSummaryStart >= a_magic.size() && footer.fSummaryStart <= footer.fSummaryEnd));
    if (!isInFile) {
        fields.fail("points outside the file");
    }
    return footer;
}

}  // namespace recording
