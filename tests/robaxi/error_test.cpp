#include <robaxi/kv_error.h>

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

static_assert(std::is_nothrow_copy_constructible_v<KVError>);
static_assert(std::is_nothrow_copy_assignable_v<KVError>);
static_assert(std::is_base_of_v<std::exception, KVError>);

TEST(Error, CarriesItsCauseAndText) {
    const KVError error(KVError::Cause::Refused, "nothing listens");
    EXPECT_EQ(error.cause(), KVError::Cause::Refused);
    EXPECT_EQ(error.toString(), "nothing listens");
    EXPECT_STREQ(error.what(), "nothing listens");
}

TEST(Error, HasASentenceMadeFromItsCauseWhenItIsGivenNoText) {
    std::set<std::string> sentences;
    constexpr int last = static_cast<int>(KVError::Cause::TooMany);
    for (int cause = 0; cause <= last; ++cause) {
        const std::string text = KVError(static_cast<KVError::Cause>(cause), "").toString();
        ASSERT_GT(text.size(), 10U) << cause;
        EXPECT_EQ(text.back(), '.') << text;
        sentences.insert(text);
    }
    EXPECT_EQ(sentences.size(), static_cast<std::size_t>(last) + 1);
    EXPECT_EQ(KVError(KVError::Cause::Refused, "").toString(), "Nothing listens on that port.");
}

TEST(Error, IsCopiedWithItsTextAndOutlivesTheOriginal) {
    KVError copy(KVError::Cause::Internal, "other");
    {
        const KVError original(KVError::Cause::TimedOut, "late");
        copy = original;
    }
    KVError& same = copy;
    copy = same;
    EXPECT_EQ(copy.toString(), "late");
    EXPECT_EQ(copy.cause(), KVError::Cause::TimedOut);
}

TEST(Error, IsCaughtAsAStandardException) {
    try {
        throw KVError(KVError::Cause::NoRoute, "no way");
    } catch (const std::exception& error) {
        EXPECT_STREQ(error.what(), "no way");
    }
}

TEST(Error, MayBeCopiedOnSeveralThreads) {
    const KVError error(KVError::Cause::Internal, "shared");
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([error] {
            const std::vector<KVError> copies(1000, error);
            for (const KVError& copy : copies) {
                ASSERT_EQ(copy.toString(), "shared");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}
