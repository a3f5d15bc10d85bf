#include "viewer_process_command.h"

#include <QCoreApplication>

namespace obvista_test {

std::vector<std::string> viewerProcess(const QString& plugin, const std::string& mode,
                                       int robotPort) {
    const QString program = QCoreApplication::applicationDirPath() + QLatin1Char('/') + plugin +
                            QStringLiteral("_process");
    return {program.toStdString(), mode, std::to_string(robotPort)};
}

}  // namespace obvista_test
