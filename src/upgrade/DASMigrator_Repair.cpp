// Repairs of what older releases left: calls of several numbers in a row, doubled rows, stray
// signs.

#include <algorithm>
#include <cstdio>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "calls/CallLogRow.h"
#include "contacts/PhonebookDAO.h"
#include "dao/DASUtils.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASMigrator";

using namespace DASUtilsStrings;

const char* const oldPhoneBook = "PHONE_BOOK_OLD";

const char* const allCalls = "SELECT * FROM CALL_LOG;";

// The second line lacks a value, so SQLite refuses the statement and no row is joined: kept on
// purpose, telephones in the field keep the rows that they have.
const char* const doubledCalls =
    "SELECT CALL_LOG.* FROM CALL_LOG"
    " INNER JOIN ( SELECT * FROM CALL_LOG WHERE Number0 <>  GROUP BY Number0, GroupNumber0, "
    "Category HAVING COUNT(Category) > 1  ) b"
    " ON CALL_LOG.Number0 = b.Number0"
    " GROUP BY CALL_LOG.UniqueId"
    " ORDER BY CALL_LOG.Number0, CALL_LOG.Category, CALL_LOG.TimeDate0 DESC";

// Finds by other columns than the deletion below groups by: kept on purpose, a contact that differs
// in its second number is not deleted.
const char* const doubledContacts =
    " SELECT PHONE_BOOK.* FROM PHONE_BOOK"
    " INNER JOIN ( SELECT * FROM PHONE_BOOK GROUP BY Surname, Firstname, Office, Office, Mobile, "
    "Picture, Private HAVING COUNT(Office) > 1  ) b"
    " ON PHONE_BOOK.Office = b.Office"
    " GROUP BY PHONE_BOOK.UniqueID"
    " ORDER BY PHONE_BOOK.Surname, PHONE_BOOK.Firstname, PHONE_BOOK.Office DESC";

const char* const deleteDoubledContacts =
    " DELETE FROM PHONE_BOOK"
    " WHERE UniqueID NOT IN (  SELECT MAX(UniqueID) FROM PHONE_BOOK GROUP BY Surname,Firstname , "
    "Office, Office2, Mobile, Private, Picture )";

const char* const conversationsWithoutContact =
    "DELETE FROM CONVERSATIONS WHERE NOT EXISTS( SELECT NULL FROM PHONE_BOOK pb WHERE pb.UniqueID "
    "= PhonebookId )";
const char* const conversationsWithoutCall =
    "DELETE FROM CONVERSATIONS WHERE NOT EXISTS( SELECT NULL FROM CALL_LOG cl WHERE cl.UniqueId = "
    "CallLogId )";
const char* const conversationsOfOtherLogs =
    "DELETE FROM CONVERSATIONS WHERE EXISTS( SELECT NULL FROM CALL_LOG cl WHERE cl.EntryId LIKE "
    "'UC_%' AND cl.UniqueID = CallLogId )";

const std::string* const PhoneBookColumns[] = {&UserContextTagName,
                                               &PhonebookUniqueIDTagName,
                                               &PhonebookSurnameTagName,
                                               &PhonebookFirstnameTagName,
                                               &PhonebookOfficeTagName,
                                               &PhonebookMobileTagName,
                                               &PhonebookPrivateTagName,
                                               &PhonebookEmailTagName,
                                               &PhonebookCallGroupTagName,
                                               &PhonebookDefaultNumberTagName,
                                               &PhonebookCompanyTagName,
                                               &PhonebookOffice2TagName,
                                               &PhonebookAddressTagName,
                                               &PhonebookAddress2TagName,
                                               &PhonebookJobFunctionTagName,
                                               &PhonebookVoiceDialTagName,
                                               &PhonebookPictureTagName,
                                               &PhonebookExternalIDTagName,
                                               &PhonebookContactSourceTagName,
                                               &PhonebookSpeedDialIDTagName};

const char* const NumberColumns[] = {"Office", "Office2", "Mobile", "Private"};

