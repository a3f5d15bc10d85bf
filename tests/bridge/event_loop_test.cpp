#include "ros2/event_loop.h"

#include <gtest/gtest.h>

#include <dds/dds.h>
#include <vector>

using namespace bridge;

namespace {

constexpr dds_domainid_t a_domain = 231;

/** No packet leaves the test. */
constexpr const char* a_configuration =
    "<CycloneDDS><Domain><General><Interfaces><NetworkInterface name=\"lo\"/></Interfaces>"
    "<AllowMulticast>false</AllowMulticast></General></Domain></CycloneDDS>";

}  // namespace

TEST(EventLoop, postedFunctionsRunWhileManyReadersHaveSamples) {
    const Entity domain = created(dds_create_domain(a_domain, a_configuration), "a domain");
    const Entity participant =
        created(dds_create_participant(a_domain, nullptr, nullptr), "a participant");
    EventLoop loop(participant.get());
    // Each reader has a sample of this participant, which nobody takes.
    constexpr int readerCount = 65;
    std::vector<Entity> readers;
    int handled = 0;
    for (int i = 0; i < readerCount; ++i) {
        readers.push_back(
            created(dds_create_reader(participant.get(), DDS_BUILTIN_TOPIC_DCPSPARTICIPANT, nullptr,
                                      nullptr),
                    "a reader"));
        loop.attach(readers.back().get(), [&handled] { ++handled; });
    }
    bool isRun = false;
    loop.post([&isRun] { isRun = true; });
    loop.runOnce();
    EXPECT_TRUE(isRun);
    EXPECT_GT(handled, readerCount) << "more were triggered than one answer has room for";
}
