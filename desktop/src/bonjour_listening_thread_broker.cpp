#include "bonjour_listening_thread.h"

namespace KD {

boost::shared_ptr<KVBroker> BonjourListeningThread::fLightBonjourBroker;

boost::shared_ptr<KVBroker> BonjourListeningThread::getLightBonjourBroker() {
    if (!fLightBonjourBroker) {
        fLightBonjourBroker = KVBroker::createBroker("LightBonjourBroker", std::string(), 0,
                                                     std::string(), 0, 19, std::string(), false);
    }
    return fLightBonjourBroker;
}

}  // namespace KD
