#include "model/filter_expression.h"

#include <base/time.h>

#include <QCoreApplication>

#include <algorithm>
#include <array>

namespace memoryviewer {

namespace {

constexpr double a_changedSeconds = 5;
constexpr double a_mostChangedSeconds = 86400;

constexpr std::array<KVValue::Type, 8> a_types{
    KVValue::Type::Nothing, KVValue::Type::Bool,   KVValue::Type::Int,  KVValue::Type::Float,
    KVValue::Type::String,  KVValue::Type::Binary, KVValue::Type::List, KVValue::Type::Map};

/** The texts of this file in the catalogues of translations. */
struct Texts {
    Q_DECLARE_TR_FUNCTIONS(memoryviewer::FilterExpression)
};

/** Splits the text at spaces outside of quotes. */
QStringList splitTerms(const QString& text) {
    QStringList terms;
    QString term;
    bool isQuoted = false;
    for (const QChar c : text) {
        if (c == QLatin1Char('"')) {
            isQuoted = !isQuoted;
        } else if (c.isSpace() && !isQuoted) {
            terms += term;
            term.clear();
        } else {
            term += c;
        }
    }
    terms += term;
    terms.removeAll(QString());
    return terms;
}

constexpr char lowerCase(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/** Only converts ASCII letters, so that a word can be searched for in the bytes of a name. */
std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return lowerCase(c); });
    return text;
}

/** Each byte as lowerCase() makes it. */
constexpr std::array<char, 256> lowerCaseTable() {
    std::array<char, 256> table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
        table[byte] = lowerCase(static_cast<char>(byte));
    }
    return table;
}

constexpr std::array<char, 256> a_lowerCase = lowerCaseTable();

/** @param word in lower case. Called for every key with each letter that is typed. */
bool contains(const std::string& name, const std::string& word) {
    const auto lower = [&name](std::size_t at) {
        return a_lowerCase[static_cast<unsigned char>(name[at])];
    };
    for (std::size_t at = 0; at + word.size() <= name.size(); ++at) {
        std::size_t same = 0;
        while (same < word.size() && lower(at + same) == word[same]) {
            ++same;
        }
        if (same == word.size()) {
            return true;
        }
    }
    return false;
}

bool beginsWith(const char* name, const std::string& text) {
    return std::string(name).compare(0, text.size(), text) == 0;
}

}  // namespace

FilterExpression::FilterExpression(const QString& text) {
    for (const QString& term : splitTerms(text)) {
        xAdd(term);
    }
}

void FilterExpression::xAdd(QString text) {
    Term term;
    term.fIsNegated = text.startsWith(QLatin1Char('-')) && text.size() > 1;
    if (term.fIsNegated) {
        text.remove(0, 1);
    }
    const auto rest = [&text](const char* prefix) {
        return text.mid(static_cast<int>(qstrlen(prefix)));
    };
    if (text.startsWith(QLatin1String("re:"))) {
        xAddPattern(term, rest("re:"));
    } else if (text.startsWith(QLatin1String("type:"))) {
        xAddType(term, rest("type:"));
    } else if (text.startsWith(QLatin1String("changed:"))) {
        xAddChanged(term, rest("changed:"));
    } else {
        term.fText = lowerCase(text.toStdString());
        fTerms.push_back(term);
    }
}

void FilterExpression::xAddPattern(Term term, const QString& pattern) {
    if (pattern.isEmpty()) {
        return;  // the term is still being typed
    }
    term.fKind = Term::Kind::Pattern;
    term.fPattern.setPattern(pattern);
    term.fPattern.setPatternOptions(QRegularExpression::CaseInsensitiveOption);
    if (!term.fPattern.isValid()) {
        //: %2 is the library's reason, in English
        fFault = Texts::tr("\"%1\" is not a valid regular expression: %2.")
                     .arg(pattern, term.fPattern.errorString());
        return;
    }
    term.fPattern.optimize();
    fTerms.push_back(term);
}

void FilterExpression::xAddType(Term term, const QString& name) {
    term.fKind = Term::Kind::Type;
    term.fText = lowerCase(name.toStdString());
    const bool isKnown = std::any_of(a_types.begin(), a_types.end(), [&term](KVValue::Type type) {
        return beginsWith(KVValue::typeName(type), term.fText);
    });
    if (!isKnown) {
        QStringList names;
        for (const KVValue::Type type : a_types) {
            names += QLatin1String(KVValue::typeName(type));
        }
        //: %2 is a list of words that stay English
        fFault = Texts::tr("There is no type \"%1\"; the types are %2.")
                     .arg(name, names.join(QLatin1String(", ")));
        return;
    }
    fTerms.push_back(term);
}

void FilterExpression::xAddChanged(Term term, const QString& seconds) {
    bool isNumber = true;
    const double span = seconds.isEmpty() ? a_changedSeconds : seconds.toDouble(&isNumber);
    if (!isNumber || !(span > 0 && span <= a_mostChangedSeconds)) {
        fFault = Texts::tr("\"%1\" is not a number of seconds above 0.").arg(seconds);
        return;
    }
    term.fKind = Term::Kind::Changed;
    term.fSpan = static_cast<std::int64_t>(span * base::a_microsecondsPerSecond);
    fTerms.push_back(term);
}

bool FilterExpression::isLive() const {
    return std::any_of(fTerms.begin(), fTerms.end(),
                       [](const Term& term) { return term.fKind == Term::Kind::Changed; });
}

bool FilterExpression::matches(const MemoryKey& key, std::int64_t now) const {
    return std::all_of(fTerms.begin(), fTerms.end(), [&](const Term& term) {
        return xMatches(term, key, now) != term.fIsNegated;
    });
}

bool FilterExpression::xMatches(const Term& term, const MemoryKey& key, std::int64_t now) const {
    switch (term.fKind) {
        case Term::Kind::Word:
            return contains(key.fInfo.fName, term.fText);
        case Term::Kind::Pattern:
            return term.fPattern.match(QString::fromStdString(key.fInfo.fName)).hasMatch();
        case Term::Kind::Type:
            return beginsWith(KVValue::typeName(key.type()), term.fText);
        case Term::Kind::Changed:
            return key.fHasChanged && now - key.fTime <= term.fSpan;
    }
    return false;
}

}  // namespace memoryviewer
