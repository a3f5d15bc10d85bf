#include "failure.h"

#include <base/listed.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <map>
#include <memory>
#include <utility>

namespace {

struct BoundMethod {
    KVMethodInfo fInfo;
    std::vector<KVValue::Type> fArgumentTypes;
    KVModule::Method fBody;
};

bool fits(const KVValue& argument, KVValue::Type wanted) {
    return wanted == KVValue::Type::Nothing || argument.type() == wanted ||
           (wanted == KVValue::Type::Float && argument.type() == KVValue::Type::Int);
}

void checkArguments(const BoundMethod& method, const KVValue::List& arguments) {
    const std::string& signature =
        method.fInfo.fSignature.empty() ? method.fInfo.fName : method.fInfo.fSignature;
    if (arguments.size() != method.fArgumentTypes.size()) {
        throw robaxi::RefusedCall(
            KVError::Cause::WrongArguments,
            "The method " + signature + " takes " + std::to_string(method.fArgumentTypes.size()) +
                " argument(s); it was called with " + std::to_string(arguments.size()) + ".");
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (!fits(arguments[i], method.fArgumentTypes[i])) {
            throw robaxi::RefusedCall(KVError::Cause::WrongArguments,
                                      "Argument " + std::to_string(i + 1) + " of the method " +
                                          signature + " is of type " +
                                          KVValue::typeName(method.fArgumentTypes[i]) +
                                          "; it was called with one of type " +
                                          KVValue::typeName(arguments[i].type()) + ".");
        }
    }
}

}  // namespace

struct KVModule::Private {
    std::string fName;
    std::string fDescription;
    std::map<std::string, std::size_t> fIndexOf;
    std::vector<BoundMethod> fMethods;  // in the order in which they were bound
    std::shared_ptr<KVValueTable> fValues;
    std::shared_ptr<KVFrameSource> fFrames;
};

KVModule::KVModule(const std::string& name, const std::string& description)
    : fPrivate(new Private) {
    if (name.empty()) {
        throw KVError(KVError::Cause::InvalidArgument, "A module needs a name.");
    }
    fPrivate->fName = name;
    fPrivate->fDescription = description;
}

KVModule::~KVModule() = default;

const std::string& KVModule::getName() const {
    return fPrivate->fName;
}

KVModuleInfo KVModule::getInfo() const {
    KVModuleInfo info;
    info.fName = fPrivate->fName;
    info.fDescription = fPrivate->fDescription;
    info.fHasValues = fPrivate->fValues != nullptr;
    info.fHasFrames = fPrivate->fFrames != nullptr;
    for (const BoundMethod& method : fPrivate->fMethods) {
        info.fMethods.push_back(method.fInfo);
    }
    return info;
}

void KVModule::bindMethod(const KVMethodInfo& info, const std::vector<KVValue::Type>& argumentTypes,
                          Method method) {
    if (info.fName.empty() || !method) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "A method of module " + fPrivate->fName + " needs a name and a body.");
    }
    if (!fPrivate->fIndexOf.emplace(info.fName, fPrivate->fMethods.size()).second) {
        throw KVError(
            KVError::Cause::InvalidArgument,
            "Module " + fPrivate->fName + " already has a method named " + info.fName + ".");
    }
    fPrivate->fMethods.push_back({info, argumentTypes, std::move(method)});
}

std::string KVModule::xSignature(const std::string& name,
                                 const std::vector<KVValue::Type>& parameters,
                                 const std::vector<KVValue::Type>& results) {
    const auto nameOf = [](KVValue::Type type) {
        return std::string(type == KVValue::Type::Nothing ? "value" : KVValue::typeName(type));
    };
    const std::string text = name + '(' + base::listed(parameters, nameOf) + ')';
    return results.empty() ? text : text + " -> " + nameOf(results.front());
}

void KVModule::setValues(std::shared_ptr<KVValueTable> values) {
    fPrivate->fValues = std::move(values);
}

std::shared_ptr<KVValueTable> KVModule::getValues() const {
    return fPrivate->fValues;
}

void KVModule::setFrames(std::shared_ptr<KVFrameSource> frames) {
    fPrivate->fFrames = std::move(frames);
}

std::shared_ptr<KVFrameSource> KVModule::getFrames() const {
    return fPrivate->fFrames;
}

KVValue KVModule::invoke(const std::string& method, const KVValue::List& arguments) const {
    const auto found = fPrivate->fIndexOf.find(method);
    if (found == fPrivate->fIndexOf.end()) {
        throw robaxi::RefusedCall(
            KVError::Cause::NoSuchMethod,
            "Module " + fPrivate->fName + " has no method named " + method + ".");
    }
    const BoundMethod& bound = fPrivate->fMethods[found->second];
    checkArguments(bound, arguments);
    try {
        return bound.fBody(arguments);
    } catch (const KVError&) {
        throw;
    } catch (const std::exception& failure) {
        throw KVError(KVError::Cause::RaisedByModule, failure.what());
    } catch (...) {
        throw KVError(KVError::Cause::RaisedByModule,
                      "The method " + fPrivate->fName + "." + method + " failed without a reason.");
    }
}
