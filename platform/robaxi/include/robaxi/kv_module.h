#ifndef ROBAXI_KV_MODULE_H
#define ROBAXI_KV_MODULE_H

#include <robaxi/kv_value.h>
#include <robaxi/robaxi_export.h>

#include <boost/shared_ptr.hpp>

#include <functional>
#include <memory>
#include <string>
#include <vector>

class KVFrameSource;
class KVValueTable;

/** Description of one method. */
struct KVMethodInfo {
    std::string fName;
    std::string fSignature;    ///< for users, for instance "rasta(duration: float)"
    std::string fDescription;  ///< one sentence
};

/** Description of one module. */
struct KVModuleInfo {
    std::string fName;
    std::string fDescription;
    std::vector<KVMethodInfo> fMethods;
    bool fHasValues = false;  ///< true if its values can be subscribed to
    bool fHasFrames = false;  ///< true if it has cameras that can be watched
};

/**
 * A named set of methods, with at most one table of values and one set of cameras, hosted by a
 * broker.
 *
 * Methods run on a small pool of threads of the broker, several at once, and must protect shared
 * data. An exception that leaves a method reaches the caller as KVError: a KVError with its cause
 * and text, any other exception as RaisedByModule, with its what() if it has one.
 */
class ROBAXI_EXPORT KVModule {
  public:
    using Method = std::function<KVValue(const KVValue::List& arguments)>;

    /** @throws KVError InvalidArgument for an empty name */
    KVModule(const std::string& name, const std::string& description);
    ~KVModule();
    KVModule(const KVModule&) = delete;
    KVModule& operator=(const KVModule&) = delete;

    const std::string& getName() const;
    KVModuleInfo getInfo() const;

    /**
     * Adds a method. Call it before the module is given to a broker.
     *
     * @param argumentTypes the required types of the arguments; a call with others is refused with
     *        WrongArguments before the method runs. An Int is accepted for a Float, and
     *        Type::Nothing accepts any type.
     * @throws KVError InvalidArgument for an empty name, a name that is taken, or no method
     */
    void bindMethod(const KVMethodInfo& info, const std::vector<KVValue::Type>& argumentTypes,
                    Method method);

    /** Offers a table of values for subscription. Call it before the module is hosted. */
    void setValues(boost::shared_ptr<KVValueTable> values);
    boost::shared_ptr<KVValueTable> getValues() const;

    /** Offers cameras for watching. Call it before the module is hosted. */
    void setFrames(boost::shared_ptr<KVFrameSource> frames);
    boost::shared_ptr<KVFrameSource> getFrames() const;

    /**
     * Runs a method on the calling thread, like a call from the network.
     *
     * @throws KVError NoSuchMethod, WrongArguments, or what the method raised
     */
    KVValue invoke(const std::string& method, const KVValue::List& arguments) const;

  private:
    struct Private;
    std::unique_ptr<Private> fPrivate;
};

#endif
