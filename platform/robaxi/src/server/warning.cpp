#include "server/warning.h"

#include <sockets/line_writer.h>
#include <unistd.h>

namespace robaxi {

void warn(const std::string& brokerName, const std::string& text) {
    sockets::writeLine(STDERR_FILENO, "robaxi: " + brokerName + ": " + text);
}

}  // namespace robaxi
