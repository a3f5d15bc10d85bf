#include "modules.h"

#include <base/safe_text.h>

#include <memory>
#include <mutex>
#include <utility>

namespace robot {

namespace {

/** The text sent last, and the number of texts sent. */
class Clipboard {
  public:
    Clipboard(std::shared_ptr<KVMemoryModule> memory, std::function<void(const std::string&)> show)
        : fMemory(std::move(memory)),
          fShow(std::move(show)),
          fTextId(fMemory->addKey({"Ballamor/Clipboard", "", "Last text sent", ""})),
          fCountId(fMemory->addKey(
              {"Ballamor/ClipboardCount", "", "Number of texts sent since the start", 0})) {}

    void keep(const std::string& text) {
        const std::lock_guard lock(fMutex);
        ++fCount;
        fMemory->getValues()->setValues({{fTextId, text}, {fCountId, fCount}});
        fShow(text);
    }

  private:
    std::shared_ptr<KVMemoryModule> fMemory;
    std::function<void(const std::string&)> fShow;
    std::uint32_t fTextId;
    std::uint32_t fCountId;
    std::mutex fMutex;
    std::int64_t fCount = 0;
};

}  // namespace

std::shared_ptr<KVModule> makeLedsModule(std::function<void(double)> start) {
    auto module = std::make_shared<KVModule>("KVLeds", "The lights of the robot.");
    module->bindMethod({"rasta", "rasta(duration: float)",
                        "Starts an animation in red, yellow and green of that many seconds."},
                       {KVValue::Type::Float},
                       [start = std::move(start)](const KVValue::List& arguments) {
                           start(arguments[0].toFloat());
                           return KVValue();
                       });
    return module;
}

std::shared_ptr<KVModule> makeBallamorModule(std::shared_ptr<KVMemoryModule> memory,
                                             std::function<void(const std::string&)> show) {
    const auto clipboard = std::make_shared<Clipboard>(std::move(memory), std::move(show));
    auto module = std::make_shared<KVModule>("KVBallamor", "The behaviour editor.");
    module->bindMethod({"sendClipboard", "sendClipboard(text: string)",
                        "Stores and shows a text of at most 4096 bytes."},
                       {KVValue::Type::String}, [clipboard](const KVValue::List& arguments) {
                           KVRange{0, a_longestClipboard}.check("The clipboard", arguments[0]);
                           clipboard->keep(base::validUtf8(arguments[0].toString()));
                           return KVValue();
                       });
    return module;
}

}  // namespace robot
