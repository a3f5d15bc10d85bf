#include "commands/commands.h"
#include "network/announced_hosts.h"
#include "network/host_rows.h"

#include <algorithm>
#include <set>

namespace robaxi_tool {

namespace {

/** A host's announcements arrive one after the other; after this time all have arrived. */
constexpr std::chrono::milliseconds a_steady(200);
/** After this time without changes every host has answered. */
constexpr std::chrono::milliseconds a_settled(1500);

constexpr int a_defaultTimeout = 5;
constexpr int a_longestTimeout = 3600;

/** Prints hosts when they become known. */
class Listing {
  public:
    Listing(bool asJson, int timeout, Surroundings& surroundings)
        : fAsJson(asJson),
          fConsole(surroundings.fConsole),
          fEnd(Clock::now() + std::chrono::seconds(timeout)),
          fBell(surroundings.fInterruption),
          fHosts(fBell) {
        fHosts.waitForStart();
    }

    void run() {
        if (!fAsJson) {
            fConsole.print(rowHeader());
        }
        for (;;) {
            const Clock::time_point seen = fHosts.lastChange();
            const Clock::time_point due = xPrintKnown();
            const Clock::time_point end = std::min(fEnd, seen + a_settled);
            if (Clock::now() >= end) {
                break;
            }
            fBell.waitUntil(std::min(due, end), [&] { return fHosts.lastChange() != seen; });
        }
        xPrintRest();
    }

    bool isEmpty() const { return fPrinted.empty(); }

  private:
    /** @return the time at which the next host may be ready */
    Clock::time_point xPrintKnown() {
        Clock::time_point due = Clock::time_point::max();
        for (const auto& [key, host] : fHosts.hosts()) {
            const Clock::time_point steady = host.fChanged + a_steady;
            if (!host.fLookedUp) {
                continue;
            }
            if (steady <= Clock::now()) {
                xPrint(host);
            } else {
                due = std::min(due, steady);
            }
        }
        return due;
    }

    void xPrintRest() {
        for (const auto& [key, host] : fHosts.hosts()) {
            xPrint(host);
        }
    }

    void xPrint(const AnnouncedHost& host) {
        for (const HostRow& row : rowsOf(host)) {
            const std::string line = fAsJson ? jsonOfRow(row) : textOfRow(row);
            if (fPrinted.insert(line).second) {
                fConsole.print(line);
            }
        }
    }

    bool fAsJson;
    Console& fConsole;
    Clock::time_point fEnd;
    std::set<std::string> fPrinted;
    Bell fBell;
    AnnouncedHosts fHosts;
};

class ListCommand : public Command {
  public:
    std::string name() const override { return "list"; }
    std::string summary() const override {
        return "lists the robots and computers that announce themselves";
    }
    Words words() const override { return {"", 0, 0}; }
    std::string explanation() const override {
        return "Each is printed as soon as it is known. The list ends when nothing new has been\n"
               "found for 1.5 s. A computer runs the middleware without being a robot; a robot\n"
               "without a port does not run it.\n";
    }

    void addOptions(Options& options) override {
        options.addSwitch("--json", &fJson, "print one JSON object a line");
        options.addNumber("--timeout", "S", &fTimeout, a_defaultTimeout, 1, a_longestTimeout,
                          "seconds after which the list ends in any case");
    }

    ExitStatus run(const std::vector<std::string>& /*given*/, Surroundings& surroundings) override {
        Listing listing(fJson, fTimeout, surroundings);
        listing.run();
        if (listing.isEmpty()) {
            surroundings.fConsole.complain(
                "No robot or computer announces itself. 'robaxi doctor' looks for the cause.");
        }
        return ExitStatus::Success;
    }

  private:
    bool fJson = false;
    int fTimeout = 0;
};

}  // namespace

std::unique_ptr<Command> makeListCommand() {
    return std::make_unique<ListCommand>();
}

}  // namespace robaxi_tool
