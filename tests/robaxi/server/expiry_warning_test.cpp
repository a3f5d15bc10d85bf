// The warning about an expired certificate, with a period shorter than the program's hour.
#include "server/expiry_warning.h"

#include "recording_listener.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

using robaxi::ExpiryWarning;
using robaxi::TimerThread;
using std::chrono::system_clock;

namespace {

class ExpiryWarningTest : public testing::Test {
  protected:
    ~ExpiryWarningTest() override {
        fWarning.reset();
        fTimers->stop();
    }

    void watch(system_clock::time_point expiry) {
        fWarning = std::make_unique<ExpiryWarning>(fTimers, expiry, std::chrono::milliseconds(20),
                                                   [this] { countWarning(); });
    }

    void countWarning() {
        const std::lock_guard lock(fMutex);
        ++fWarnings;
        fChanged.notify_all();
    }

    bool waitForWarnings(int count) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, robaxi_test::a_patience, [&] { return fWarnings >= count; });
    }

    int countWarnings() {
        const std::lock_guard lock(fMutex);
        return fWarnings;
    }

    std::shared_ptr<TimerThread> fTimers = TimerThread::create();
    std::mutex fMutex;
    std::condition_variable fChanged;
    int fWarnings = 0;
    std::unique_ptr<ExpiryWarning> fWarning;
};

}  // namespace

TEST_F(ExpiryWarningTest, comesAtOnceAndAfterEachPeriod) {
    watch(system_clock::now() - std::chrono::seconds(1));
    EXPECT_EQ(countWarnings() > 0, true);
    EXPECT_TRUE(waitForWarnings(4));
}

TEST_F(ExpiryWarningTest, comesWhenTheCertificateExpiresLater) {
    const auto expiry = system_clock::now() + std::chrono::milliseconds(300);
    watch(expiry);
    EXPECT_TRUE(waitForWarnings(1));
    EXPECT_GE(system_clock::now(), expiry);
}
