#ifndef ROBAXI_BROKER_PRIVATE_H
#define ROBAXI_BROKER_PRIVATE_H

#include "engine.h"
#include "hosted_modules.h"
#include "link_table.h"
#include "runtime.h"

#include <robaxi/kv_broker.h>

#include <memory>
#include <string>

struct KVBroker::Private {
    Private(const std::string& name, std::string ip, KVSettings settings)
        : fIP(std::move(ip)),
          fRuntime(std::make_shared<robaxi::Runtime>(name, std::move(settings))),
          fLinks(fRuntime),
          fModules(std::make_shared<robaxi::HostedModules>(fRuntime->fSettings.fLimits.fModules)) {}

    const std::string fIP;
    const std::shared_ptr<robaxi::Runtime> fRuntime;
    robaxi::LinkTable fLinks;
    const std::shared_ptr<robaxi::HostedModules> fModules;
    std::unique_ptr<robaxi::RunningServer> fServer;
    std::shared_ptr<robaxi::Link> fParent;
};

#endif
