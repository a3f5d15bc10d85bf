#ifndef OBVISTA_MEMORYVIEWER_PLOT_PANEL_H
#define OBVISTA_MEMORYVIEWER_PLOT_PANEL_H

#include "curve_shape.h"

#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>
#include <QWidget>

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <vector>

class QAction;
class QLabel;
class QMenu;
class QSplitter;
class QStackedLayout;
class QToolBar;

namespace memoryviewer {

class CurveLegend;
class PlotHistory;
class PlotView;
class PointExport;
class TimeAxis;
struct LegendEntry;

/** A value of a plotted key. */
struct PlotSample {
    int fKey = -1;      ///< see PlotPanel::keyHandle()
    qint64 fTime = 0;   ///< microseconds by the robot's clock
    double fValue = 0;  ///< not-a-number makes a gap
};

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
    /** Most keys plotted at a time, and most plots. */
    static constexpr int a_maxKeys = 100;
    static constexpr int a_maxPlots = 12;

    explicit PlotPanel(QWidget* parent = nullptr);
    ~PlotPanel() override;

    /**
     * Plots a key in the current plot; nothing when it is there already.
     *
     * @param keyName as the robot gave it; shown as plain text
     * @return whether it is plotted now; not so beyond a_maxKeys, which the panel says
     */
    bool addCurve(const QString& keyName, const QString& unit, CurveShape shape = CurveShape::Line);
    /** The same in a new plot below the others. */
    bool addCurveToNewPlot(const QString& keyName, const QString& unit,
                           CurveShape shape = CurveShape::Line);
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
    /** The same for all keys: the robot is lost, or nothing is subscribed for a while. */
    void breakCurves();

    /** Most points kept, of all curves together: one million at first. */
    void setMaximumPoints(std::size_t points);
    /**
     * Time between two values that the robot sends of a key that keeps changing. A value that
     * stays for more than three such times is drawn as held; half a second at first.
     */
    void setUpdateInterval(qint64 microseconds);
    /** Asked before a key that is dropped onto the panel is plotted; all are at first. */
    void setKeyCheck(std::function<bool(const QString&)> isPlottable);

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
    /** Saves the current plot; the user chooses the file. */
    void askToSavePicture();
    void askToSavePoints(bool onlyShown);

  public:
    /** Saves the current plot into a file, and says so or why not. */
    void savePicture(const QString& fileName);
    /** The same with its points, all or those that are shown. */
    void savePoints(const QString& fileName, bool onlyShown);

  Q_SIGNALS:
    /** Other keys are plotted than before: those that the robot's values are needed of. */
    void plottedKeysChanged();

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    struct Key {
        QString fName;
        QString fUnit;
        CurveShape fShape = CurveShape::Line;
        int fColour = 0;
    };
    enum class Pace { Data, Hand };

    void xBuild();
    void xBuildToolBar();
    QAction* xAddAction(QToolBar* bar, const QString& text, const QString& hint,
                        const char* objectName, void (PlotPanel::*slot)());
    void xConnectTime();

    bool xPlot(const QString& name, const QString& unit, CurveShape shape, std::size_t plot);
    int xKeyFor(const QString& name, const QString& unit, CurveShape shape);
    int xFreeColour() const;
    void xChange(const std::function<void()>& change);
    bool xAddPlot();
    void xRestorePlot(const QVariantList& curves);
    void xUnplot(std::size_t plot, int key);
    void xForgetUnplotted();
    PlotView* xMakePlot();
    void xRemovePlot(std::size_t plot);
    void xSetCurrentPlot(int plot);
    int xIndexOf(const PlotView* plot) const;
    void xTakeDrop(const QStringList& names, int toPlot, int fromPlot);
    void xMove(const QString& name, std::size_t fromPlot, std::size_t toPlot);
    void xApplyPens();
    void xUpdatePlots();
    std::vector<LegendEntry> xEntriesOf(const PlotView& plot) const;

    void xFollow(const std::vector<PlotSample>& samples);
    double xNow() const;
    bool xCanBeSeen() const;
    void xSchedule(Pace pace);
    void xOnFrame();
    void xOnIdle();
    void xUpdateValues();
    void xUpdateTexts();
    void xUpdateStatus();
    QString xValueText(int key) const;
    void xOnExported(const QString& fileName, qint64 rows, const QString& error);
    void xSay(const QString& text);
    void xShowMenu(const QPoint& position);
    void xAddSaveActions(QMenu& menu);

    std::unique_ptr<PlotHistory> fHistory;
    TimeAxis* fTime;
    std::map<int, Key> fKeys;
    int fNextKey = 0;
    std::vector<PlotView*> fPlots;
    std::size_t fCurrent = 0;
    std::function<bool(const QString&)> fIsPlottable;
    double fHoldTime = 0;

    QStackedLayout* fPages;
    QWidget* fContent;
    QLabel* fMessage;
    QLabel* fStatus;
    QLabel* fNotice;
    QSplitter* fStack;
    CurveLegend* fLegend;
    PointExport* fExport;
    QAction* fFollowAction = nullptr;
    std::vector<QAction*> fActionsOnPoints;

    QTimer fFrameTimer;
    QTimer fIdleTimer;
    QElapsedTimer fSinceFrame;
    QElapsedTimer fSinceSample;
    QElapsedTimer fSincePlausible;
    double fNewest = 0;
    bool fIsStale = true;
    QString fSaid;
};

}  // namespace memoryviewer

#endif
