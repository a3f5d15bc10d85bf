#include "doctor/finding.h"

namespace robaxi_tool {

std::string nameOf(Verdict verdict) {
    switch (verdict) {
        case Verdict::Good:
            return "ok";
        case Verdict::Note:
            return "note";
        case Verdict::Problem:
            return "problem";
        case Verdict::Skipped:
            break;
    }
    return "skipped";
}

}  // namespace robaxi_tool
