#ifndef OBVISTA_TOOLS_ROBAXI_PROCESS_INTERRUPTION_H
#define OBVISTA_TOOLS_ROBAXI_PROCESS_INTERRUPTION_H

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

namespace robaxi_tool {

/** Whether the user told the command to end. May be used from any thread. */
class Interruption {
  public:
    Interruption() = default;
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /** Called when a signal came; the first one counts. Runs the handlers. */
    void interrupt(int signal);

    /** @throws Interrupted when interrupt() was called */
    void check() const;
    bool happened() const { return fSignal != 0; }
    /** The signal that came, or 0. */
    int signal() const { return fSignal; }

    /**
     * Adds what wakes the command while it waits: runs once, on the thread that calls interrupt(),
     * or at once when that was called before.
     *
     * @param key by which removeHandler() knows it
     */
    void addHandler(const void* key, std::function<void()> handler);
    /** Returns when the handler does not run any more. */
    void removeHandler(const void* key);

  private:
    std::atomic<int> fSignal{0};  ///< read without the mutex, from within what the handler locks
    std::mutex fMutex;            ///< guards the handlers, and is held while they run
    std::map<const void*, std::function<void()>> fHandlers;
};

/** Adds a handler and removes it again. */
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
