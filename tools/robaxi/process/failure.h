#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_FAILURE_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_FAILURE_H

#include "process/exit_status.h"

#include <exception>
#include <stdexcept>

namespace robaxi_tool {

/** Ends the command with a sentence for the user and a status. */
class Failure : public std::runtime_error {
  public:
    Failure(ExitStatus status, const std::string& sentence)
        : std::runtime_error(sentence), fStatus(status) {}

    ExitStatus status() const { return fStatus; }

  private:
    ExitStatus fStatus;
};

/** An error in the command line. */
class UsageError : public Failure {
  public:
    explicit UsageError(const std::string& sentence) : Failure(ExitStatus::WrongUsage, sentence) {}
};

/** Ends the command silently: the reader of the results has closed. */
class ReaderGone : public std::exception {};

/** Ends the command silently after a signal (see Interruption). */
class Interrupted : public std::exception {};

}  // namespace robaxi_tool

#endif
