#ifndef ROBAXI_LINK_REQUESTS_H
#define ROBAXI_LINK_REQUESTS_H

#include "client/link.h"
#include "error_sentences.h"

#include <robaxi/kv_module.h>
#include <robaxi/kv_value.h>

#include <vector>

/** What proxies and connections ask of a robot, with failures told to the user. */
namespace robaxi {

/** All modules, or only `target.fModule` when it is not empty. @throws KVError */
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
