#ifndef OBVISTA_BENCH_HOST_FILE_CACHE_H
#define OBVISTA_BENCH_HOST_FILE_CACHE_H

#include <set>
#include <string>
#include <sys/types.h>

namespace bench {

/** The system's cache of files, which is emptied before a cold start. */
class FileCache {
  public:
    /** Adds the files that a running program has mapped: libraries, fonts and the like. */
    void addFilesOf(pid_t process);
    void addFile(const std::string& path) { fFiles.insert(path); }

    /**
     * Empties the whole cache, or, where that is not permitted, removes the added files from it.
     * Parts of files that running programs have mapped remain, for instance the C library.
     */
    void empty() const;

    /** Returns a description of what empty() does here. */
    std::string method() const;

  private:
    std::set<std::string> fFiles;
};

}  // namespace bench

#endif
