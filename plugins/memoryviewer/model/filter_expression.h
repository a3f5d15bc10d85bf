#ifndef OBVISTA_MEMORYVIEWER_FILTER_EXPRESSION_H
#define OBVISTA_MEMORYVIEWER_FILTER_EXPRESSION_H

#include "session/memory_key.h"

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <string>
#include <vector>

namespace memoryviewer {

/**
 * The filter that the user types. It shows the keys that match all of its terms.
 *
 *   head pos        the name contains both words, in upper or lower case
 *   "head pos"      the name contains the words with the space between them
 *   -yaw            the name does not contain the word; every kind of term can have a minus
 *   re:Joint\d+     the name matches the regular expression
 *   type:float      the value's type starts with this text
 *   changed:        the value has changed in the last 5 seconds
 *   changed:30      the same for the last 30
 */
class FilterExpression {
  public:
    /** A filter that every key matches. */
    FilterExpression() = default;
    explicit FilterExpression(const QString& text);

    /**
     * Returns the error in the text, as a sentence for the user; empty if there is none. The
     * invalid term is ignored.
     */
    const QString& fault() const { return fFault; }
    bool isEmpty() const { return fTerms.empty(); }
    /** Returns true if it depends on values, so that it must be evaluated again as they change. */
    bool isLive() const;

    /** @param now by the robot's clock, microseconds */
    bool matches(const MemoryKey& key, std::int64_t now) const;

  private:
    struct Term {
        enum class Kind { Word, Pattern, Type, Changed };

        Kind fKind = Kind::Word;
        bool fIsNegated = false;
        std::string fText;  // of a word or a type, in lower case
        QRegularExpression fPattern;
        std::int64_t fSpan = 0;  // microseconds
    };

    void xAdd(QString text);
    void xAddPattern(Term term, const QString& pattern);
    void xAddType(Term term, const QString& name);
    void xAddChanged(Term term, const QString& seconds);
    bool xMatches(const Term& term, const MemoryKey& key, std::int64_t now) const;

    std::vector<Term> fTerms;
    QString fFault;
};

}  // namespace memoryviewer

#endif
