#ifndef OBVISTA_TESTS_MEMORY_ROBOT_H
#define OBVISTA_TESTS_MEMORY_ROBOT_H

#include <robaxi/kv_value.h>

#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

class KVBroker;
class KVValueTable;

namespace obvista_test {

/** A robot in the test's process: a broker on the loopback address. */
class MemoryRobot {
  public:
    enum class Memory { Offered, Missing };

    /** @param port 0 for a free one */
    explicit MemoryRobot(const std::string& name = "TestRobot", Memory memory = Memory::Offered,
                         int port = 0);
    ~MemoryRobot();
    MemoryRobot(const MemoryRobot&) = delete;
    MemoryRobot& operator=(const MemoryRobot&) = delete;

    int port() const { return fPort; }

    /**
     * Sets a key's value; adds the key if there is none of that name.
     *
     * @param time microseconds since 1970-01-01 UTC, or 0 for now
     */
    void set(const std::string& key, const KVValue& value, std::int64_t time = 0);
    void remove(const std::string& key);
    /** Adds the memory to a robot without one. */
    void offerMemory();

    /** Breaks every connection and stops listening. */
    void stop();

  private:
    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<KVValueTable> fTable;
    std::map<std::string, std::uint32_t> fIds;
    int fPort = 0;
};

}  // namespace obvista_test

#endif
