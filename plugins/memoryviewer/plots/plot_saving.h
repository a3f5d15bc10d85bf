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

/** Saves the current plot to files, as a picture or its points, and reports the result. */
class PlotSaving : public QObject {
    Q_OBJECT

  public:
    /** All must outlive this object. */
    PlotSaving(const PlotStack* plots, const PlotChoice* choice, const PlotHistory* history,
               const TimeAxis* time, QWidget* parent);

    void savePicture(const QString& fileName);
    /** Saves on a dedicated thread. */
    void savePoints(const QString& fileName, bool onlyShown);

    /** Adds the ways to save, for which the user chooses the file. */
    void addTo(QMenu& menu);

  Q_SIGNALS:
    /** Emitted with a message to the user, to be shown as plain text. */
    void said(const QString& text);
    /** Emitted with a success message, which needs no reaction. */
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
