#ifndef OBVISTA_TESTS_TEST_BROKER_H
#define OBVISTA_TESTS_TEST_BROKER_H

#include <boost/shared_ptr.hpp>

#include <string>

class KVBroker;

namespace obvista_test {

/** A broker for a robot in the test's own process, on a free port of the loopback address. */
boost::shared_ptr<KVBroker> createTestBroker(const std::string& name);

}  // namespace obvista_test

#endif
