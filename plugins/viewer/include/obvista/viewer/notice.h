#ifndef OBVISTA_VIEWER_NOTICE_H
#define OBVISTA_VIEWER_NOTICE_H

#include <obvista/viewer/viewer_export.h>

#include <functional>
#include <mutex>

namespace obvista {

/**
 * Tells a receiver once that there is something to take, however much comes, until clear() is
 * called. All operations may be called from any thread.
 */
class OBVISTA_VIEWER_EXPORT Notice {
  public:
    /**
     * Sets the function that give() calls, on the thread of give(); it is called at once if a
     * notice was given already. It runs under a lock, so it must only pass the word on. An empty
     * function takes effect without delay: after set() returns, none is called.
     */
    void set(std::function<void()> function);

    /** Calls the function unless it was called since the last clear(). */
    void give();

    /** To be called before what is there is taken. */
    void clear();

  private:
    std::mutex fMutex;
    std::function<void()> fFunction;
    bool fIsGiven = false;
};

}  // namespace obvista

#endif
