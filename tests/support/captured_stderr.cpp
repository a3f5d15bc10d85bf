#include "captured_stderr.h"

#include <cstdio>
#include <unistd.h>

namespace obvista_test {

CapturedStderr::CapturedStderr() : fOriginal(dup(STDERR_FILENO)) {
    if (!fFile.open()) {
        qFatal("no temporary file: %s", qPrintable(fFile.errorString()));
    }
    std::fflush(stderr);
    dup2(fFile.handle(), STDERR_FILENO);
}

CapturedStderr::~CapturedStderr() {
    std::fflush(stderr);
    dup2(fOriginal, STDERR_FILENO);
    close(fOriginal);
}

QString CapturedStderr::take() {
    std::fflush(stderr);
    QFile reader(fFile.fileName());
    reader.open(QIODevice::ReadOnly);
    reader.seek(fTaken);
    const QByteArray text = reader.readAll();
    fTaken += text.size();
    return QString::fromLocal8Bit(text);
}

}  // namespace obvista_test
