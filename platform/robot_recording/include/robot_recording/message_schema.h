#ifndef ROBOT_RECORDING_MESSAGE_SCHEMA_H
#define ROBOT_RECORDING_MESSAGE_SCHEMA_H

#include <string>

namespace robot_recording {

/** The format of the messages of a channel. */
struct MessageSchema {
    std::string fName;
    std::string fEncoding;         ///< of fData
    std::string fData;             ///< for readers of the recording
    std::string fMessageEncoding;  ///< of the messages
};

}  // namespace robot_recording

#endif
