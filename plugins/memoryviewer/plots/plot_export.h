#ifndef OBVISTA_MEMORYVIEWER_PLOT_EXPORT_H
#define OBVISTA_MEMORYVIEWER_PLOT_EXPORT_H

#include "plots/curve_history.h"
#include "plots/curve_legend.h"
#include "recording/change_row.h"

#include <QImage>
#include <QObject>
#include <QString>

#include <atomic>
#include <cstdint>
#include <thread>
#include <vector>

namespace memoryviewer {

class PlotView;

/** A picture of a plot as it is on the screen, with its legend below. */
QImage plotPicture(PlotView& plot, const std::vector<LegendEntry>& entries);

/** Writes a PNG, whole or not at all. @return a sentence for the user, empty when it is written */
QString savePicture(const QImage& picture, const QString& fileName);

/** The points of a curve that go into a file. */
struct ExportedCurve {
    RecordedKey fKey;
    CurveHistory fPoints;
};

/**
 * Writes points into a CSV file of the same columns as a recording, on a thread of its own, curve
 * after curve in the order in which the points came. Gaps are rows without a value and of the type
 * "gap".
 */
class PointExport : public QObject {
    Q_OBJECT

  public:
    explicit PointExport(QObject* parent = nullptr) : QObject(parent) {}
    /** Gives up what is being written; the file then holds whole rows up to there. */
    ~PointExport() override;

    /** Writes the points from `left` to `right` microseconds. Nothing while one is being written.
     */
    void start(std::vector<ExportedCurve> curves, double left, double right,
               const QString& fileName);
    bool isRunning() const { return fThread.joinable(); }

  Q_SIGNALS:
    /** @param error a sentence for the user, empty when all is written */
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
