#ifndef ROBAXI_KV_MODULE_H
#define ROBAXI_KV_MODULE_H

#include <robaxi/kv_value.h>
#include <robaxi/robaxi_export.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

class KVFrameSource;
class KVValueTable;

/** Description of one method. */
struct KVMethodInfo {
    std::string fName;         ///< Unique in the module
    std::string fSignature;    ///< for users, for instance "rasta(duration: float)"
    std::string fDescription;  ///< one sentence
};

/** Description of one module. */
struct KVModuleInfo {
    std::string fName;                   ///< Unique in its broker
    std::string fDescription;            ///< One sentence for users
    std::vector<KVMethodInfo> fMethods;  ///< In the order of their binding
    bool fHasValues = false;             ///< true if its values can be subscribed to
    bool fHasFrames = false;             ///< true if it has cameras that can be watched
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
    using Method = std::function<KVValue(const KVValue::List& arguments)>;  ///< The method itself

    /** @throws KVError InvalidArgument for an empty name */
    KVModule(const std::string& name, const std::string& description);
    virtual ~KVModule();
    KVModule(const KVModule&) = delete;
    KVModule& operator=(const KVModule&) = delete;

    const std::string& getName() const;  ///< Returns the name given to the constructor.
    KVModuleInfo getInfo() const;        ///< Returns a copy, as peers see it.

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

    /**
     * Adds a method that is a callable, such as a lambda. The types of its parameters are the types
     * that arguments must have, and with its result type they make the signature that people see.
     *
     *     module.bindMethod("say", [](const std::string& text) { ... }, "Says a text");
     *
     * Parameters and result are of the types of KVValue::to(), parameters by value or as `const
     * T&`; the result may be void. An integer that its parameter cannot hold is refused with
     * WrongType. Call it before the module is given to a broker.
     *
     * @throws KVError InvalidArgument for an empty name or one that is taken
     */
    template <class Callable>
    void bindMethod(const std::string& name, Callable callable,
                    const std::string& description = std::string()) {
        xBindMethod(name, description, std::function(std::move(callable)));
    }

    /** Offers a table of values for subscription. Call it before the module is hosted. */
    void setValues(std::shared_ptr<KVValueTable> values);
    std::shared_ptr<KVValueTable> getValues() const;  ///< Returns the table; null if none is set.

    /** Offers cameras for watching. Call it before the module is hosted. */
    void setFrames(std::shared_ptr<KVFrameSource> frames);
    std::shared_ptr<KVFrameSource> getFrames() const;  ///< Returns the source; null if none is set.

    /**
     * Runs a method on the calling thread, like a call from the network.
     *
     * @throws KVError NoSuchMethod, WrongArguments, or what the method raised
     */
    KVValue invoke(const std::string& method, const KVValue::List& arguments) const;

  private:
    template <class Result, class... Parameters>
    void xBindMethod(const std::string& name, const std::string& description,
                     std::function<Result(Parameters...)> callable) {
        using Types = std::vector<KVValue::Type>;
        const Types types{KVValue::typeOf<std::decay_t<Parameters>>()...};
        Types results;
        if constexpr (!std::is_void_v<Result>) {
            results.push_back(KVValue::typeOf<std::decay_t<Result>>());
        }
        bindMethod({name, xSignature(name, types, results), description}, types,
                   [callable = std::move(callable)](const KVValue::List& arguments) {
                       return xCall(callable, arguments, std::index_sequence_for<Parameters...>());
                   });
    }

    template <class Result, class... Parameters, std::size_t... Indices>
    static KVValue xCall(const std::function<Result(Parameters...)>& callable,
                         [[maybe_unused]] const KVValue::List& arguments,
                         std::index_sequence<Indices...>) {
        if constexpr (std::is_void_v<Result>) {
            callable(arguments[Indices].to<std::decay_t<Parameters>>()...);
            return KVValue();
        } else {
            return KVValue(callable(arguments[Indices].to<std::decay_t<Parameters>>()...));
        }
    }

    /** @param results one type, or none for a method without a result */
    static std::string xSignature(const std::string& name,
                                  const std::vector<KVValue::Type>& parameters,
                                  const std::vector<KVValue::Type>& results);

    struct Private;
    std::unique_ptr<Private> fPrivate;
};

#endif
