#include "snapshot.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QImageWriter>
#include <QSaveFile>

namespace cameraviewer {
namespace {

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(cameraviewer::Snapshot)
};

QString failureText(const QString& file, const QString& reason) {
    //: %1 is a file, %2 the system's reason
    return Texts::tr("The snapshot %1 could not be written: %2.")
        .arg(QDir::toNativeSeparators(file), reason);
}

void describe(QImageWriter& writer, const KVFrame& frame, const PictureOrigin& origin) {
    writer.setText(QStringLiteral("Robot"), originText(origin.fRobot));
    writer.setText(QStringLiteral("Camera"), originText(origin.fCamera));
    writer.setText(QStringLiteral("Time"), timeText(frame.fTime));
    writer.setText(QStringLiteral("Frame"), QString::number(frame.fNumber));
    writer.setText(QStringLiteral("Format"), formatText(frame.fFormat));
    writer.setText(QStringLiteral("Software"), QStringLiteral("Obvista"));
}

}  // namespace

QString writeSnapshot(const Picture& picture, const PictureOrigin& origin, const QString& file) {
    if (picture.fImage.isNull()) {
        return failureText(file, Texts::tr("there is no picture"));
    }
    // Encoded in memory, since Qt does not report all write errors at the end.
    QBuffer png;
    QImageWriter writer(&png, "png");
    describe(writer, picture.fFrame, origin);
    if (!writer.write(picture.fImage)) {
        return failureText(file, writer.errorString());
    }
    QSaveFile output(file);
    const bool isWritten = output.open(QIODevice::WriteOnly) &&
                           output.write(png.data()) == png.size() && output.commit();
    return isWritten ? QString() : failureText(file, output.errorString());
}

}  // namespace cameraviewer
