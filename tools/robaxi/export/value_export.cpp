#include "export/value_export.h"

#include "process/failure.h"
#include "values/key_pattern.h"
#include "values/wide_table.h"

#include <base/safe_text.h>

#include <map>
#include <memory>
#include <recorded_robot/channel_reader.h>
#include <recording/output_file.h>
#include <robot_recording/csv_rows.h>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

namespace robaxi_tool {

namespace {

using recorded_robot::ChannelReader;
using recorded_robot::Content;
using recording::Message;
using robot_recording::CsvKey;

constexpr std::size_t a_bytesPerWrite = 65536;
/** Gaps of further keys are not marked: every message of a hostile file may have other keys. */
constexpr std::size_t a_mostKeys = 200'000;
/** Spreadsheets have 16,384 columns; the first one is the time. */
constexpr std::size_t a_mostColumns = 16'383;
/** Bytes of a cell, so that a row has at most 256 MiB. */
constexpr std::size_t a_longestCell = 16'384;

/** Writes the values that are read from a recording, in their order. */
class Table {
  public:
    Table() = default;
    virtual ~Table() = default;
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;

    virtual void takeValue(std::int64_t time, const CsvKey& key, const KVValue& value) = 0;
    /** The values of a key are unknown from now on. */
    virtual void takeGap(std::int64_t time, const CsvKey& key) = 0;
    virtual void takeLoss(std::int64_t time, std::uint64_t messages) = 0;
    /** Called before the first value of another log time, and after the last value. */
    virtual void endUpdate() {}

    std::uint64_t longValues() const { return fLongValues; }

    std::string fRows;  ///< not written yet

  protected:
    std::uint64_t fLongValues = 0;
};

/** A row for each value. */
class LongTable : public Table {
  public:
    LongTable() { fRows = robot_recording::a_csvHeader; }

    void takeValue(std::int64_t time, const CsvKey& key, const KVValue& value) override {
        robot_recording::appendValueRow(fRows, time, key, value);
    }
    void takeGap(std::int64_t time, const CsvKey& key) override {
        robot_recording::appendGapRow(fRows, time, key);
    }
    void takeLoss(std::int64_t time, std::uint64_t messages) override {
        robot_recording::appendLossRow(fRows, time, messages);
    }
};

/** A column for each key, and a row for the values that were recorded at the same time. */
class ColumnTable : public Table {
  public:
    explicit ColumnTable(const std::vector<std::string>& keys) : fTable(keys) {
        fRows = fTable.heading();
    }

    void takeValue(std::int64_t time, const CsvKey& key, const KVValue& value) override {
        std::string field = csvValue(value);
        if (field.size() > a_longestCell) {
            field.clear();
            ++fLongValues;
        }
        fTable.set(key.fName, std::move(field), time);
        fIsChanged = true;
    }
    void takeGap(std::int64_t /*time*/, const CsvKey& key) override { fTable.clear(key.fName); }
    void takeLoss(std::int64_t /*time*/, std::uint64_t /*messages*/) override {}
    void endUpdate() override {
        if (std::exchange(fIsChanged, false)) {
            fRows += fTable.line();
        }
    }

  private:
    WideTable fTable;
    bool fIsChanged = false;
};

class ValueExport {
  public:
    ValueExport(const ExportRequest& request, const recorded_robot::RecordedRobot& robot)
        : fRequest(request), fRobot(recorded_robot::displayName(robot, request.fFile)) {
        fSelection.fFrom = request.fFrom;
        fSelection.fTo = request.fTo;
        fSelection.fChannels.emplace();
        recorded_robot::ParsedSchemas schemas;
        for (const auto& [id, recorded] : robot.fChannels) {
            ChannelReader channel(request.fReader, id, recorded, schemas);
            const Content content = channel.channel().fContent;
            if (hasValues(content) || content == Content::Events) {
                if (content == Content::Value) {
                    xAddKey(recorded.fName, recorded.fUnit);
                } else if (hasValues(content)) {
                    fHasGroups = true;
                }
                fSelection.fChannels->insert(id);
                fChannels.emplace(id, std::move(channel));
            }
        }
    }

    ExportReport run() {
        fTable = xMakeTable();
        recording::OutputFile file(fRequest.fOutput, false);
        fRequest.fTakeFile(fRequest.fOutput);
        recording::Messages messages = fRequest.fReader.messages(fSelection);
        std::uint64_t recorded = 0;
        while (const std::optional<Message> message = messages.next()) {
            if (message->fLogTime != recorded) {
                fTable->endUpdate();
                recorded = message->fLogTime;
            }
            xTake(*message);
            if (fTable->fRows.size() >= a_bytesPerWrite) {
                file.append(fTable->fRows);
                fTable->fRows.clear();
            }
        }
        fTable->endUpdate();
        xRequirePatterns();
        file.append(fTable->fRows);
        file.close();
        return {{fRequest.fOutput}, fCount, 0, 0, fTable->longValues()};
    }

  private:
    struct Key {
        CsvKey fColumns;
        bool fIsWanted = false;
        bool fHasValue = false;  ///< since the last gap
    };

    std::unique_ptr<Table> xMakeTable() {
        if (fRequest.fFormat == ExportFormat::Csv) {
            return std::make_unique<LongTable>();
        }
        if (fHasGroups) {
            xFindKeys();
        }
        if (fWanted.size() > a_mostColumns) {
            throw Failure(
                ExitStatus::CannotWrite,
                "The recording has more than " + std::to_string(a_mostColumns) +
                    " keys, of which a table cannot have a column each. -k chooses some.");
        }
        return std::make_unique<ColumnTable>(fWanted);
    }

    /** Reads the recording, since only its messages tell which keys a group has. */
    void xFindKeys() {
        recording::Messages messages = fRequest.fReader.messages(fSelection);
        while (const std::optional<Message> message = messages.next()) {
            const ChannelReader& channel = fChannels.at(message->fChannelId);
            if (channel.channel().fContent == Content::Value) {
                continue;
            }
            channel.takeValues(*message, [this](const std::string& name, const KVValue&) {
                if (fKeys.size() < a_mostKeys) {
                    xAddKey(name, "");
                }
            });
        }
    }

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
        if (known != fKeys.end()) {
            return known->second;
        }
        Key& key = fKeys.emplace(name, xKey(name, unit)).first->second;
        if (key.fIsWanted && fWanted.size() <= a_mostColumns) {
            fWanted.push_back(key.fColumns.fName);
        }
        return key;
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
            fTable->takeValue(fTime, key.fColumns, value);
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
            fTable->takeLoss(fTime, event.fMessages);
        }
    }

    void xMarkGap(Key& key) {
        if (std::exchange(key.fHasValue, false)) {
            fTable->takeGap(fTime, key.fColumns);
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
    recording::Selection fSelection;
    std::map<std::uint16_t, ChannelReader> fChannels;
    bool fHasGroups = false;  ///< of keys that only the messages name
    std::unordered_map<std::string, Key> fKeys;
    std::vector<std::string> fWanted;  ///< names of keys in their order, one too many at most
    std::set<std::string> fMatched;    ///< patterns
    std::int64_t fTime = 0;            ///< of the last value
    std::uint64_t fCount = 0;
    std::unique_ptr<Table> fTable;
};

}  // namespace

ExportReport exportValues(const ExportRequest& request,
                          const recorded_robot::RecordedRobot& robot) {
    return ValueExport(request, robot).run();
}

}  // namespace robaxi_tool
