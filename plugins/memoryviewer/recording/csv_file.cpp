#include "recording/csv_file.h"

#include <base/file_descriptor.h>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace memoryviewer {

namespace {

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(memoryviewer::CsvFile)
};

QString reason(int number) {
    switch (number) {
        case ENOSPC:
        case EDQUOT:
            return Texts::tr("The disk is full.");
        case EFBIG:
            return Texts::tr("The file has reached the largest size allowed.");
        case EACCES:
        case EPERM:
        case EROFS:
            return Texts::tr("You are not allowed to write there.");
        case ENOENT:
            return Texts::tr("The folder does not exist.");
        case EISDIR:
            return Texts::tr("It is a folder.");
        default:
            return QString::fromLocal8Bit(std::strerror(number)) + QLatin1Char('.');
    }
}

}  // namespace

CsvFile::~CsvFile() {
    close();
}

bool CsvFile::open(const QString& fileName) {
    close();
    fFileName = fileName;
    fError.clear();
    fSize = 0;
    fRows = 0;
    constexpr mode_t mode = 0666;  // the user's mask takes from it
    // Must not block for a pipe without a reader.
    fDescriptor = ::open(QFile::encodeName(fileName).constData(),
                         O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, mode);
    return isOpen() || xFail(errno);
}

bool CsvFile::append(std::string_view rows) {
    if (!isOpen() || !fError.isEmpty()) {
        return false;
    }
    std::size_t written = 0;
    if (const int number = base::writeAll(fDescriptor, rows, &written)) {
        const std::size_t lastEnd = rows.substr(0, written).rfind('\n');
        xCount(rows.substr(0, lastEnd == std::string_view::npos ? 0 : lastEnd + 1));
        xCutPartialRow();
        return xFail(number);
    }
    xCount(rows);
    return true;
}

/** Counts the rows that are in the file. */
void CsvFile::xCount(std::string_view rows) {
    fSize += static_cast<std::int64_t>(rows.size());
    fRows += static_cast<std::uint64_t>(std::count(rows.begin(), rows.end(), '\n'));
}

bool CsvFile::sync() {
    if (!isOpen() || !fError.isEmpty()) {
        return fError.isEmpty();
    }
    // Files that are not on a disk cannot be synchronised, and need not be.
    return ::fdatasync(fDescriptor) == 0 || errno == EINVAL || errno == EROFS || xFail(errno);
}

bool CsvFile::close() {
    if (isOpen()) {
        sync();
        const int descriptor = fDescriptor;
        fDescriptor = -1;
        if (::close(descriptor) != 0 && fError.isEmpty()) {
            xFail(errno);
        }
    }
    return fError.isEmpty();
}

/** @return false, as the result of the caller */
bool CsvFile::xFail(int number) {
    fError =
        //: %1 is a file, %2 a sentence
        Texts::tr("%1 cannot be written: %2").arg(QFileInfo(fFileName).fileName(), reason(number));
    return false;
}

bool CsvFile::xCutPartialRow() {
    return ::ftruncate(fDescriptor, fSize) == 0;
}

}  // namespace memoryviewer
