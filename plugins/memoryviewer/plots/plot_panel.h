#ifndef OBVISTA_MEMORYVIEWER_PLOT_PANEL_H
#define OBVISTA_MEMORYVIEWER_PLOT_PANEL_H

#include "plots/curve_history.h"
#include "plots/newest_time.h"
#include "plots/plotted_keys.h"
#include "plots/time_axis.h"

#include <QStringList>
#include <QTimer>
#include <QVariantMap>
#include <QWidget>

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QLabel;
class QSplitter;
class QStackedLayout;

namespace memoryviewer {

class CurveLegend;
class FramePacer;
class PlotChoice;
class PlotHistory;
class PlotSaving;
class PlotStack;
class PlotToolBar;
class PlotView;
struct LegendEntry;

/**
 * Plots of keys one below the other, with a common time axis, a legend and their interaction by
 * mouse and keyboard.
 *
 * A key may be in several plots; its history is stored once, while it is in at least one. The panel
 * repaints at most 25 times a second for new values, and never while it is not visible. All
 * operations on the GUI thread.
 */
class PlotPanel : public QWidget {
    Q_OBJECT

  public:
    explicit PlotPanel(QWidget* parent = nullptr);
    ~PlotPanel() override;

    /**
     * Plots a key in the current plot; does nothing if it is already there.
     *
     * @param keyName as sent by the robot; shown as plain text
     * @return true if it is plotted now; false beyond PlottedKeys::a_most, which the panel reports
     */
    bool addCurve(const QString& keyName, const QString& unit, CurveShape shape = CurveShape::Line);
    /** Plots a key in a new plot below the others. */
    bool addCurveToNewPlot(const QString& keyName, const QString& unit,
                           CurveShape shape = CurveShape::Line);
    /**
     * Plots keys that the user has selected together; if they have several units, those of each
     * unit in a plot of that unit.
     *
     * @param byThemselves in new plots only
     */
    void addCurves(const QStringList& keyNames, bool byThemselves);
    /** Removes a key from all plots and drops its history. */
    void removeCurve(const QString& keyName);
    /** Sets the metadata of a key; does nothing if it is not plotted. */
    void describeKey(const QString& keyName, const QString& unit, CurveShape shape);

    /** Returns each plotted key once. */
    QStringList plottedKeys() const;
    bool isPlotted(const QString& keyName) const { return keyHandle(keyName) >= 0; }
    /** Returns the key's handle in samples while it is plotted; otherwise -1. */
    int keyHandle(const QString& keyName) const;

    /**
     * Adds changes in the order of their arrival. Samples of keys that are not plotted are ignored.
     * A value is shown as constant until the next one or a gap.
     */
    void append(const std::vector<PlotSample>& samples);
    /**
     * Sets the times of a replay: the plots show the whole recording, and a line marks the
     * position.
     */
    void setReplay(const ReplayTimes& replay);
    /** Continues with the values of a robot that is not a replay, and without recorded curves. */
    void endReplay();
    /**
     * Replaces the points of a key by those of a recording, in the order of their times; samples of
     * it are ignored from now on. Does nothing if it is not plotted.
     */
    void setRecorded(const QString& keyName, const std::vector<CurvePoint>& points);
    /** Handles the removal of a key: its curve has a gap until the next sample. */
    void keyGone(const QString& keyName);
    /** Starts a gap in all curves: nothing is subscribed for a while. */
    void breakCurves();
    /**
     * Ends all curves at the last value: the robot is lost, and the loss may have occurred before
     * it was detected.
     *
     * @param lastReceived time of its newest value, plotted or not, by its clock
     */
    void endCurves(qint64 lastReceived);
    /** Ends the curve of a key at its last value. */
    void endCurve(int keyHandle);

    /**
     * Sets the interval between two values of a key that changes continuously; default half a
     * second. A value that stays for more than three intervals is drawn as constant.
     */
    void setUpdateInterval(qint64 microseconds);
    /**
     * Sets the lookup of metadata for a key that is plotted by its name only, for instance after a
     * drop; without it every key is plotted as lines without a unit.
     */
    void setKeyLookup(KeyLookup lookup);
    /**
     * Sets the lookup of the values at the position of a replay, for the legend: a curve of a long
     * recording may lack them, since points are left out.
     */
    void setValueLookup(ValueLookup lookup) { fValueLookup = std::move(lookup); }

    /** Returns the keys of each plot and the displayed time span, but not the points. */
    QVariantMap saveState() const;
    void restoreState(const QVariantMap& state);

    TimeAxis& timeAxis() { return *fTime; }
    const PlotHistory& history() const { return *fHistory; }

    QSize sizeHint() const override;

  public Q_SLOTS:
    /** Removes all keys from the plots. */
    void removeAll();
    /** Drops the points and continues with new ones. */
    void clearPoints();
    /** Adds an empty plot, in which keys are plotted next. */
    void addPlot();
    /** Shows all stored points, and stops following. */
    void showAll();

  public:
    /** Saves the current plot to a file, and reports success or the reason of a failure. */
    void savePicture(const QString& fileName);
    /** Saves its points, all or only the visible ones. */
    void savePoints(const QString& fileName, bool onlyShown);

  Q_SIGNALS:
    /** Emitted when the plotted keys, and so the needed values, have changed. */
    void plottedKeysChanged();

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void xBuild();
    void xPlaceLegend();
    QWidget* xMakePlotArea();
    void xConnectTime();
    void xConnectLegend();
    void xConnectPlots();
    void xConnectActions();

    void xTake(const QStringList& names, int toPlot, const QObject* source);
    void xShowChoice();
    void xOrderForKeyboard();
    void xDescribePlot(PlotView& plot, std::size_t number, const std::vector<LegendEntry>& entries);
    bool xIsGoingOn() const;
    void xOnFrame();
    void xOnIdle();
    void xUpdateValues();
    QString xReadingOf(int key, const QString& keyName) const;
    void xUpdateStatus();
    void xSay(const QString& text);
    void xShowMenu(const QPoint& position);

    std::unique_ptr<PlotHistory> fHistory;
    NewestTime fNewest;
    ValueLookup fValueLookup;
    double fSavedSpan = 0;  // of the time axis, from before the whole replay was shown
    TimeAxis* fTime;
    FramePacer* fPacer;
    PlotStack* fPlots;
    PlotChoice* fChoice;
    PlotSaving* fSaving;

    PlotToolBar* fToolBar;
    QStackedLayout* fPages;
    QWidget* fContent;
    QSplitter* fColumns;
    int fLegendSize = 0;  // pixels, as last set by the panel
    QLabel* fMessage;
    QLabel* fStatus;
    QLabel* fNotice;
    CurveLegend* fLegend;
    QTimer fSavedTimer{this};
};

}  // namespace memoryviewer

#endif
