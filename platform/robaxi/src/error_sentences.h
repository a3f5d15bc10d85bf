#ifndef ROBAXI_ERROR_SENTENCES_H
#define ROBAXI_ERROR_SENTENCES_H

#include "failure.h"

#include <string>

namespace robaxi {

/** Subject of a failure; empty fields are not mentioned. */
struct Target {
    std::string fModule;
    std::string fMethod;
    std::string fAddress;
    int fPort = 0;
    double fTimeOut = 0;  // seconds
};

/** Returns the cause in words, for the middle of a sentence. */
ROBAXI_EXPORT const char* reasonOf(KVError::Cause cause);

/** Returns the sentence for the user: what was tried, where, why it failed and what to try next. */
ROBAXI_EXPORT KVError describe(const Target& target, const Failure& failure);

/** Returns the sentence for a broker that could not listen. */
KVError describeListening(const std::string& address, int port, const Failure& failure);

}  // namespace robaxi

#endif
