#ifndef OBVISTA_TOOLS_ROBAXI_RECORDING_MESSAGE_SCHEMA_H
#define OBVISTA_TOOLS_ROBAXI_RECORDING_MESSAGE_SCHEMA_H

#include <string>

namespace robaxi_tool {

/** The format of the messages of a channel. */
struct MessageSchema {
    std::string fName;
    std::string fEncoding;         ///< of fData
    std::string fData;             ///< for readers of the recording
    std::string fMessageEncoding;  ///< of the messages
};

}  // namespace robaxi_tool

#endif
