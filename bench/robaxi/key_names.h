#ifndef OBVISTA_BENCH_ROBAXI_KEY_NAMES_H
#define OBVISTA_BENCH_ROBAXI_KEY_NAMES_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace bench {

constexpr int a_keys = 10000;

/** Returns the names of the changing values: a_keys, of about 30 characters. */
std::vector<std::string> keyNames();

/** The newest value of each key, looked up by its name. */
class NamedValues {
  public:
    NamedValues();
    NamedValues(const NamedValues&) = delete;
    NamedValues& operator=(const NamedValues&) = delete;

    double& at(std::string_view name) { return fValues.at(name); }

  private:
    const std::vector<std::string> fNames = keyNames();
    std::unordered_map<std::string_view, double> fValues;
};

}  // namespace bench

#endif
