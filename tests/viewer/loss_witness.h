#ifndef OBVISTA_TESTS_LOSS_WITNESS_H
#define OBVISTA_TESTS_LOSS_WITNESS_H

#include <boost/shared_ptr.hpp>

#include <condition_variable>
#include <memory>
#include <mutex>

class KVBroker;
class KVConnection;

namespace obvista_test {

/** Waits, without running the event loop, until a robot's end is known in this process. */
class LossWitness {
  public:
    explicit LossWitness(int port);
    ~LossWitness();
    LossWitness(const LossWitness&) = delete;
    LossWitness& operator=(const LossWitness&) = delete;

    /** @return false if the robot did not end in time */
    bool wait();

  private:
    std::mutex fMutex;
    std::condition_variable fCondition;
    bool fIsLost = false;
    boost::shared_ptr<KVBroker> fBroker;
    std::shared_ptr<KVConnection> fConnection;
};

}  // namespace obvista_test

#endif
