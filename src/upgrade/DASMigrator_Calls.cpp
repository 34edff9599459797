// The repair of the call log: a table of other columns, rows that hold calls of several numbers,
// and rows that belong together.

#include <algorithm>
#include <cstdio>

#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "calls/CallLogRow.h"
#include "dao/DASUtils.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/TableRebuild.h"

namespace {

using namespace DASUtilsStrings;

// The second line lacks a value, so SQLite refuses the statement and no row is joined: kept on
// purpose, existing telephones keep the rows that they have.
const char* const DoubledCalls =
    "SELECT CALL_LOG.* FROM CALL_LOG"
    " INNER JOIN ( SELECT * FROM CALL_LOG WHERE Number0 <>  GROUP BY Number0, GroupNumber0, "
    "Category HAVING COUNT(Category) > 1  ) b"
    " ON CALL_LOG.Number0 = b.Number0"
    " GROUP BY CALL_LOG.UniqueId"
    " ORDER BY CALL_LOG.Number0, CALL_LOG.Category, CALL_LOG.TimeDate0 DESC";

std::string asText(const std::string& column) {
    return "CAST(COALESCE(" + column + ", '') AS TEXT)";
}

/// The condition for rows that the check for several numbers may have to split: rows of this log
/// without a first number, or with a different number after it. Other rows are not read.
std::string mixedCalls() {
    const std::string first = asText(CallLogColumns::name(CallLogColumns::Number, 0));
    std::string condition = "SUBSTR(" + asText(CallLogColumns::name(CallLogColumns::EntryId)) +
                            ", 1, 1) NOT IN ('U', 'C', 'W', 'S', 'I') AND (" + first + " = ''";
    for (std::size_t place = 1; place < CallLogColumns::Places; ++place) {
        condition += " OR " + asText(CallLogColumns::name(CallLogColumns::Number, place)) +
                     " NOT IN ('', " + first + ")";
    }
    return condition + ")";
}

/// Rows of other call logs, recognised by the first letter of their entry id, are not repaired.
bool isOfOtherLog(const CallLogRow& row) {
    return row.entryId.find_first_of("UC") == 0 || row.entryId.find_first_of("WSI") == 0;
}

void showProgress() {
    (void)std::fflush(stdout);
}

std::string numberOf(const CallLogRow& row, std::size_t place) {
    return row.records.at(place)[CallLogColumns::Number];
}

/// Runs @p work on a row. If the row holds a time that can't be read, the row does not change.
template <typename Work>
bool guarded(const std::string& rowName, Work work) {
    try {
        work();
        return true;
    } catch (const std::exception& error) {
        DAS_LOG(2, "Call log row '%s' is left as it is: %s", rowName.c_str(), error.what());
        return false;
    }
}

}  // namespace

bool DASMigrator::bringCallLogIntoOrder(DataAccessServiceIfc* service) {
    if (formOf(service, CallLogSchema, CallLogTableName).isInOrder()) {
        return true;
    }
    (void)rebuildIntoDaoColumns(service, CallLogSchema, CallLogTableName);
    return formOf(service, CallLogSchema, CallLogTableName).isInOrder();
}

void DASMigrator::readCallLogRowsWithMoreThanOneNumberOnARow(
    DataAccessServiceIfc* service, std::map<std::string, CallLogRow>& rows,
    std::vector<std::string>& idsToSplit) {
    DatabaseAdapter& adapter = *service->getAdapter();
    static const std::string mixed = mixedCalls();
    // A row for each call, because the log shows their number; it is blank for calls that must not
    // change.
    Rows marks;
    (void)adapter.executeSQLQuery(
        "SELECT CASE WHEN " + mixed + " THEN 1 ELSE '' END FROM CALL_LOG;", marks);
    const bool someAreMixed = std::any_of(marks.begin(), marks.end(),
                                          [](const auto& mark) { return !mark.front().empty(); });
    Rows().swap(marks);
    if (!someAreMixed) {
        return;
    }
    (void)adapter.forEachRow("SELECT * FROM CALL_LOG WHERE " + mixed + ";", [&](const auto& cells) {
        CallLogRow& row = rows[cells.at(CallLogColumns::UniqueId)];
        row = CallLogRow(cells);
        checkCallLogRowForMoreThanOneNumber(row, idsToSplit);
    });
}

