// A row of the call log in memory, for the repair at the start, which splits rows of several
// numbers and joins rows of one number. It has its own statement, since a repaired row replaces the
// whole stored row.

#include "calls/CallLogRow.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace CallLogColumns;

/// Fields of a record that toString shows.
constexpr Field ShownFields[] = {
    Number, TimeDate, Duration, ResolvedNumber, CompletedElsewhere, GroupName, GroupNumber};

void appendInBrackets(std::string& text, const std::string& value) {
    text += '[';
    text += value;
    text += ']';
}

void appendQuoted(std::string& sql, const std::string& value) {
    sql += '\'';
    sql += value;
    sql += '\'';
}

/// The number as eight hexadecimal digits (32 bits); a number out of range is clamped.
std::string numberInHex(const std::string& number) {
    constexpr long lowest = std::numeric_limits<std::int32_t>::min();
    constexpr long highest = std::numeric_limits<std::int32_t>::max();
    const long value = std::clamp(std::strtol(number.c_str(), nullptr, 10), lowest, highest);
    char digits[9];
    (void)std::snprintf(digits, sizeof(digits), "%.8X",
                        static_cast<unsigned>(static_cast<std::int32_t>(value)));
    return digits;
}

}  // namespace

CallLogRow::CallLogRow(const std::vector<std::string>& row)
    : userContext(row.at(UserContext)),
      uniqueId(row.at(UniqueId)),
      category(row.at(Category)),
      entryId(row.at(EntryId)),
      surname(row.at(Surname)),
      firstname(row.at(Firstname)),
      pictureClip(row.at(PictureClip)),
      viewed(row.at(Viewed)),
      jsGroupBy(row.at(JSGroupBy)),
      records(Places) {
    for (std::size_t place = 0; place < Places; ++place) {
        for (std::size_t field = 0; field < FieldCount; ++field) {
            const auto key = static_cast<Field>(field);
            records[place][key] = row.at(position(key, place));
        }
    }
}

std::vector<const std::string*> CallLogRow::texts() const {
    return {&userContext, &uniqueId,    &category, &entryId,  &surname,
            &firstname,   &pictureClip, &viewed,   &jsGroupBy};
}

bool CallLogRow::operator==(const CallLogRow& other) const {
    const auto mine = texts();
    const auto theirs = other.texts();
    return std::equal(mine.begin(), mine.end(), theirs.begin(),
                      [](const std::string* a, const std::string* b) { return *a == *b; }) &&
           records == other.records;
}

std::string CallLogRow::toString() const {
    std::string text;
    for (const std::string* value : texts()) {
        appendInBrackets(text, *value);
    }
    text += '\n';
    for (const CallLogRecord& record : records) {
        text += "\t\t";
        for (const Field field : ShownFields) {
            appendInBrackets(text, record[field]);
        }
        text += '\n';
    }
    return text;
}

std::string CallLogRow::statement() const {
    static const CallLogRecord emptyRecord;
    const bool isNew = uniqueId.empty();
    std::string sql = isNew ? "INSERT INTO CALL_LOG (" : "REPLACE INTO CALL_LOG (";
    sql += isNew ? "UserContext, " : "UserContext, UniqueId, ";
    sql += "Category, EntryId, Surname, Firstname, PictureClip, Viewed, JSGroupBy, ";
    for (std::size_t i = 0; i < Places * FieldCount; ++i) {
        sql += i > 0 ? ", " : "";
        sql += name(static_cast<Field>(i % FieldCount), i / FieldCount);
    }
    sql += ") VALUES (";
    for (const std::string* value : texts()) {
        if (value != &uniqueId || !isNew) {
            appendQuoted(sql, *value);
            sql += ", ";
        }
    }
    for (std::size_t i = 0; i < Places * FieldCount; ++i) {
        const std::size_t place = i / FieldCount;
        const CallLogRecord& record = place < records.size() ? records[place] : emptyRecord;
        sql += i > 0 ? ", " : "";
        appendQuoted(sql, record[static_cast<Field>(i % FieldCount)]);
    }
    return sql + ");";
}

bool CallLogRow::isSafeInStatement() const {
    const auto isSafe = [](const std::string* text) {
        return DASUtils::isSafeBetweenQuotes(*text);
    };
    const auto own = texts();
    if (!std::all_of(own.begin(), own.end(), isSafe)) {
        return false;
    }
    const auto written = std::min(records.size(), Places);
    return std::all_of(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(written),
                       [](const CallLogRecord& record) { return record.isSafeInStatement(); });
}

void CallLogRow::updateDb(DataAccessServiceIfc* service) const {
    (void)writeTo(service);  // the result is only logged, as the header says
}

bool CallLogRow::writeTo(DataAccessServiceIfc* service) const {
    DatabaseAdapter* adapter = service != nullptr ? service->getAdapter() : nullptr;
    if (adapter == nullptr) {
        DAS_LOG(2, "CallLogRow::updateDb: no database adapter");
        return false;
    }
    if (!isSafeInStatement()) {
        DAS_LOG(3, "CallLogRow::updateDb: a quote in row UniqueId='%s', left as it is",
                uniqueId.c_str());
        return false;
    }
    Rows none;
    return adapter->executeSQLQuery(statement(), none) == 0;
}

bool CallLogRow::compareCallLogRowByTime(const CallLogRow& first, const CallLogRow& second) {
    return CallLogRecord::compareCallLogRecordsAsTime(first.records.at(0), second.records.at(0));
}

void CallLogRow::sortByFirstRecord(std::vector<CallLogRow>& rows) {
    CallLogRecord::sortByTime(
        rows, [](const CallLogRow& row) -> const CallLogRecord& { return row.records.at(0); });
}

void CallLogRow::sortRecords() {
    CallLogRecord::sortByTime(
        records, [](const CallLogRecord& record) -> const CallLogRecord& { return record; });
}

void CallLogRow::normalize() {
    sortRecords();
    if (records.size() > Places) {
        records.resize(Places);
    }
}

void CallLogRow::moveToRowOfItsNumber(CallLogRecord&& record,
                                      std::map<std::string, CallLogRow>& rowsByNumber) const {
    const auto [found, isNew] = rowsByNumber.try_emplace(record[Number]);
    CallLogRow& row = found->second;
    if (isNew) {
        row.userContext = userContext;
        row.category = category;
        row.entryId = record[TimeDate] + numberInHex(record[Number]);
    }
    row.records.push_back(std::move(record));
}

void CallLogRow::extractCallRecordsThatDoNotMatch(std::map<std::string, CallLogRow>& rowsByNumber) {
    sortRecords();
    const auto reference = std::find_if(records.rbegin(), records.rend(),
                                        [](const CallLogRecord& r) { return !r[Number].empty(); });
    if (reference == records.rend()) {
        return;
    }
    const std::string number = (*reference)[Number];
    std::vector<CallLogRecord> kept;  // oldest first
    for (auto record = reference; record != records.rend(); ++record) {
        if ((*record)[Number].empty() || (*record)[Number] == number) {
            kept.push_back(std::move(*record));
        } else {
            moveToRowOfItsNumber(std::move(*record), rowsByNumber);
        }
    }
    // The values after the reference have no number and are dropped: kept on purpose.
    std::reverse(kept.begin(), kept.end());
    records = std::move(kept);
}
