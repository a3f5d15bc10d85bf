#ifndef OBVISTA_TESTS_SUPPORT_FILE_SIZE_LIMIT_H
#define OBVISTA_TESTS_SUPPORT_FILE_SIZE_LIMIT_H

#include <csignal>
#include <sys/resource.h>

namespace obvista_test {

/** Limits the size of the files of this process while it exists. */
class FileSizeLimit {
  public:
    explicit FileSizeLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &fBefore);
        rlimit limit = fBefore;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &fBefore); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    rlimit fBefore{};
};

}  // namespace obvista_test

#endif
