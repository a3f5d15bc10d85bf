#ifndef OBVISTA_CAMERAVIEWER_NOTICE_H
#define OBVISTA_CAMERAVIEWER_NOTICE_H

#include <functional>
#include <mutex>

namespace cameraviewer {

/**
 * Reports once that there are new results, however many arrive, until clear() is called. All
 * operations may be called from any thread.
 */
class Notice {
  public:
    /**
     * Sets the function to call, on the thread of the event, or at once if there already are
     * results. It must only pass the notice on, since it runs with a lock held. An empty function
     * takes effect without delay: no call follows.
     */
    void set(std::function<void()> function);

    void give();
    /** Called before the results are taken. */
    void clear();

  private:
    std::mutex fMutex;
    std::function<void()> fFunction;
    bool fIsGiven = false;
};

}  // namespace cameraviewer

#endif
