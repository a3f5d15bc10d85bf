#include "certificates.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>

namespace obvista_test {

Folder::Folder() {
    fPath = (std::filesystem::temp_directory_path() / "robaxi-XXXXXX").string();
    if (::mkdtemp(fPath.data()) == nullptr) {
        throw std::runtime_error("no folder for the test");
    }
}

Folder::~Folder() {
    std::filesystem::remove_all(fPath);
}

std::string Folder::write(const std::string& name, const std::string& content, unsigned mode) {
    const std::string file = path(name);
    std::filesystem::create_directories(std::filesystem::path(file).parent_path());
    std::ofstream(file) << content;
    ::chmod(file.c_str(), mode);
    return file;
}

Certificate makeCertificate(const Folder& folder, const std::string& name,
                            const std::string& names) {
    const Certificate certificate{folder.path(name + ".pem"), folder.path(name + "-key.pem")};
    const std::string command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj "
        "/CN=" +
        name + " -addext subjectAltName=" + names + " -out " + certificate.fFile + " -keyout " +
        certificate.fKey + " 2>/dev/null";
    if (std::system(command.c_str()) != 0) {  // NOLINT(cert-env33-c): the test's own texts
        throw std::runtime_error("no certificate was made: " + command);
    }
    return certificate;
}

}  // namespace obvista_test
