#include "discovery_lab.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace obvista_test::lab {

namespace {

std::vector<std::string> command(const std::string& program,
                                 const std::vector<std::string>& arguments) {
    std::vector<std::string> line{program};
    line.insert(line.end(), arguments.begin(), arguments.end());
    return line;
}

}  // namespace

Announcement::Announcement(const std::vector<std::string>& arguments)
    : fProcess(command("avahi-publish", arguments)) {
}

Announcement::~Announcement() {
    fProcess.signal(SIGTERM);
    fProcess.waitForEnd();
}

bool Announcement::isEstablished() {
    return fProcess.waitForErrors("Established");
}

bool nobodyAnnounces(const std::string& type) {
    ChildProcess browser({"avahi-browse", "--terminate", "--parsable", type});
    return browser.waitForEnd() == 0 && browser.output().empty();
}

std::string webServer(const std::string& folder, const std::string& path,
                      const std::string& content) {
    namespace fs = std::filesystem;
    const std::string file = folder + "/root" + path;
    fs::create_directories(fs::path(file).parent_path());
    std::ofstream(file, std::ios::binary) << content;

    std::ofstream configuration(folder + "/nginx.conf");
    configuration << "daemon off; master_process off; error_log stderr; pid " << folder
                  << "/pid;\n";
    if (geteuid() == 0) {
        configuration << "user root root;\n";  // a lab has one user
    }
    configuration << "events {}\nhttp {\n access_log off;\n";
    for (const char* name : {"client_body", "proxy", "fastcgi", "uwsgi", "scgi"}) {
        configuration << ' ' << name << "_temp_path " << folder << '/' << name << ";\n";
    }
    configuration << " server { listen 80; root " << folder << "/root; }\n}\n";
    return "nginx -e stderr -c " + folder + "/nginx.conf";
}

std::vector<std::string> hostName(const std::string& name, const std::string& address) {
    return {"--address", "--no-reverse", name, address};
}

std::vector<std::string> service(const std::string& name, const std::string& type) {
    return {"--service", "--host=" + name, name.substr(0, name.find('.')), type, "9559"};
}

}  // namespace obvista_test::lab
