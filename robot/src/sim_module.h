#ifndef OBVISTA_ROBOT_SIM_MODULE_H
#define OBVISTA_ROBOT_SIM_MODULE_H

#include "video/frame_trouble.h"
#include "web/icon.h"

#include <robaxi/kv_module.h>

#include <memory>
#include <string>

namespace robot {

/** Faults that clients may inject into a simulated robot. Called from threads of the broker. */
class SimControls {
  public:
    struct State {
        bool fMiddleware;
        bool fAnnounced;
        std::string fAddress;  ///< announced instead of the machine's address, or empty
        IconTrouble fIcon;
    };

    virtual ~SimControls();
    /**
     * @name Each throws KVError if the robot was started without the part that it changes.
     */
    ///@{
    virtual void setMiddleware(bool on) = 0;
    virtual void interruptMiddleware(double seconds) = 0;
    virtual void setAnnounced(bool on) = 0;
    virtual void setAddress(const std::string& address) = 0;
    virtual void setIcon(IconTrouble trouble) = 0;
    virtual void setCamera(const std::string& camera, FrameTrouble trouble) = 0;
    ///@}
    virtual State getState() const = 0;
};

/**
 * Creates "KVSim": injects faults into a simulated robot. @param controls must outlive the module
 */
std::shared_ptr<KVModule> makeSimModule(SimControls* controls);

}  // namespace robot

#endif
