#ifndef OBVISTA_ROBOT_ROBOT_H
#define OBVISTA_ROBOT_ROBOT_H

#include "body/humanoid_body.h"
#include "memory/memory_source.h"
#include "options.h"
#include "sim_module.h"
#include "ticker.h"
#include "video/video.h"
#include "web/web_page.h"
#include "web/web_server.h"

#include <bonjour/bonjour_announcer.h>
#include <robaxi/kv_broker.h>
#include <robaxi/kv_memory_module.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_settings.h>

#include <boost/shared_ptr.hpp>

#include <functional>
#include <memory>
#include <mutex>
#include <serving/main_loop.h>
#include <serving/serving.h>
#include <string>
#include <vector>

namespace robot {

/**
 * A running robot or computer: its values, the modules served by the broker, its web page and its
 * announcement. Create and destroy it on the main thread.
 */
class Robot : private SimControls {
  public:
    /**
     * Starts it; it can be reached when this returns.
     *
     * @param loop must outlive it, and must not run any longer when it is destroyed
     * @throws KVError or std::runtime_error if it cannot listen on a port, or the requested icon
     *         cannot be read
     */
    Robot(const Options& options, serving::MainLoop& loop, serving::Output output);

    /** Sends the goodbye and ends: calls in flight fail for their caller. */
    ~Robot() override;
    Robot(const Robot&) = delete;
    Robot& operator=(const Robot&) = delete;

  private:
    void setMiddleware(bool on) override;
    void interruptMiddleware(double seconds) override;
    void setAnnounced(bool on) override;
    void setAddress(const std::string& address) override;
    void setIcon(IconTrouble trouble) override;
    void setCamera(const std::string& camera, FrameTrouble trouble) override;
    State getState() const override;

    void xAddIdentity();
    void xMakeMemories();
    void xMakeHumanoid();
    void xMakeVideo();
    std::vector<KVCamera> xMakeCameras() const;
    void xMakeModules();
    void xStartWebServer();
    std::string xReadIcon() const;
    void xStartAnnouncer();
    void xStartMiddleware();
    void xSwitchMiddleware(bool on);
    void xRestartMiddleware();
    void xStopMiddleware();
    void xAnnounce();
    void xRequireAnnouncer() const;
    boost::shared_ptr<KVBroker> xListen(int port) const;

    const Options fOptions;
    const KVSettings fSettings;
    serving::MainLoop& fLoop;
    const serving::Output fOutput;
    std::shared_ptr<KVMemoryModule> fMemory;
    std::vector<std::unique_ptr<MemorySource>> fMemories;
    std::function<Pose()> fPose;  // only for a robot
    std::unique_ptr<Video> fVideo;
    std::shared_ptr<KVModule> fSimModule;
    std::vector<std::shared_ptr<KVModule>> fModules;
    mutable std::mutex fStateMutex;  // guards fState
    State fState{};
    bool fIsMiddlewareWanted = true;  // used on the main thread
    std::vector<std::unique_ptr<Ticker>> fTickers;
    std::unique_ptr<WebServer> fWebServer;
    std::unique_ptr<KV::BonjourAnnouncer> fAnnouncer;
    // The brokers are destroyed first: no call is running when the other members are destroyed.
    boost::shared_ptr<KVBroker> fSimBroker;
    boost::shared_ptr<KVBroker> fBroker;
};

}  // namespace robot

#endif
