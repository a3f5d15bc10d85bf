#ifndef OBVISTA_TESTS_SUPPORT_LOOPBACK_BROKER_H
#define OBVISTA_TESTS_SUPPORT_LOOPBACK_BROKER_H

#include <boost/shared_ptr.hpp>

#include <string>

class KVBroker;
class KVSettings;

namespace obvista_test {

/**
 * Creates a broker for a robot in the test's process, on the loopback address.
 *
 * @param port 0 for a free one
 */
boost::shared_ptr<KVBroker> createTestBroker(const std::string& name, int port = 0);

/** Creates the same with explicit settings. */
boost::shared_ptr<KVBroker> createTestBroker(const std::string& name, const KVSettings& settings);

}  // namespace obvista_test

#endif
