#ifndef OBVISTA_MEMORYVIEWER_PLOT_SAVING_H
#define OBVISTA_MEMORYVIEWER_PLOT_SAVING_H

#include <QObject>

class QMenu;

namespace memoryviewer {

class PlotChoice;
class PlotHistory;
class PlotStack;
class PointExport;
class TimeAxis;

/** Saves the current plot into files, as a picture or its points, and says how it went. */
class PlotSaving : public QObject {
    Q_OBJECT

  public:
    /** All must outlive it. */
    PlotSaving(const PlotStack* plots, const PlotChoice* choice, const PlotHistory* history,
               const TimeAxis* time, QWidget* parent);

    void savePicture(const QString& fileName);
    /** On a thread of its own. */
    void savePoints(const QString& fileName, bool onlyShown);

    /** Adds the ways to save, for which the user chooses the file. */
    void addTo(QMenu& menu);

  Q_SIGNALS:
    /** An answer to the user, to be shown as plain text. */
    void said(const QString& text);
    /** The same after a success, which needs no answer. */
    void saved(const QString& text);

  private:
    void xAskToSavePicture();
    void xAskToSavePoints(bool onlyShown);
    void xTell(const QString& error, const QString& done);
    void xOnExported(const QString& fileName, qint64 rows, const QString& error);

    const PlotStack* fPlots;
    const PlotChoice* fChoice;
    const PlotHistory* fHistory;
    const TimeAxis* fTime;
    QWidget* fWidget;
    PointExport* fExport;
};

}  // namespace memoryviewer

#endif