void DASMigrator::checkCallLogRowForMoreThanOneNumber(const CallLogRow& row,
                                                      std::vector<std::string>& idsToSplit) {
    if (isOfOtherLog(row)) {
        return;
    }
    const std::string first = numberOf(row, 0);
    const bool isMixed =
        std::any_of(row.records.begin() + 1, row.records.end(), [&](const CallLogRecord& record) {
            const std::string& number = record[CallLogColumns::Number];
            return !number.empty() && number != first;
        });
    if (first.empty() || isMixed) {
        insertUniqueValue(idsToSplit, row.uniqueId);
    }
}

void DASMigrator::insertUniqueValue(std::vector<std::string>& values, const std::string& value) {
    if (std::find(values.begin(), values.end(), value) == values.end()) {
        values.push_back(value);
    }
}

namespace {

/// Throws as a sort would, but checks every time: a row with an unreadable time is not split.
void requireReadableTimes(const CallLogRow& row) {
    for (const CallLogRecord& record : row.records) {
        const std::string& time = record[CallLogColumns::TimeDate];
        if (!time.empty()) {
            (void)CallLogRecord::extractLocalTimeFromISO8601TimeString(time);
        }
    }
}

/// Adds the content of @p others to @p extracted, without calls that would break their statement.
void addStorable(std::map<std::string, CallLogRow>& others,
                 std::map<std::string, CallLogRow>& extracted) {
    for (auto& [number, other] : others) {
        auto& calls = other.records;
        calls.erase(std::remove_if(calls.begin(), calls.end(),
                                   [](const auto& call) { return !call.isSafeInStatement(); }),
                    calls.end());
        if (calls.empty() || !other.isSafeInStatement()) {
            continue;
        }
        const auto [found, isNew] = extracted.try_emplace(number, other);
        if (!isNew) {
            auto& known = found->second.records;
            known.insert(known.end(), calls.begin(), calls.end());
        }
    }
}

/// Moves calls with other numbers from the rows of @p ids to @p extracted. If a row can't be
/// written, it keeps these calls, and they are added all the same: kept on purpose, clients rely on
/// the rows. A row that did not change, such as one without any number, is not written, although
/// each start finds it again.
bool splitRows(DataAccessServiceIfc* service, std::map<std::string, CallLogRow>& rows,
               const std::vector<std::string>& ids, std::map<std::string, CallLogRow>& extracted) {
    int replaced = 0;
    bool stored = true;
    for (const std::string& id : ids) {
        CallLogRow& row = rows[id];
        const bool isStorable = row.isSafeInStatement();
        const std::string before = row.statement();
        std::map<std::string, CallLogRow> others;
        const bool isSplit = guarded(id, [&] {
            requireReadableTimes(row);
            row.extractCallRecordsThatDoNotMatch(isStorable ? extracted : others);
        });
        if (isSplit && isStorable) {
            stored = (row.statement() == before || row.writeTo(service)) && stored;
        } else if (isSplit) {
            DAS_LOG(3, "Call log row '%s' is left as it is: a quote", id.c_str());
            addStorable(others, extracted);
        }
        replaced += isSplit ? 1 : 0;
        showProgress();
    }
    DAS_LOG(5, "\nREPLACED %d CALL_LOG row(s)", replaced);
    return stored;
}

bool storeExtracted(DataAccessServiceIfc* service, std::map<std::string, CallLogRow>& extracted) {
    bool stored = true;
    for (auto& [number, row] : extracted) {
        row.normalize();
        stored = row.writeTo(service) && stored;
        showProgress();
    }
    DAS_LOG(5, "\nINSERTED %d CALL_LOG row(s)", static_cast<int>(extracted.size()));
    return stored;
}

}  // namespace

