#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_INTERRUPTION_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_INTERRUPTION_H

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

namespace robaxi_tool {

/** State of an interruption by the user. May be used from any thread. */
class Interruption {
  public:
    Interruption() = default;
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /** Called for each signal; only the first one counts. Runs the handlers. */
    void interrupt(int signal);

    /** @throws Interrupted if interrupt() was called */
    void check() const;
    bool happened() const { return fSignal != 0; }
    /**
     * Lets the command complete its work after an interruption, for as long as that takes. A second
     * signal ends the program.
     */
    void setCompleting(bool isCompleting) { fIsCompleting = isCompleting; }
    bool isCompleting() const { return fIsCompleting; }
    /** Returns the first signal, or 0. */
    int signal() const { return fSignal; }

    /**
     * Adds a handler that wakes the waiting command: it runs once, on the thread that calls
     * interrupt(), or immediately if that was called before.
     *
     * @param key identifies it for removeHandler()
     */
    void addHandler(const void* key, std::function<void()> handler);
    /** Removes a handler. Returns when it is not running. */
    void removeHandler(const void* key);

  private:
    std::atomic<int> fSignal{0};  ///< read without the mutex, while a handler's lock is held
    std::atomic<bool> fIsCompleting{false};
    std::mutex fMutex;  ///< guards the handlers; held while they run
    std::map<const void*, std::function<void()>> fHandlers;
};

/** Adds a handler and removes it in the destructor. */
class InterruptionHandler {
  public:
    InterruptionHandler(Interruption& interruption, std::function<void()> handler)
        : fInterruption(interruption) {
        fInterruption.addHandler(this, std::move(handler));
    }
    ~InterruptionHandler() { fInterruption.removeHandler(this); }
    InterruptionHandler(const InterruptionHandler&) = delete;
    InterruptionHandler& operator=(const InterruptionHandler&) = delete;

  private:
    Interruption& fInterruption;
};

}  // namespace robaxi_tool

#endif