int query(DataAccessServiceIfc* service, const std::string& sql, Rows& rows) {
    return service->getAdapter()->executeSQLQuery(sql, rows);
}

/// Runs a statement whose failure is told by the log alone.
void execute(DataAccessServiceIfc* service, const std::string& sql) {
    Rows none;
    (void)query(service, sql, none);
}

void showProgress() {
    (void)std::fflush(stdout);
}

/// Rows of other call logs, by the first letter of their entry id, are not the repair's.
bool isOfOtherLog(const CallLogRow& row) {
    return row.entryId.find_first_of("UC") == 0 || row.entryId.find_first_of("WSI") == 0;
}

std::string numberOf(const CallLogRow& row, std::size_t place) {
    return row.records.at(place)[CallLogColumns::Number];
}

/// Runs @p work on a row; a time in it that can't be read leaves the row as it is.
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

// The call log -----------------------------------------------------------------------------------

void DASMigrator::widenCallLog(DataAccessServiceIfc* service) {
    const int count = service->getAdapter()->getColumnCount(allCalls);
    if (count > 0 && count < static_cast<int>(CallLogColumns::Count)) {
        (void)rebuildIntoDaoColumns(service, CallLogSchema, CallLogTableName);  // told by the log
    }
}

int DASMigrator::callLogTableChecker(DataAccessServiceIfc* service) {
    widenCallLog(service);
    std::map<std::string, CallLogRow> rows;
    std::vector<std::string> idsToSplit;
    readCallLogRowsWithMoreThanOneNumberOnARow(service, rows, idsToSplit);
    fixDuplicateNumbersFoundInARow(service, rows, idsToSplit);
    rows.clear();
    DuplicateRows duplicates;
    readCallLogRowsWithDuplicateRowsPerCategory(service, duplicates);
    const int contacts = readPhoneBookDuplicateRows(service);
    normalizeDuplicateRowData(duplicates);
    const auto treated = idsToSplit.size() + duplicates.size();
    const std::vector<std::string> idsToRemove = consolidateDuplicateRows(duplicates);
    commitConsolidatedRowData(service, duplicates);
    removeRows(service, idsToRemove);
    if (contacts > 0 || !duplicates.empty() || !idsToSplit.empty()) {
        dropConversationsTable(service);
    }
    if (contacts > 0) {
        deleteDuplicateItemsFromPhoneBook(service);
    }
    return static_cast<int>(treated);
}

