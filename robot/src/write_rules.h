#ifndef OBVISTA_ROBOT_WRITE_RULES_H
#define OBVISTA_ROBOT_WRITE_RULES_H

#include <cstdint>
#include <string>

namespace robot {

/**
 * @name Limits of what a client may set
 * Each throws KVError (RaisedByModule) with a sentence that names what was not changed and why.
 */
///@{
double numberWithin(const std::string& what, double number, double lowest, double highest,
                    const std::string& unit);
std::int64_t numberWithin(const std::string& what, std::int64_t number, std::int64_t lowest,
                          std::int64_t highest, const std::string& unit);
/** @return the text as valid UTF-8 */
std::string textUpTo(const std::string& what, const std::string& text, std::size_t bytes);
///@}

}  // namespace robot

#endif
