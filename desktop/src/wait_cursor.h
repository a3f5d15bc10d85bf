#ifndef OBVISTA_DESKTOP_WAIT_CURSOR_H
#define OBVISTA_DESKTOP_WAIT_CURSOR_H

namespace KD {

/**
 * Shows the busy cursor while it exists.
 *
 * Its only state is the entry that it pushes on the application's stack of override cursors. GUI
 * thread only.
 */
class WaitCursor {
  public:
    WaitCursor();
    ~WaitCursor();

    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;

    /**
     * Restores the previous cursor before the scope ends.
     *
     * The destructor still pops an entry, so two entries are popped in total: a caller that needs
     * an outer busy cursor to stay pushes one more. (Popping an empty stack does nothing.)
     */
    void restoreCursor();
};

}  // namespace KD

#endif
