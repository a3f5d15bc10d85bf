#ifndef OBVISTA_MEMORYVIEWER_PLOT_EXPORT_H
#define OBVISTA_MEMORYVIEWER_PLOT_EXPORT_H

#include "plots/curve_history.h"
#include "plots/curve_legend.h"

#include <QImage>
#include <QObject>
#include <QString>

#include <atomic>
#include <cstdint>
#include <robot_recording/csv_rows.h>
#include <thread>
#include <vector>

namespace memoryviewer {

class PlotView;

/** Returns a picture of a plot as on the screen, with its legend below. */
QImage plotPicture(PlotView& plot, const std::vector<LegendEntry>& entries);

/**
 * Writes a PNG completely or not at all. @return a sentence for the user, empty if it was written
 */
QString savePicture(const QImage& picture, const QString& fileName);

/** The points of a curve to be written to a file. */
struct ExportedCurve {
    robot_recording::CsvKey fKey;
    CurveHistory fPoints;
};

/**
 * Writes points to a CSV file with the columns of a recording, on a dedicated thread, curve after
 * curve in the order of arrival. Gaps are rows without a value and with the type "gap".
 */
class PointExport : public QObject {
    Q_OBJECT

  public:
    explicit PointExport(QObject* parent = nullptr) : QObject(parent) {}
    /** Cancels writing; the file then contains whole rows up to that point. */
    ~PointExport() override;

    /** Writes the points from `left` to `right` microseconds. Does nothing during an export. */
    void start(std::vector<ExportedCurve> curves, double left, double right,
               const QString& fileName);
    bool isRunning() const { return fThread.joinable(); }

  Q_SIGNALS:
    /** @param error a sentence for the user, empty if everything was written */
    void finished(const QString& fileName, qint64 rows, const QString& error);

  private:
    QString xWrite(const std::vector<ExportedCurve>& curves, double left, double right,
                   const QString& fileName);

    std::thread fThread;
    std::atomic<bool> fIsGivenUp{false};
    std::atomic<std::int64_t> fRows{0};
};

}  // namespace memoryviewer

#endif
