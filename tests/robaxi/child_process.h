#ifndef OBVISTA_TESTS_ROBAXI_CHILD_PROCESS_H
#define OBVISTA_TESTS_ROBAXI_CHILD_PROCESS_H

#include <string>
#include <sys/types.h>
#include <vector>

namespace robaxi_test {

/** A program that a test starts; killed with the object when it still runs. */
class ChildProcess {
  public:
    /** Starts a program with its standard output and error readable here. */
    explicit ChildProcess(const std::vector<std::string>& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return fPid; }
    void signal(int number) const;
    /** Reads until a line of the output is `line`; false when the output ends before. */
    bool readUntil(const std::string& line);
    /** Reads what else the program writes and waits for its end. Returns its status as waitpid().
     */
    int finish();
    const std::string& output() const { return fOutput; }

  private:
    bool xReadSome();

    pid_t fPid = -1;
    int fPipe = -1;
    std::string fOutput;
    bool fIsFinished = false;
    int fStatus = 0;
};

}  // namespace robaxi_test

#endif
