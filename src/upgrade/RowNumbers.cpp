// Only rows above the limit get new numbers, which are free ones: a number that other rows refer to
// stays with its row. References in the conversations change in the same transaction.

#include "upgrade/RowNumbers.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "Log.h"
#include "calls/CallLogColumns.h"
#include "contacts/ConversationsTable.h"
#include "dao/AssignedNumbers.h"
#include "dao/DASUtils.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace DASUtilsStrings;

const std::string Highest = ClientUtils::int64tos(AssignedNumbers::Highest);
const std::string SequenceTable = "sqlite_sequence";

/// A table whose rows the database numbers.
struct NumberedTable {
    const std::string& table;
    const std::string& number;
    const std::string* reference;  ///< column of CONVERSATIONS that holds the number; null for none
};

/// Numbers of rows: the old one as the database prints it, and the new one.
using Moves = std::map<std::string, long long>;

/// Renumbers one table, in the transaction of its caller.
class Renumbering {
public:
    Renumbering(DatabaseAdapter& adapter, const NumberedTable& table)
        : m_adapter(adapter), m_table(table) {}

    /// Whether a row, or the number that the database will assign next, is above the limit.
    bool isDue() {
        return hasColumn(m_table.table, m_table.number) && (hasHighRow() || hasHighSequence());
    }
    bool run() {
        Rows high;
        Moves moves;
        return readHighRows(m_table.table, m_table.number, high) &&
               (high.empty() || (chooseFirst(high.size()) && moveRows(high, moves))) &&
               moveReferences(moves) && (!hasHighSequence() || resetSequence());
    }

private:
    bool read(const std::string& sql, Rows& rows) {
        return m_adapter.executeSQLQuery(sql, rows) == 0;
    }
    bool gives(const std::string& sql) {
        Rows rows;
        return read(sql, rows) && !rows.empty();
    }
    /// Reads the number that @p sql returns, 0 for NULL. False if it fails.
    bool readNumber(const std::string& sql, long long& number) {
        Rows rows;
        const bool isRead = read(sql, rows);
        number = isRead ? std::strtoll(rows.at(0).at(0).c_str(), nullptr, 10) : 0;
        return isRead;
    }
    bool execute(const std::string& sql) { return m_adapter.executeNonQuery(sql) == 0; }

    bool hasColumn(const std::string& table, const std::string& column);
    bool hasHighRow();
    bool hasHighSequence();
    bool readHighRows(const std::string& table, const std::string& column, Rows& rows);
    bool chooseFirst(std::size_t count);
    bool takeFree(long long& number);
    bool moveRows(const Rows& high, Moves& moves);
    bool moveReferences(const Moves& moves);
    bool resetSequence();
    std::string ofSequence() const;

    DatabaseAdapter& m_adapter;
    const NumberedTable& m_table;
    long long m_next = 1;  ///< where the search for a free number goes on
};

/// Reads the schema of the database: a statement over a missing table would be logged as a failure.
bool Renumbering::hasColumn(const std::string& table, const std::string& column) {
    return gives("SELECT 1 FROM pragma_table_info(" + DASUtils::convertToDBFormat(table) +
                 ") WHERE name = " + DASUtils::convertToDBFormat(column) + " COLLATE NOCASE;");
}

/// Also true for a number that is stored as text, since text sorts after all numbers. run() then
/// decides.
bool Renumbering::hasHighRow() {
    return gives("SELECT 1 FROM (SELECT MAX(" + m_table.number + ") AS number FROM " +
                 m_table.table + ") WHERE number > " + Highest + ";");
}

std::string Renumbering::ofSequence() const {
    return " WHERE name = " + DASUtils::convertToDBFormat(m_table.table) + " COLLATE NOCASE";
}

bool Renumbering::hasHighSequence() {
    return hasColumn(SequenceTable, "seq") &&
           gives("SELECT 1 FROM " + SequenceTable + ofSequence() + " AND CAST(seq AS INTEGER) > " +
                 Highest + ";");
}

