#ifndef OBVISTA_TESTS_SUPPORT_OPEN_DESCRIPTORS_H
#define OBVISTA_TESTS_SUPPORT_OPEN_DESCRIPTORS_H

#include <QDir>

namespace obvista_test {

/** Returns the number of open file descriptors of the process. */
inline int openDescriptors() {
    // Listing them opens one.
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

}  // namespace obvista_test

#endif
