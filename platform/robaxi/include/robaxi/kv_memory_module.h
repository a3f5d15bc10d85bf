#ifndef ROBAXI_KV_MEMORY_MODULE_H
#define ROBAXI_KV_MEMORY_MODULE_H

#include <robaxi/kv_module.h>
#include <robaxi/kv_range.h>
#include <robaxi/kv_value.h>
#include <robaxi/kv_value_table.h>
#include <robaxi/robaxi_export.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

/** A key of a KVMemoryModule: its metadata and its first value. */
struct KVMemoryKey {
    /** Handles a client's write of an accepted type and range: returns to accept it, throws to
     *  refuse it. A KVError keeps its cause; other exceptions become RaisedByModule. */
    using WriteHandler = std::function<void(const KVValue& value)>;

    std::string fName;                     ///< path with "/", for instance "Joint/HeadYaw/Position"
    std::string fUnit;                     ///< for instance "rad", "°C"; may be empty
    std::string fDescription;              ///< One sentence for users; may be empty
    KVValue fValue;                        ///< first value; its type is the key's
    WriteHandler fWrite = WriteHandler();  ///< clients can write the key if it is not empty
    std::optional<KVRange> fRange = std::nullopt;  ///< values that clients can write; all if empty
};

/**
 * The module "KVMemory": a robot's values by key, which clients read, write, list and subscribe to
 * (docs/memory.md).
 *
 *     auto memory = std::make_shared<KVMemoryModule>();
 *     memory->addKey({"Battery/Charge", "%", "Charge of the battery", 87.5});
 *     memory->addKey({"Audio/Volume", "%", "Volume of the loudspeakers", 60,
 *                     [](const KVValue& volume) { ... }, KVRange{0, 100}});
 *     broker->addModule(memory);
 *     memory->setValue("Battery/Charge", 87.4);
 *
 * All operations may be called from any thread, also while the module is hosted. Write handlers run
 * on threads of the broker, several at once, without a lock.
 */
class ROBAXI_EXPORT KVMemoryModule : public KVModule {
  public:
    explicit KVMemoryModule(const std::string& description = "The robot's values.");  ///< For users
    ~KVMemoryModule() override;

    /**
     * Adds a key.
     *
     * @return the key's identifier, for setting several values at once with getValues()
     * @throws KVError InvalidArgument if the name is empty or taken, or the range is not valid
     */
    std::uint32_t addKey(const KVMemoryKey& key);
    /** Removes a key; does nothing if there is no such key. A running write is completed. */
    void removeKey(const std::string& name);
    /**
     * Sets the newest value of a key, without its write handler and range.
     *
     * @throws KVError InvalidArgument if there is no such key
     */
    void setValue(const std::string& name, const KVValue& value);

  private:
    struct Private;
    std::shared_ptr<Private> fPrivate;
};

#endif
