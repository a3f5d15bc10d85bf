#include "view/replay_curves.h"

#include "plots/plot_panel.h"
#include "session/memory_link.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace memoryviewer {

namespace {

/** Milliseconds from a change of the view to the requests for it, while others may follow. */
constexpr int a_planTime = 150;

}  // namespace

ReplayCurves::ReplayCurves(std::shared_ptr<MemoryLink> link, PlotPanel* plots, QObject* parent)
    : QObject(parent), fLink(std::move(link)), fPlots(plots) {
    fPlanTimer.setSingleShot(true);
    connect(&fPlanTimer, &QTimer::timeout, this, &ReplayCurves::xPlan);
    connect(fPlots, &PlotPanel::plottedKeysChanged, this, &ReplayCurves::xPlan);
    connect(&fPlots->timeAxis(), &TimeAxis::changed, this, [this] {
        if (!fPlanTimer.isActive()) {
            fPlanTimer.start(a_planTime);
        }
    });
}

void ReplayCurves::setReplay(const obvista::ReplayState& state) {
    const bool hasOtherTimes = state.fStart != fState.fStart || state.fEnd != fState.fEnd ||
                               state.fClockOffset != fState.fClockOffset;
    fState = state;
    if (!state.isReplay()) {
        fCurves.clear();
        fRequested.clear();
        fPlots->endReplay();
        return;
    }
    const auto time = [&state](std::int64_t recorded) {
        return static_cast<double>(state.robotTime(recorded));
    };
    fPlots->setReplay({time(state.fStart), time(state.fEnd), time(state.fPosition)});
    if (hasOtherTimes) {
        fCurves.clear();
        xPlan();
    }
}

void ReplayCurves::restart() {
    fCurves.clear();
    fRequested.clear();
    xPlan();
}

void ReplayCurves::takeNews() {
    if (HistoryClient* client = fLink->history()) {
        for (KeyHistory& history : client->take()) {
            xTake(std::move(history));
        }
    }
}

/** Requests what the plots lack: the whole curves first, then the part in view. */
void ReplayCurves::xPlan() {
    HistoryClient* client = fLink->history();
    if (client == nullptr || !fState.isReplay()) {
        return;
    }
    const QStringList names = fPlots->plottedKeys();
    for (auto curve = fCurves.begin(); curve != fCurves.end();) {
        curve = names.contains(curve->first) ? std::next(curve) : fCurves.erase(curve);
    }
    std::vector<HistoryRequest> requests;
    for (const QString& name : names) {
        if (!fCurves[name].fWhole) {
            requests.push_back({name.toStdString(), fState.fStart, fState.fEnd});
        }
    }
    if (const std::optional<Span> part = xPartInView()) {
        for (const auto& [name, curve] : fCurves) {
            const bool hasPart = curve.fPart && Span(curve.fPart->fRequest.fFrom,
                                                     curve.fPart->fRequest.fTo) == *part;
            if (curve.fWhole && curve.fWhole->fIsThinned && !hasPart) {
                requests.push_back({name.toStdString(), part->first, part->second});
            }
        }
    }
    if (requests != fRequested) {
        fRequested = requests;
        client->request(requests);
    }
}

/**
 * Returns a span of two to four times what is in view. It does not change with each small movement.
 * Nothing if the view is not much less than the whole.
 */
std::optional<ReplayCurves::Span> ReplayCurves::xPartInView() const {
    const TimeAxis& axis = fPlots->timeAxis();
    const double width = 2 * std::exp2(std::ceil(std::log2(axis.span())));
    if (width > static_cast<double>(fState.fEnd - fState.fStart) / 2) {
        return std::nullopt;
    }
    const double middle = (axis.left() + axis.right()) / 2;
    const double step = width / 4;
    const double left = std::floor((middle - width / 2) / step) * step;
    const std::int64_t from = fState.recordedTime(pointTime(left));
    const std::int64_t to = fState.recordedTime(pointTime(left + width));
    if (to <= fState.fStart || from >= fState.fEnd) {
        return std::nullopt;
    }
    return Span(std::max(from, fState.fStart), std::min(to, fState.fEnd));
}

void ReplayCurves::xTake(KeyHistory history) {
    const QString name = QString::fromStdString(history.fRequest.fKey);
    const auto curve = fCurves.find(name);
    if (curve == fCurves.end()) {
        return;
    }
    const bool isWhole =
        history.fRequest.fFrom == fState.fStart && history.fRequest.fTo == fState.fEnd;
    (isWhole ? curve->second.fWhole : curve->second.fPart) = std::move(history);
    if (curve->second.fWhole && !curve->second.fWhole->fHasFailed) {
        xShow(name, curve->second);
    }
    xPlan();
}

void ReplayCurves::xShow(const QString& name, const Curve& curve) const {
    std::vector<CurvePoint> points = xPointsOf(*curve.fWhole);
    if (curve.fPart && !curve.fPart->fHasFailed) {
        const std::int64_t from = fState.robotTime(curve.fPart->fRequest.fFrom);
        const std::int64_t to = fState.robotTime(curve.fPart->fRequest.fTo);
        const auto begin =
            std::find_if(points.begin(), points.end(),
                         [from](const CurvePoint& point) { return point.fTime >= from; });
        const auto end = std::find_if(begin, points.end(),
                                      [to](const CurvePoint& point) { return point.fTime > to; });
        const std::vector<CurvePoint> part = xPointsOf(*curve.fPart);
        points.insert(points.erase(begin, end), part.begin(), part.end());
    }
    fPlots->setRecorded(name, points);
}

std::vector<CurvePoint> ReplayCurves::xPointsOf(const KeyHistory& history) const {
    std::vector<CurvePoint> points = history.fPoints;
    if (!points.empty()) {
        const std::int64_t from = fState.robotTime(history.fRequest.fFrom);
        points.front().fTime = std::max(points.front().fTime, from);
    }
    return points;
}

}  // namespace memoryviewer
