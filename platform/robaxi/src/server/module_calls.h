#ifndef ROBAXI_MODULE_CALLS_H
#define ROBAXI_MODULE_CALLS_H

#include "hosted_modules.h"
#include "robaxi/v1/robaxi.pb.h"

#include <robaxi/kv_settings.h>

#include <string>

/** Calls and descriptions of modules, for sessions and for RPCs without one. */
namespace robaxi {

/**
 * Runs a call on the calling thread.
 *
 * @param result receives the value or the error; null for a post, whose result nobody reads
 */
void runCall(HostedModules& modules, const v1::Call& call, const KVSettings::Limits& limits,
             v1::Result* result);

/**
 * Describes all modules, or the one of that name if it is not empty. Returns false if there is no
 * such module.
 */
bool listModules(const HostedModules& modules, const std::string& name, v1::ModuleList* list);

}  // namespace robaxi

#endif
