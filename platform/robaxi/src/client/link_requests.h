#ifndef ROBAXI_LINK_REQUESTS_H
#define ROBAXI_LINK_REQUESTS_H

#include "client/link.h"
#include "error_sentences.h"

#include <robaxi/kv_module.h>
#include <robaxi/kv_value.h>

#include <vector>

/** Requests of proxies and connections to a robot, with failures as KVError. */
namespace robaxi {

/** Returns all modules, or only `target.fModule` if it is not empty. @throws KVError */
std::vector<KVModuleInfo> listModules(Link& link, CallOwner& owner, const Target& target,
                                      Deadline deadline);

/** @throws KVError */
KVValue callMethod(Link& link, CallOwner& owner, const Target& target,
                   const KVValue::List& arguments, Deadline deadline);

/** Returns the task's identifier. @throws KVError */
int postMethod(Link& link, const CallOwner& owner, const Target& target,
               const KVValue::List& arguments, Deadline deadline);

}  // namespace robaxi

#endif
