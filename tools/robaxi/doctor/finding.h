#ifndef OBVISTA_TOOLS_ROBAXI_DOCTOR_FINDING_H
#define OBVISTA_TOOLS_ROBAXI_DOCTOR_FINDING_H

#include <string>

namespace robaxi_tool {

enum class Verdict {
    Good,
    Note,     ///< worth knowing; nothing fails because of it alone
    Problem,  ///< something will not work
    Skipped   ///< could not be looked at, or does not apply
};

/** What one check of the doctor found. */
struct Finding {
    Verdict fVerdict = Verdict::Good;
    std::string fText;    ///< one sentence
    std::string fAdvice;  ///< what to do; empty when there is nothing to do
};

std::string nameOf(Verdict verdict);

}  // namespace robaxi_tool

#endif
