#ifndef OBVISTA_TESTS_SUPPORT_OPEN_DESCRIPTORS_H
#define OBVISTA_TESTS_SUPPORT_OPEN_DESCRIPTORS_H

#include <QDir>

namespace obvista_test {

/** How many file descriptors the process has open now. */
inline int openDescriptors() {
    // The listing itself has one open, each time.
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

}  // namespace obvista_test

#endif
