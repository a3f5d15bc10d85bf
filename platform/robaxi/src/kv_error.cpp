#include "error_sentences.h"

#include <robaxi/kv_error.h>

#include <atomic>
#include <cctype>
#include <utility>

struct KVError::Text {
    explicit Text(std::string text) : fSentence(std::move(text)) {}

    const std::string fSentence;
    std::atomic<int> fUsers{1};
};

namespace {

std::string sentenceOf(KVError::Cause cause) {
    std::string sentence = robaxi::reasonOf(cause);
    sentence.front() =
        static_cast<char>(std::toupper(static_cast<unsigned char>(sentence.front())));
    return sentence + ".";
}

}  // namespace

KVError::KVError(Cause cause, const std::string& text)
    : fCause(cause), fText(new Text(text.empty() ? sentenceOf(cause) : text)) {
}

KVError::KVError(const KVError& other) noexcept
    : std::exception(other), fCause(other.fCause), fText(other.fText) {
    fText->fUsers.fetch_add(1, std::memory_order_relaxed);
}

KVError& KVError::operator=(const KVError& other) noexcept {
    KVError copy(other);
    std::swap(fCause, copy.fCause);
    std::swap(fText, copy.fText);
    return *this;
}

KVError::~KVError() {
    if (fText->fUsers.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete fText;
    }
}

KVError::Cause KVError::cause() const noexcept {
    return fCause;
}

std::string KVError::toString() const {
    return fText->fSentence;
}

const char* KVError::what() const noexcept {
    return fText->fSentence.c_str();
}
