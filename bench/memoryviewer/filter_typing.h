#ifndef OBVISTA_BENCH_MEMORYVIEWER_FILTER_TYPING_H
#define OBVISTA_BENCH_MEMORYVIEWER_FILTER_TYPING_H

#include <QElapsedTimer>
#include <QObject>

#include <vector>

class QLineEdit;
class QTreeView;

namespace bench {

/**
 * Repeatedly types a filter and deletes it key by key. It measures from each key to the end of the
 * first painting of the view after its rows were rearranged. When done, it prints "typed MEDIAN
 * LONGEST FLOOR" in milliseconds; the floor is the median from a key to the end of the painting of
 * an unconnected line edit.
 */
class FilterTyping : public QObject {
  public:
    /** Both must outlive this object. */
    FilterTyping(QLineEdit* filter, QTreeView* view);

    /** Starts from the event loop, which must continue to run. */
    void start();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void xType();
    void xOnPainted();
    void xTell();

    QLineEdit* fFilter;
    QWidget* fPainted;
    QElapsedTimer fSinceKey;
    bool fIsArranged = false;
    std::size_t fTyped = 0;
    std::vector<double> fTimes;
};

}  // namespace bench

#endif
