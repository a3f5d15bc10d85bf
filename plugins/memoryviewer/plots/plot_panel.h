#ifndef OBVISTA_MEMORYVIEWER_PLOT_PANEL_H
#define OBVISTA_MEMORYVIEWER_PLOT_PANEL_H

#include "plots/curve_history.h"
#include "plots/newest_time.h"
#include "plots/plotted_keys.h"

#include <QStringList>
#include <QTimer>
#include <QVariantMap>
#include <QWidget>

#include <cstddef>
#include <functional>
#include <memory>
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
class TimeAxis;
struct LegendEntry;

/**
 * Plots of keys below each other, over one axis of time, with a legend and all that is done with
 * them by mouse and keyboard.
 *
 * A key may be in several plots; its history is kept once, as long as it is in one. The panel
 * repaints at most 25 times a second for new values, and never while it cannot be seen. All
 * operations on the GUI thread.
 */
class PlotPanel : public QWidget {
    Q_OBJECT

  public:
    explicit PlotPanel(QWidget* parent = nullptr);
    ~PlotPanel() override;

    /**
     * Plots a key in the current plot; nothing when it is there already.
     *
     * @param keyName as the robot gave it; shown as plain text
     * @return whether it is plotted now; not so beyond PlottedKeys::a_most, which the panel says
     */
    bool addCurve(const QString& keyName, const QString& unit, CurveShape shape = CurveShape::Line);
    /** The same in a new plot below the others. */
    bool addCurveToNewPlot(const QString& keyName, const QString& unit,
                           CurveShape shape = CurveShape::Line);
    /**
     * Plots keys that the user has chosen together, those of each unit in a plot of that unit when
     * they have several.
     *
     * @param byThemselves in new plots only
     */
    void addCurves(const QStringList& keyNames, bool byThemselves);
    /** Takes a key from all plots and forgets its history. */
    void removeCurve(const QString& keyName);
    /** What became known of a key that may be plotted already; nothing when it is not. */
    void describeKey(const QString& keyName, const QString& unit, CurveShape shape);

    /** Each key once. */
    QStringList plottedKeys() const;
    bool isPlotted(const QString& keyName) const { return keyHandle(keyName) >= 0; }
    /** Stands for a key in samples as long as it is plotted; -1 when it is not. */
    int keyHandle(const QString& keyName) const;

    /**
     * Adds what changed, in the order in which it came. Samples of keys that are not plotted are
     * passed over. A value is shown as held until the next one or a gap.
     */
    void append(const std::vector<PlotSample>& samples);
    /** A key has vanished: its curve has a gap until the next sample. */
    void keyGone(const QString& keyName);
    /** The same for all keys: nothing is subscribed for a while. */
    void breakCurves();
    /**
     * The same, back to the last value: the robot is lost, and nobody knows for how long it has
     * been when that is found out.
     *
     * @param lastReceived when the newest of its values was set, plotted or not, by its clock
     */
    void endCurves(qint64 lastReceived);

    /** Most points kept, of all curves together: one million at first. */
    void setMaximumPoints(std::size_t points);
    /**
     * Time between two values that the robot sends of a key that keeps changing. A value that
     * stays for more than three such times is drawn as held; half a second at first.
     */
    void setUpdateInterval(qint64 microseconds);
    /** Asked before a key is plotted of which only the name is given, as when it is dropped;
     *  without it all are, as lines without a unit. */
    void setKeyLookup(KeyLookup lookup);

    /** Which keys are in which plots, and the length of time shown; not the points. */
    QVariantMap saveState() const;
    void restoreState(const QVariantMap& state);

    TimeAxis& timeAxis() { return *fTime; }
    const PlotHistory& history() const { return *fHistory; }

    QSize sizeHint() const override;

  public Q_SLOTS:
    /** Takes all keys from the plots. */
    void removeAll();
    /** Forgets the points and goes on with new ones. */
    void clearPoints();
    /** Adds an empty plot, into which keys are plotted next. */
    void addPlot();
    /** Shows all points that are kept, and no longer follows. */
    void showAll();

  public:
    /** Saves the current plot into a file, and says so or why not. */
    void savePicture(const QString& fileName);
    /** The same with its points, all or those that are shown. */
    void savePoints(const QString& fileName, bool onlyShown);

  Q_SIGNALS:
    /** Other keys are plotted than before: those that the robot's values are needed of. */
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
    void xUpdateStatus();
    void xSay(const QString& text);
    void xShowMenu(const QPoint& position);

    std::unique_ptr<PlotHistory> fHistory;
    NewestTime fNewest;
    TimeAxis* fTime;
    FramePacer* fPacer;
    PlotStack* fPlots;
    PlotChoice* fChoice;
    PlotSaving* fSaving;

    PlotToolBar* fToolBar;
    QStackedLayout* fPages;
    QWidget* fContent;
    QSplitter* fColumns;
    QLabel* fMessage;
    QLabel* fStatus;
    QLabel* fNotice;
    CurveLegend* fLegend;
    QTimer fSavedTimer;
};

}  // namespace memoryviewer

#endif
