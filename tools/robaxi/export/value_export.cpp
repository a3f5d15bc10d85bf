#include "export/value_export.h"

#include "process/failure.h"
#include "values/key_pattern.h"

#include <base/safe_text.h>

#include <map>
#include <recorded_robot/channel_reader.h>
#include <recording/output_file.h>
#include <robot_recording/csv_rows.h>
#include <set>
#include <unordered_map>
#include <utility>

namespace robaxi_tool {

namespace {

using recorded_robot::ChannelReader;
using recorded_robot::Content;
using recording::Message;
using robot_recording::CsvKey;

constexpr std::size_t a_bytesPerWrite = 65536;
/** Gaps of further keys are not marked: every message of a hostile file may have other keys. */
constexpr std::size_t a_mostKeys = 200'000;

class ValueExport {
  public:
    ValueExport(const ExportRequest& request, const recorded_robot::RecordedRobot& robot)
        : fRequest(request), fRobot(recorded_robot::displayName(robot, request.fFile)) {
        for (const auto& [id, recorded] : robot.fChannels) {
            ChannelReader channel(request.fReader, id, recorded);
            const Content content = channel.channel().fContent;
            if (hasValues(content) || content == Content::Events) {
                if (content == Content::Value) {
                    xAddKey(recorded.fName, recorded.fUnit);
                }
                fChannels.emplace(id, std::move(channel));
            }
        }
    }

    ExportReport run() {
        recording::OutputFile file(fRequest.fOutput, false);
        fRequest.fTakeFile(fRequest.fOutput);
        recording::Selection selection;
        selection.fFrom = fRequest.fFrom;
        selection.fTo = fRequest.fTo;
        selection.fChannels.emplace();
        for (const auto& [id, channel] : fChannels) {
            selection.fChannels->insert(id);
        }
        recording::Messages messages = fRequest.fReader.messages(selection);
        fRows = robot_recording::a_csvHeader;
        while (const std::optional<Message> message = messages.next()) {
            xTake(*message);
            if (fRows.size() >= a_bytesPerWrite) {
                file.append(fRows);
                fRows.clear();
            }
        }
        xRequirePatterns();
        file.append(fRows);
        file.close();
        return {{fRequest.fOutput}, fCount, 0, 0};
    }

  private:
    struct Key {
        CsvKey fColumns;
        bool fIsWanted = false;
        bool fHasValue = false;  ///< since the last gap
    };

    Key xKey(const std::string& name, const std::string& unit) {
        Key key{{base::validUtf8(name), base::validUtf8(unit)}, fRequest.fPatterns.empty(), false};
        for (const std::string& pattern : fRequest.fPatterns) {
            if (matchesKey(pattern, key.fColumns.fName)) {
                key.fIsWanted = true;
                fMatched.insert(pattern);
            }
        }
        return key;
    }

    Key& xAddKey(const std::string& name, const std::string& unit) {
        const auto known = fKeys.find(name);
        return known != fKeys.end() ? known->second
                                    : fKeys.emplace(name, xKey(name, unit)).first->second;
    }

    void xTake(const Message& message) {
        const ChannelReader& channel = fChannels.at(message.fChannelId);
        if (channel.channel().fContent == Content::Events) {
            if (const auto event = recorded_robot::recordedEvent(message.fData)) {
                xTakeEvent(*event);
            }
            return;
        }
        fTime = recorded_robot::timeOf(message);
        channel.takeValues(message, [this](const std::string& name, const KVValue& value) {
            if (fKeys.size() >= a_mostKeys && fKeys.count(name) == 0) {
                Key other = xKey(name, "");
                xTakeValue(other, value);
            } else {
                xTakeValue(xAddKey(name, ""), value);
            }
        });
    }

    void xTakeValue(Key& key, const KVValue& value) {
        if (key.fIsWanted) {
            robot_recording::appendValueRow(fRows, fTime, key.fColumns, value);
            key.fHasValue = true;
            ++fCount;
        }
    }

    /** An event has our time, so its row has the robot's time of the value before it. */
    void xTakeEvent(const recorded_robot::RecordedEvent& event) {
        if (event.fName == "key removed" || event.fName == "key left out") {
            const auto key = fKeys.find(event.fText);
            if (key != fKeys.end()) {
                xMarkGap(key->second);
            }
        } else if (event.fName == "lost" || event.fName == "values ended") {
            for (auto& [name, key] : fKeys) {
                xMarkGap(key);
            }
        } else if (event.fName == "dropped") {
            robot_recording::appendLossRow(fRows, fTime, event.fMessages);
        }
    }

    void xMarkGap(Key& key) {
        if (std::exchange(key.fHasValue, false)) {
            robot_recording::appendGapRow(fRows, fTime, key.fColumns);
        }
    }

    void xRequirePatterns() const {
        for (const std::string& pattern : fRequest.fPatterns) {
            if (fMatched.count(pattern) == 0) {
                throw Failure(ExitStatus::NotOffered,
                              "No recorded key of " + fRobot + " matches '" + pattern + "'.");
            }
        }
    }

    const ExportRequest& fRequest;
    const std::string fRobot;
    std::map<std::uint16_t, ChannelReader> fChannels;
    std::unordered_map<std::string, Key> fKeys;
    std::set<std::string> fMatched;  ///< patterns
    std::int64_t fTime = 0;          ///< of the last value
    std::uint64_t fCount = 0;
    std::string fRows;  ///< not written yet
};

}  // namespace

ExportReport exportValues(const ExportRequest& request,
                          const recorded_robot::RecordedRobot& robot) {
    return ValueExport(request, robot).run();
}

}  // namespace robaxi_tool
