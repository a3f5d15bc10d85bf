#include "ros2/ros2_source.h"

#include "ros2/discovery.h"
#include "ros2/domain.h"
#include "ros2/domain_diagnosis.h"
#include "ros2/event_loop.h"
#include "ros2/node_list.h"
#include "ros2/topic_list.h"

#include <base/lookups.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <utility>

namespace bridge {

namespace {

using Clock = std::chrono::steady_clock;

// A round of taking samples begins at most every 2 ms: a topic that floods costs no more than that.
constexpr std::chrono::milliseconds a_rest(2);
constexpr std::chrono::seconds a_period(1);    // of the rates
constexpr std::chrono::seconds a_patience(2);  // with a lookup when the source ends

constexpr const char* a_domainGroup = "domain";

Entity createParticipant(int domain) {
    return created(dds_create_participant(static_cast<dds_domainid_t>(domain), nullptr, nullptr),
                   "a participant");
}

}  // namespace

/** Reads the domain on a dedicated thread, from construction to destruction. */
class Ros2Source::Reading {
  public:
    Reading(const Ros2Options& options, Sink& sink);
    ~Reading();
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

  private:
    Discovery::Callbacks xCallbacks();
    void xRun();
    void xShowDomain();
    void xShowProblem();

    const int fNumber;
    Sink& fSink;
    const DdsLog fLog;
    const Entity fDomain;
    const Entity fParticipant;
    EventLoop fLoop;
    std::unique_ptr<base::Lookups> fLookups;
    Discovery fDiscovery;
    NodeList fNodes;
    TopicList fTopics;
    DomainDiagnosis fDiagnosis;
    std::atomic<bool> fIsEnding{false};
    std::thread fThread;
};

Ros2Source::Ros2Source(Ros2Options options) : fOptions(std::move(options)) {
}

Ros2Source::~Ros2Source() = default;

void Ros2Source::start(Sink& sink) {
    fReading = std::make_unique<Reading>(fOptions, sink);
}

Ros2Source::Reading::Reading(const Ros2Options& options, Sink& sink)
    : fNumber(options.fDomain),
      fSink(sink),
      fLog([&sink](const std::string& line) { sink.complain(line); }),
      fDomain(createDomain(options.fDomain, options.fInterface)),
      fParticipant(createParticipant(options.fDomain)),
      fLoop(fParticipant.get()),
      fLookups(std::make_unique<base::Lookups>(1, a_patience)),
      fDiscovery(fParticipant.get(), fLoop, xCallbacks()),
      fNodes(fParticipant.get(), fLoop, fDiscovery, sink),
      fTopics(options, fParticipant.get(), fLoop, *fLookups, fNodes, sink),
      fDiagnosis(options.fDomain, options.fInterface, fDiscovery.own(), fLoop, *fLookups,
                 [this] { xShowProblem(); }) {
    fThread = std::thread([this] { xRun(); });
}

Ros2Source::Reading::~Reading() {
    fIsEnding = true;
    fLoop.wakeUp();
    fThread.join();
    fDiagnosis.stop();
    // Their answers are posted to the members.
    fLookups.reset();
    fSink.removeGroup(a_domainGroup);
}

Discovery::Callbacks Ros2Source::Reading::xCallbacks() {
    Discovery::Callbacks callbacks;
    callbacks.fParticipantFound = [this](const Guid& /*participant*/) { fDiagnosis.stop(); };
    callbacks.fParticipantLost = [this](const Guid& participant) { fNodes.remove(participant); };
    callbacks.fEndpointFound = [this](const FoundEndpoint& found) { fTopics.add(found); };
    callbacks.fEndpointLost = [this](const Guid& endpoint) { fTopics.remove(endpoint); };
    return callbacks;
}

void Ros2Source::Reading::xRun() {
    Clock::time_point last = Clock::now();
    while (!fIsEnding) {
        const auto begin = Clock::now();
        fLoop.runOnce();
        fTopics.update();
        const auto now = Clock::now();
        if (now - last >= a_period) {
            fTopics.showRates(std::chrono::duration<double>(now - last).count());
            if (fDiscovery.participants().empty()) {
                fDiagnosis.search();
            }
            xShowDomain();
            last = now;
        }
        std::this_thread::sleep_until(begin + a_rest);
    }
}

void Ros2Source::Reading::xShowProblem() {
    if (!fDiagnosis.problem().empty()) {
        fSink.complain(fDiagnosis.problem());
    }
    xShowDomain();
}

void Ros2Source::Reading::xShowDomain() {
    std::vector<SourceValue> values{
        {"ROS/Domain", "", "Number of the domain, ROS_DOMAIN_ID", fNumber},
        {"ROS/Participants", "", "Programs in the domain, without this one",
         static_cast<std::int64_t>(fDiscovery.participants().size())}};
    if (!fDiagnosis.problem().empty()) {
        values.push_back(
            {"ROS/Problem", "", "Reason why no program is found", fDiagnosis.problem()});
    }
    fSink.replaceValues(a_domainGroup, values);
}

}  // namespace bridge
