#include "modules.h"

#include "table_values.h"

#include <robaxi/kv_error.h>

#include <boost/make_shared.hpp>

#include <memory>
#include <mutex>
#include <utility>

namespace robot {

namespace {

KVValue namesThatStartWith(const KVValueTable& table, const std::string& prefix) {
    KVValue::List names;
    for (const KVKeyInfo& key : table.getKeys()) {
        if (key.fName.compare(0, prefix.size(), prefix) == 0) {
            names.emplace_back(key.fName);
        }
    }
    return names;
}

/** The text sent last, and the number of texts sent. */
class Clipboard {
  public:
    Clipboard(boost::shared_ptr<KVValueTable> table, std::function<void(const std::string&)> show)
        : fTable(std::move(table)),
          fShow(std::move(show)),
          fTextId(addReadOnlyKey(*fTable, "Ballamor/Clipboard", "Text that was sent last", "")),
          fCountId(addReadOnlyKey(*fTable, "Ballamor/ClipboardCount",
                                  "How many texts were sent since the start", 0)) {}

    void keep(const std::string& text) {
        const std::lock_guard lock(fMutex);
        ++fCount;
        fTable->setValues({{fTextId, text}, {fCountId, fCount}});
        fShow(text);
    }

  private:
    boost::shared_ptr<KVValueTable> fTable;
    std::function<void(const std::string&)> fShow;
    std::uint32_t fTextId;
    std::uint32_t fCountId;
    std::mutex fMutex;
    std::int64_t fCount = 0;
};

}  // namespace

boost::shared_ptr<KVModule> makeMemoryModule(const boost::shared_ptr<KVValueTable>& table) {
    auto module = boost::make_shared<KVModule>("KVMemory", "The robot's values.");
    module->setValues(table);
    module->bindMethod({"getData", "getData(key: string) -> value", "The present value of a key."},
                       {KVValue::Type::String}, [table](const KVValue::List& arguments) {
                           return table->getValue(arguments[0].toString()).fValue;
                       });
    // The value may have any type: the key, not the method, determines the accepted one.
    module->bindMethod({"setData", "setData(key: string, value: value)",
                        "Sets a key that can be written; says why when it refuses."},
                       {KVValue::Type::String, KVValue::Type::Nothing},
                       [table](const KVValue::List& arguments) {
                           table->write(arguments[0].toString(), arguments[1]);
                           return KVValue();
                       });
    module->bindMethod({"getDataList", "getDataList(prefix: string) -> list of string",
                        "The names of the keys that start with a text; all for an empty one."},
                       {KVValue::Type::String}, [table](const KVValue::List& arguments) {
                           return namesThatStartWith(*table, arguments[0].toString());
                       });
    return module;
}

boost::shared_ptr<KVModule> makeLedsModule(std::function<void(double)> start) {
    auto module = boost::make_shared<KVModule>("KVLeds", "The lights of the robot.");
    module->bindMethod({"rasta", "rasta(duration: float)",
                        "Starts a play of red, yellow and green for so many seconds."},
                       {KVValue::Type::Float},
                       [start = std::move(start)](const KVValue::List& arguments) {
                           start(arguments[0].toFloat());
                           return KVValue();
                       });
    return module;
}

boost::shared_ptr<KVModule> makeBallamorModule(boost::shared_ptr<KVValueTable> table,
                                               std::function<void(const std::string&)> show) {
    const auto clipboard = std::make_shared<Clipboard>(std::move(table), std::move(show));
    auto module = boost::make_shared<KVModule>("KVBallamor", "The behaviour editor.");
    module->bindMethod(
        {"sendClipboard", "sendClipboard(text: string)",
         "Keeps and shows a text of at most 4096 bytes."},
        {KVValue::Type::String}, [clipboard](const KVValue::List& arguments) {
            clipboard->keep(textUpTo("The clipboard", arguments[0].toString(), a_longestClipboard));
            return KVValue();
        });
    return module;
}

}  // namespace robot
