#ifndef OBVISTA_TESTS_SUPPORT_CERTIFICATES_H
#define OBVISTA_TESTS_SUPPORT_CERTIFICATES_H

#include <string>

namespace obvista_test {

/** A temporary folder for the files of one test, removed with it. */
class Folder {
  public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string path(const std::string& name) const { return fPath + "/" + name; }
    /** Writes a file with these permissions and returns its path. */
    std::string write(const std::string& name, const std::string& content, unsigned mode = 0600);

  private:
    std::string fPath;
};

/** The files of a self-signed certificate. */
struct Certificate {
    std::string fFile;
    std::string fKey;
};

/** @param names as in a certificate, for instance "IP:127.0.0.1" or "DNS:robot.local" */
Certificate makeCertificate(const Folder& folder, const std::string& name,
                            const std::string& names);

}  // namespace obvista_test

#endif
