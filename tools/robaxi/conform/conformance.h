#ifndef OBVISTA_TOOLS_ROBAXI_CONFORM_CONFORMANCE_H
#define OBVISTA_TOOLS_ROBAXI_CONFORM_CONFORMANCE_H

#include "network/host_search.h"

#include <robaxi/kv_settings.h>

#include <functional>
#include <string>
#include <vector>

/**
 * The interface of the library that `robaxi conform` loads. It is separate, since gRPC takes longer
 * to load than most commands run.
 */
namespace robaxi_tool {

class Subject;

/** A check of one rule: bounded in time, and without a lasting effect on the robot. */
struct ConformCheck {
    const char* fName;      ///< "GROUP.TOPIC"
    const char* fRule;      ///< number of the rule in docs/protocol.md, or the page that has it
    const char* fSentence;  ///< the rule as it stands there, without marks; may be a part of it
    /** Returns if the rule holds. @throws Fault, NotChecked, Interrupted */
    void (*fRun)(Subject&);
};

struct ConformResult {
    enum class Verdict { Passed, Failed, Skipped };

    Verdict fVerdict = Verdict::Passed;
    std::string fText;  ///< the fault, or the reason why it is skipped
};

struct ConformRequest {
    Endpoint fEndpoint;
    KVSettings fSettings;
    int fTimeout;           ///< seconds; bound of each wait
    std::string fWritable;  ///< name of the key that the checks may write; empty: none
    /** Checks to run, in their order. */
    std::vector<const ConformCheck*> fChecks;
    Interruption& fInterruption;
    /** Receives each result at once. */
    std::function<void(const ConformCheck&, const ConformResult&)> fReport;
};

/** The functions of the library. */
struct Conformance {
    const std::vector<ConformCheck>& (*fChecks)();
    /** @throws Failure if the robot cannot be connected to; Interrupted */
    void (*fRun)(const ConformRequest&);
};

}  // namespace robaxi_tool

extern "C" __attribute__((visibility("default"))) const robaxi_tool::Conformance*
robaxiConformance();

#endif
