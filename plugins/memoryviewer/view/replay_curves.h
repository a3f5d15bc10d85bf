#ifndef OBVISTA_MEMORYVIEWER_REPLAY_CURVES_H
#define OBVISTA_MEMORYVIEWER_REPLAY_CURVES_H

#include "session/history_client.h"

#include <obvista/viewer/replay_state.h>

#include <QObject>
#include <QString>
#include <QTimer>

#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace memoryviewer {

class MemoryLink;
class PlotPanel;

/**
 * The curves of a replay: those of the whole recording at once, from the robot's history, and in
 * more detail where the user looks. A key of which the replay has no history is plotted as it
 * plays. Does nothing for other robots. Used on the GUI thread.
 */
class ReplayCurves : public QObject {
    Q_OBJECT

  public:
    /** @param plots must outlive this object */
    ReplayCurves(std::shared_ptr<MemoryLink> link, PlotPanel* plots, QObject* parent = nullptr);

    void setReplay(const obvista::ReplayState& state);
    /** Takes the answers that have arrived. */
    void takeNews();
    /** Requests everything again from a robot that has returned. */
    void restart();

  private:
    struct Curve {
        std::optional<KeyHistory> fWhole;
        std::optional<KeyHistory> fPart;  ///< what is in view, with more points
    };
    using Span = std::pair<std::int64_t, std::int64_t>;

    void xPlan();
    std::optional<Span> xPartInView() const;
    void xTake(KeyHistory history);
    void xShow(const QString& name, const Curve& curve) const;
    /** Returns the points with no time before the span's beginning, at which the first one holds.
     */
    std::vector<CurvePoint> xPointsOf(const KeyHistory& history) const;

    const std::shared_ptr<MemoryLink> fLink;
    PlotPanel* fPlots;
    obvista::ReplayState fState;
    std::map<QString, Curve> fCurves;
    std::vector<HistoryRequest> fRequested;
    QTimer fPlanTimer;
};

}  // namespace memoryviewer

#endif
