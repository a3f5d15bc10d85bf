#ifndef OBVISTA_DESKTOP_WAIT_CURSOR_H
#define OBVISTA_DESKTOP_WAIT_CURSOR_H

namespace KD {

/**
 * Shows the busy cursor for as long as it lives.
 *
 * Its whole state is the entry it pushes on the application's stack of override cursors. GUI
 * thread only.
 */
class WaitCursor {
  public:
    WaitCursor();
    ~WaitCursor();

    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;

    /**
     * Gives the previous cursor back before the scope ends.
     *
     * The destructor pops an entry all the same, so two entries go in all: a caller that needs
     * an outer busy cursor to stay pushes one more. (Popping an empty stack does nothing.)
     */
    void restoreCursor();
};

}  // namespace KD

#endif
