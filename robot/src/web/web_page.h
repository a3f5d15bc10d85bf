#ifndef OBVISTA_ROBOT_WEB_WEB_PAGE_H
#define OBVISTA_ROBOT_WEB_WEB_PAGE_H

#include <robaxi/kv_module.h>
#include <robaxi/kv_value_table.h>

#include <memory>
#include <string>
#include <vector>

namespace robot {

/**
 * The robot's web page: its name, its modules and its values. The page is complete as served; its
 * script only updates the values. May be used from any thread.
 */
class WebPage {
  public:
    WebPage(std::string name, std::string description,
            std::vector<std::shared_ptr<KVModule>> modules, std::shared_ptr<KVValueTable> values);

    std::string html() const;
    /** Returns the values as the page shows them: an object from identifier to text. */
    std::string json() const;
    static std::string style();
    static std::string script();

  private:
    std::string xModules() const;
    std::string xValues() const;

    std::string fName;
    std::string fDescription;
    std::vector<std::shared_ptr<KVModule>> fModules;
    std::shared_ptr<KVValueTable> fValues;
};

/** Returns a short text for a value; not yet escaped for HTML. */
std::string shortText(const KVValue& value, const std::string& unit);

}  // namespace robot

#endif
