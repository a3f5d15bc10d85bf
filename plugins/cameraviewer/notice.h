#ifndef OBVISTA_CAMERAVIEWER_NOTICE_H
#define OBVISTA_CAMERAVIEWER_NOTICE_H

#include <functional>
#include <mutex>

namespace cameraviewer {

/**
 * Passes the word that there is something to take: once, however much comes, until clear() is
 * called. All operations may be called from any thread.
 */
class Notice {
  public:
    /**
     * Sets what is called, on whatever thread something came from; at once when something is there
     * already. It must only pass the word on, as it runs under a lock. An empty function is set
     * without delay and none is called after that.
     */
    void set(std::function<void()> function);

    void give();
    /** To be called before what is there is taken. */
    void clear();

  private:
    std::mutex fMutex;
    std::function<void()> fFunction;
    bool fIsGiven = false;
};

}  // namespace cameraviewer

#endif