bool Renumbering::readHighRows(const std::string& table, const std::string& column, Rows& rows) {
    const std::string number = "CAST(" + column + " AS NUMERIC)";
    return read("SELECT rowid, " + number + " FROM " + table + " WHERE " + number + " > " +
                    Highest + " ORDER BY 2, 1;",
                rows);
}

/// New numbers follow the highest row and the highest number ever assigned, if these are low
/// enough. Otherwise the free numbers from 1 on are used.
bool Renumbering::chooseFirst(std::size_t count) {
    const std::string low = " <= " + Highest + ";";
    const std::string number = "CAST(" + m_table.number + " AS NUMERIC)";
    long long highestRow = 0;
    long long reached = 0;
    const bool isRead =
        readNumber("SELECT MAX(" + number + ") FROM " + m_table.table + " WHERE " + number + low,
                   highestRow) &&
        (!hasColumn(SequenceTable, "seq") ||
         readNumber("SELECT MAX(seq) FROM " + SequenceTable + ofSequence() + " AND seq" + low,
                    reached));
    const long long last = std::max({highestRow, reached, 0LL});
    m_next = last <= AssignedNumbers::Highest - static_cast<long long>(count) ? last + 1 : 1;
    return isRead;
}

bool Renumbering::takeFree(long long& number) {
    for (long long rows = 1; rows != 0;) {
        number = m_next++;
        if (!readNumber("SELECT COUNT(*) FROM " + m_table.table + " WHERE " + m_table.number +
                            " = " + ClientUtils::int64tos(number) + ";",
                        rows)) {
            return false;
        }
    }
    return true;
}

bool Renumbering::moveRows(const Rows& high, Moves& moves) {
    for (const auto& row : high) {
        long long number = 0;
        if (!takeFree(number) ||
            !execute("UPDATE " + m_table.table + " SET " + m_table.number + " = " +
                     ClientUtils::int64tos(number) + " WHERE rowid = " + row.at(0) + ";")) {
            return false;
        }
        moves.emplace(row.at(1), number);
    }
    DAS_LOG(5, "%zu rows of %s have new numbers, since theirs were above %lld", high.size(),
            m_table.table.c_str(), AssignedNumbers::Highest);
    return true;
}

bool Renumbering::moveReferences(const Moves& moves) {
    if (moves.empty() || m_table.reference == nullptr ||
        !hasColumn(ConversationsTableName, *m_table.reference)) {
        return true;
    }
    Rows rows;
    if (!readHighRows(ConversationsTableName, *m_table.reference, rows)) {
        return false;
    }
    for (const auto& row : rows) {
        const auto moved = moves.find(row.at(1));
        if (moved != moves.end() &&
            !execute("UPDATE " + ConversationsTableName + " SET " + *m_table.reference + " = " +
                     DASUtils::convertToDBFormat(ClientUtils::int64tos(moved->second)) +
                     " WHERE rowid = " + row.at(0) + ";")) {
            return false;
        }
    }
    return true;
}

bool Renumbering::resetSequence() {
    return execute("UPDATE " + SequenceTable + " SET seq = (SELECT COALESCE(MAX(CAST(" +
                   m_table.number + " AS INTEGER)), 0) FROM " + m_table.table + ")" + ofSequence() +
                   ";");
}

}  // namespace

void RowNumbers::limit(DatabaseAdapter& adapter) {
    const NumberedTable tables[] = {
        {PhoneBookTableName, PhonebookUniqueIDTagName, &ConversationsColumns::ContactColumn},
        {CallLogTableName, CallLogColumns::name(CallLogColumns::UniqueId),
         &ConversationsColumns::CallColumn},
        {ConversationsTableName, ConversationsColumns::NumberColumn, nullptr},
        {DialPlanEntriesTableName, IdTagName, nullptr}};
    for (const NumberedTable& table : tables) {
        Renumbering renumbering(adapter, table);
        if (renumbering.isDue() &&
            !runWholeOrNot(
                adapter, [&] { return renumbering.run(); }, TransactionGuard::Locks::AtOnce)) {
            DAS_LOG(2, "The numbers of %s stay above %lld: new rows may be refused",
                    table.table.c_str(), AssignedNumbers::Highest);
        }
    }
}