void DASMigrator::readCallLogRowsWithMoreThanOneNumberOnARow(
    DataAccessServiceIfc* service, std::map<std::string, CallLogRow>& rows,
    std::vector<std::string>& idsToSplit) {
    Rows read;
    (void)query(service, allCalls, read);
    for (auto cells = read.begin(); cells != read.end(); ++cells) {
        CallLogRow& row = rows[cells->at(CallLogColumns::UniqueId)];
        row = CallLogRow(Rows::const_iterator(cells));
        checkCallLogRowForMoreThanOneNumber(row, idsToSplit);
        std::vector<std::string>().swap(*cells);  // both forms of a large log would not fit
    }
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

/// Raises like a sort, but for each time: a row that keeps one that can't be read is not split.
void requireReadableTimes(const CallLogRow& row) {
    for (const CallLogRecord& record : row.records) {
        const std::string& time = record[CallLogColumns::TimeDate];
        if (!time.empty()) {
            (void)CallLogRecord::extractLocalTimeFromISO8601TimeString(time);
        }
    }
}

/// Adds what @p others holds to @p extracted, without the calls that break their statement.
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

/// Moves the calls of other numbers from the rows of @p ids to @p extracted. A row that can't be
/// written keeps them, and they are added all the same: kept on purpose, clients rely on the rows.
bool splitRows(DataAccessServiceIfc* service, std::map<std::string, CallLogRow>& rows,
               const std::vector<std::string>& ids, std::map<std::string, CallLogRow>& extracted) {
    int replaced = 0;
    bool stored = true;
    for (const std::string& id : ids) {
        CallLogRow& row = rows[id];
        const bool isStorable = row.isSafeInStatement();
        std::map<std::string, CallLogRow> others;
        const bool isSplit = guarded(id, [&] {
            requireReadableTimes(row);
            row.extractCallRecordsThatDoNotMatch(isStorable ? extracted : others);
        });
        if (isSplit && isStorable) {
            stored = row.writeTo(service) && stored;
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
    // A call leaves its row only together with its arrival in the other one.
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
    (void)query(service, doubledCalls, rows);
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
            rows.clear();  // nothing is stored of what could not be joined, nothing is removed
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
        execute(service, "DELETE FROM CALL_LOG WHERE UniqueId = " + DASUtils::escapeAndQuote(id));
        showProgress();
    }
    DAS_LOG(5, "\nDELETED %d duplicate rows from CALL_LOG\n", static_cast<int>(ids.size()));
}

void DASMigrator::printDuplicateRowData(DuplicateRows&) {}

void DASMigrator::dropConversationsTable(DataAccessServiceIfc* service) {
    execute(service, "DROP TABLE CONVERSATIONS;");
}

void DASMigrator::conversationsTableCleanup(DataAccessServiceIfc* service) {
    DAS_LOG(6, "conversationsTableCleanup() removing old records from conversation table");
    execute(service, conversationsWithoutContact);
    execute(service, conversationsWithoutCall);
    DAS_LOG(6, "conversationsTableCleanup() cleanup of UC call log records");
    execute(service, conversationsOfOtherLogs);
}

// The phone book ---------------------------------------------------------------------------------

int DASMigrator::readPhoneBookDuplicateRows(DataAccessServiceIfc* service) {
    Rows rows;
    (void)query(service, doubledContacts, rows);
    return static_cast<int>(rows.size());
}

void DASMigrator::deleteDuplicateItemsFromPhoneBook(DataAccessServiceIfc* service) {
    execute(service, deleteDoubledContacts);
}

namespace {

std::string withoutDigits(const std::string& column) {
    std::string condition;
    for (char digit = '0'; digit <= '9'; ++digit) {
        condition += condition.empty() ? "" : " AND ";
        condition += column + " NOT LIKE '%" + digit + "%'";
    }
    return condition;
}

bool holdsBare(DataAccessServiceIfc* service, const std::string& column,
               const std::string& character) {
    std::string count;
    service->getAdapter()->getRowCount("SELECT COUNT(*) FROM PHONE_BOOK WHERE " +
                                           withoutDigits(column) + " AND " + column + " LIKE '%" +
                                           character + "%';",
                                       count);
    return count != "0";
}

}  // namespace

std::string DASMigrator::buildPhonebookTableCleanupQuery(const std::string& column,
                                                         const std::string& character) {
    return "UPDATE PHONE_BOOK SET " + column + " = REPLACE(" + column + ", '" + character +
           "', '') WHERE " + withoutDigits(column) + ";";
}

void DASMigrator::phonebookTableCleanup(DataAccessServiceIfc* service) {
    DAS_LOG(6,
            "phonebookTableCleanup() removing all + characters from Office, Office2, Mobile, "
            "Private column");
    for (const char* column : NumberColumns) {
        if (holdsBare(service, column, "+")) {
            execute(service, buildPhonebookTableCleanupQuery(column, "+"));
        }
    }
}

void DASMigrator::distinctiveRingerTableCleanup(DataAccessServiceIfc* service) {
    if (StepHelpers::olderProtocolRan()) {
        DAS_LOG(6, "distinctiveRingerTableCleanup() removing old records");
        execute(service, "DELETE FROM DISTINCTIVE_RINGING");
    }
}

namespace {

/// The number that the next contact would follow, as text; empty when none was ever given.
std::string numberingOf(DatabaseAdapter& adapter) {
    Rows rows;
    (void)adapter.executeSQLQuery("SELECT seq FROM sqlite_sequence WHERE name = 'PHONE_BOOK'",
                                  rows);
    return rows.empty() ? std::string() : rows.front().at(0);
}

void carryNumbering(DatabaseAdapter& adapter, const std::string& numbering) {
    if (!DASUtils::isNumber(numbering)) {
        return;
    }
    (void)adapter.executeNonQuery("DELETE FROM sqlite_sequence WHERE name = 'PHONE_BOOK';");
    (void)adapter.executeNonQuery("INSERT INTO sqlite_sequence (name, seq) VALUES ('PHONE_BOOK', " +
                                  numbering + ");");
}

bool hasIndices(DatabaseAdapter& adapter) {
    Rows rows;
    (void)adapter.executeSQLQuery(
        "SELECT name FROM sqlite_master WHERE type = 'index' AND tbl_name = 'PHONE_BOOK'", rows);
    return !rows.empty();
}

bool haveEqualCounts(DatabaseAdapter& adapter) {
    PairList all;
    std::string before;
    std::string after;
    return adapter.countRows(oldPhoneBook, all, before) == 0 &&
           adapter.countRows(PhoneBookTableName, all, after) == 0 && before == after;
}

/// Makes the book anew, for the caller's transaction; its rows stay in the old one on a failure.
bool renewBook(DatabaseAdapter& adapter, const std::vector<std::string>& leftOut) {
    if (adapter.isKnownToBeEmpty(PhoneBookTableName)) {
        if (adapter.executeNonQuery("DROP TABLE PHONE_BOOK;") != 0) {
            return false;
        }
        PhonebookDAO dao(&adapter, leftOut);
        return true;
    }
    if (adapter.alterTableName(PhoneBookTableName, oldPhoneBook) != 0) {
        return false;
    }
    PhonebookDAO dao(&adapter, leftOut);
    if (adapter.copyDataOfTableToAnother(oldPhoneBook, PhoneBookTableName, leftOut) != 0 ||
        !haveEqualCounts(adapter)) {
        DAS_LOG(2, "The contacts can't be copied, they stay in %s", oldPhoneBook);
        return false;
    }
    return adapter.executeNonQuery(std::string("DROP TABLE ") + oldPhoneBook + ";") == 0;
}

}  // namespace

bool DASMigrator::rebuildPhoneBook(DataAccessServiceIfc* service,
                                   const std::vector<std::string>& leftOut) {
    DatabaseAdapter& adapter = *service->getAdapter();
    // One transaction, so that a power cut leaves the book as it was or as it will be.
    bool renewed = false;
    const bool stored = runWholeOrNot(adapter, [&] {
        const std::string numbering = numberingOf(adapter);
        const bool indexed = hasIndices(adapter);
        renewed = renewBook(adapter, leftOut);
        if (renewed) {
            carryNumbering(adapter, numbering);
            if (indexed) {
                PhonebookDAO(&adapter).createPhonenumberIndices();
            }
        }
        return true;  // a book that could not be copied stays under its older name
    });
    return stored && renewed;
}

void DASMigrator::checkValidityOfPhoneBookTable(DataAccessServiceIfc* service) {
    constexpr int expected = static_cast<int>(std::size(PhoneBookColumns));
    const int count = service->getAdapter()->getColumnCount("SELECT * FROM PHONE_BOOK;");
    if (count == expected) {
        DAS_LOG(6, "PHONE_BOOK table has expected number of elements");
        return;
    }
    if (count < expected) {
        DAS_LOG(2,
                "PHONE_BOOK table migration has failed - there is less than expected amount of "
                "data");
        return;
    }
    std::vector<std::string> names;
    if (service->getAdapter()->getColumnNames(PhoneBookTableName, names) != 1) {
        DAS_LOG(2, "PHONE_BOOK table cannot be read");
        return;
    }
    std::vector<std::string> unexpected;
    for (const std::string& name : names) {
        const bool isKnown = std::any_of(std::begin(PhoneBookColumns), std::end(PhoneBookColumns),
                                         [&](const std::string* known) { return *known == name; });
        if (!isKnown) {
            DAS_LOG(2, "PHONE_BOOK table has unexpected column[%s]", name.c_str());
            unexpected.push_back(name);
        }
    }
    (void)rebuildPhoneBook(service, unexpected);
}