void DASMigrator::fixDuplicateNumbersFoundInARow(DataAccessServiceIfc* service,
                                                 std::map<std::string, CallLogRow>& rows,
                                                 std::vector<std::string>& idsToSplit) {
    std::sort(idsToSplit.begin(), idsToSplit.end(), compareStringsAsIntegers);
    // A call is removed from its row only together with its insertion in the other row.
    const bool stored = runWholeOrNot(*service->getAdapter(), [&] {
        std::map<std::string, CallLogRow> extracted;
        return splitRows(service, rows, idsToSplit, extracted) &&
               storeExtracted(service, extracted);
    });
    if (!stored) {
        DAS_LOG(2, "The rows of the call log can't be split, they stay as they were");
    }
}

void DASMigrator::readCallLogRowsWithDuplicateRowsPerCategory(DataAccessServiceIfc* service,
                                                              DuplicateRows& duplicates) {
    Rows rows;
    (void)service->getAdapter()->executeSQLQuery(DoubledCalls, rows);
    for (auto cells = rows.cbegin(); cells != rows.cend(); ++cells) {
        CallLogRow row(cells);
        if (!isOfOtherLog(row)) {
            duplicates[numberOf(row, 0)][row.category].push_back(std::move(row));
        }
    }
}

void DASMigrator::normalizeDuplicateRowData(DuplicateRows& duplicates) {
    int normalized = 0;
    for (auto& [number, categories] : duplicates) {
        showProgress();
        for (auto& [category, rows] : categories) {
            showProgress();
            if (rows.size() < 2) {
                continue;
            }
            for (CallLogRow& row : rows) {
                showProgress();
                (void)guarded(row.uniqueId, [&row] { row.sortRecords(); });
                ++normalized;
            }
            (void)guarded(number, [&rows = rows] { CallLogRow::sortByFirstRecord(rows); });
        }
    }
    DAS_LOG(5, "\nNORMALIZING %d duplicate rows", normalized);
}

std::vector<std::string> DASMigrator::consolidateDuplicateRows(DuplicateRows& duplicates) {
    std::vector<std::string> idsToRemove;
    for (auto& number : duplicates) {
        consolidateDuplicateCategoryForASingleNumber(number.second, idsToRemove);
    }
    return idsToRemove;
}

void DASMigrator::consolidateDuplicateCategoryForASingleNumber(
    std::map<std::string, std::vector<CallLogRow>>& categories,
    std::vector<std::string>& idsToRemove) {
    for (auto& [category, rows] : categories) {
        CallLogRow survivor = rows.at(0);
        std::vector<std::string> joined;
        for (auto row = rows.begin() + 1; row != rows.end(); ++row) {
            joined.push_back(row->uniqueId);
            for (CallLogRecord& record : row->records) {
                const bool isKnown = std::find(survivor.records.begin(), survivor.records.end(),
                                               record) != survivor.records.end();
                if (!record.isEmpty() && !isKnown) {
                    survivor.records.push_back(std::move(record));
                }
            }
        }
        if (guarded(survivor.uniqueId, [&survivor] { survivor.normalize(); }) &&
            survivor.isSafeInStatement()) {
            idsToRemove.insert(idsToRemove.end(), joined.begin(), joined.end());
            rows = {std::move(survivor)};
        } else {
            rows.clear();  // if not all could be joined, nothing is stored and nothing is removed
        }
    }
}

void DASMigrator::commitConsolidatedRowData(DataAccessServiceIfc* service,
                                            DuplicateRows& duplicates) {
    int replaced = 0;
    for (const auto& number : duplicates) {
        for (const auto& category : number.second) {
            for (const CallLogRow& row : category.second) {
                showProgress();
                row.updateDb(service);
                ++replaced;
            }
        }
    }
    DAS_LOG(5, "\nREPLACED %d CALL_LOG row(s)", replaced);
}

void DASMigrator::removeRows(DataAccessServiceIfc* service, const std::vector<std::string>& ids) {
    for (const std::string& id : ids) {
        Rows none;
        (void)service->getAdapter()->executeSQLQuery(
            "DELETE FROM CALL_LOG WHERE UniqueId = " + DASUtils::escapeAndQuote(id), none);
        showProgress();
    }
    DAS_LOG(5, "\nDELETED %d duplicate rows from CALL_LOG\n", static_cast<int>(ids.size()));
}

void DASMigrator::printDuplicateRowData(DuplicateRows&) {}
