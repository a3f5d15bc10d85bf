#include "plots/plot_export.h"

#include "plots/plot_view.h"
#include "recording/csv_file.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPainter>
#include <QSaveFile>

#include <utility>

namespace memoryviewer {

namespace {

constexpr std::size_t a_bytesPerWrite = 65536;

QString failure(const QString& fileName, const QString& reason) {
    //: %1 is a file, %2 the system's reason
    return QCoreApplication::translate("memoryviewer::PlotExport", "%1 cannot be written: %2.")
        .arg(QFileInfo(fileName).fileName(), reason);
}

}  // namespace

QImage plotPicture(PlotView& plot, const std::vector<LegendEntry>& entries) {
    const QPixmap picture = plot.grab();
    const qreal ratio = picture.devicePixelRatioF();
    const QFontMetrics metrics = plot.fontMetrics();
    const int margin = metrics.height() / 2;
    const int legend = metrics.height() * static_cast<int>(entries.size()) + 2 * margin;
    QImage image(QSize(plot.width(), plot.height() + legend) * ratio, QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(plot.palette().color(QPalette::Window));

    QPainter painter(&image);
    painter.drawPixmap(0, 0, picture);
    painter.setFont(plot.font());
    painter.setPen(plot.palette().color(QPalette::WindowText));
    int top = plot.height() + margin;
    for (const LegendEntry& entry : entries) {
        painter.drawPixmap(margin, top, legendPicture(entry.fPen, image, metrics.height()));
        const int left = 2 * margin + 2 * metrics.height();
        const QString text =
            metrics.elidedText(legendText(entry), Qt::ElideMiddle, plot.width() - left - margin);
        painter.drawText(left, top + metrics.ascent(), text);
        top += metrics.height();
    }
    return image;
}

QString savePicture(const QImage& picture, const QString& fileName) {
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || !picture.save(&file, "PNG") || !file.commit()) {
        return failure(fileName, file.errorString());
    }
    return {};
}

PointExport::~PointExport() {
    fIsGivenUp = true;
    if (fThread.joinable()) {
        fThread.join();
    }
}

void PointExport::start(std::vector<ExportedCurve> curves, double left, double right,
                        const QString& fileName) {
    if (isRunning()) {
        return;
    }
    fRows = 0;
    fThread = std::thread([this, curves = std::move(curves), left, right, fileName] {
        const QString error = xWrite(curves, left, right, fileName);
        const auto finish = [this, fileName, error] {
            fThread.join();
            Q_EMIT finished(fileName, fRows, error);
        };
        QMetaObject::invokeMethod(this, finish, Qt::QueuedConnection);
    });
}

QString PointExport::xWrite(const std::vector<ExportedCurve>& curves, double left, double right,
                            const QString& fileName) {
    CsvFile file;
    std::string rows(robot_recording::a_csvHeader);
    bool isGood = file.open(fileName);
    for (const ExportedCurve& curve : curves) {
        for (std::size_t i = 0; i < curve.fPoints.size() && isGood && !fIsGivenUp; ++i) {
            const CurvePoint point = curve.fPoints.at(i);
            const auto time = static_cast<double>(point.fTime);
            if (time < left || time > right) {
                continue;
            }
            if (curve.fPoints.isInterruption(i)) {
                robot_recording::appendGapRow(rows, point.fTime, curve.fKey);
            } else {
                robot_recording::appendValueRow(rows, point.fTime, curve.fKey, point.fValue);
            }
            ++fRows;
            if (rows.size() >= a_bytesPerWrite) {
                isGood = file.append(rows);
                rows.clear();
            }
        }
    }
    if (isGood) {
        file.append(rows);
    }
    file.close();
    return file.error();
}

}  // namespace memoryviewer
