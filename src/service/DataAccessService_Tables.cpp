// Export and import of tables: as data files, and as strings for callers whose files the service
// can't open.

#include <algorithm>

#include "AnswerLimit.h"
#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "Log.h"
#include "Progress.h"
#include "Work.h"
#include "dao/CsvFile.h"
#include "dao/DASUtils.h"
#include "dao/DataAccessObject.h"
#include "dao/NamedRows.h"
#include "dao/SecretCells.h"
#include "database/AdapterGuards.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"
#include "schemas/DAOFactory.h"
#include "service/DataAccessService.h"

namespace {

using namespace DASUtilsStrings;

/// Used as the name of the file if there is no file.
const std::string TextName = "text of a client";

bool hasUsers(const DataAccessObject& dao) {
    const auto& columns = dao.columns();
    return std::any_of(columns.begin(), columns.end(),
                       [](const auto& column) { return column.name == UserContextTagName; });
}

PairList rowsOf(const DataAccessObject& dao, const std::string& user) {
    PairList conditions;
    if (!user.empty() && hasUsers(dao)) {
        conditions.emplace_back(UserContextTagName, DASUtils::escapeAndQuote(user));
    }
    return conditions;
}

/// The rows of @p user (all rows if it is blank); 0 also if there is no such table.
std::size_t countRows(DatabaseAdapter& adapter, const DataAccessObject& dao,
                      const std::string& user) {
    const std::string count = adapter.isTableThere(dao.tableName())
                                  ? DASUtils::countOf(adapter, dao.tableName(), rowsOf(dao, user))
                                  : std::string();
    return static_cast<std::size_t>(ClientUtils::stoi(count));
}

/// The schema whose rows an import of @p schema changes: blank for several, as the file of the
/// settings holds those of all schemas, and where only a part of the name led to the table.
std::string schemaOfImport(const std::string& schema) {
    const auto all = DAOFactory::schemas();
    const bool isOne = !DAOFactory::holdsSettings(schema) &&
                       std::find(all.begin(), all.end(), schema) != all.end();
    return isOne ? schema : std::string();
}

/// The imports of these tables undo XML escapes.
bool undoesEscapes(const std::string& table) {
    return table == PhoneBookTableName || table == CallGroupTableName ||
           table == CallLogTableName || table == ConversationsTableName;
}

/// Whether an import of the line @p line would store exactly @p row.
bool isCarried(const std::vector<std::string>& row, const std::string& line,
               bool escapesAreUndone) {
    constexpr std::string_view endsOfLines("\n\0", 2);
    std::vector<std::string> fields;
    ClientUtils::splitString(line, fields);
    return line.size() <= ClientUtils::LongestLine &&
           line.find_first_of(endsOfLines) == line.npos && fields == row &&
           (!escapesAreUndone || std::all_of(row.begin(), row.end(), [](const std::string& cell) {
               return ClientUtils::unescapeXMLString(cell) == cell;
           }));
}

/// Creates the table of @p dao if it is missing, with its default rows if it has some.
bool makeTable(DataAccessObject& dao, DatabaseAdapter& adapter) {
    if (dao.defaultRowIds().empty()) {
        (void)dao.createMissingTable();
        return adapter.isTableThere(dao.tableName());
    }
    return DASUtils::makeTableWithoutRows(dao, adapter, dao.tableName()) ==
           DASUtils::TableState::Ready;
}

/// Makes the default rows that an import adds besides the rows of its text, so that they do not
/// count as rows of the text.
void makeDefaultRows(DataAccessObject& dao, DatabaseAdapter& adapter) {
    if (makeTable(dao, adapter) && hasUsers(dao) && !dao.defaultRowIds().empty()) {
        (void)dao.insertDefaultRows(true);
    }
}

/// Stores either the rows that have a key or the others. False if a row was refused, which
/// @p result then describes.
bool storeThose(bool withKey, NamedRows& table, const Rows& rows, DASImported& result) {
    for (std::size_t row = 0; row < rows.size() && !Work::isInterrupted(); ++row) {
        if (table.hasKey(rows[row]) != withKey) {
            continue;
        }
        const NamedRows::Outcome outcome = table.store(rows[row]);
        if (outcome == NamedRows::Outcome::OfOtherUser || outcome == NamedRows::Outcome::Failed) {
            result.refusedRow = row;
            result.refusal = outcome == NamedRows::Outcome::OfOtherUser
                                 ? "its number is that of another user's row"
                                 : "the table does not take it";
            return false;
        }
        result.added += outcome == NamedRows::Outcome::Added ? 1 : 0;
        ++result.stored;
        Progress::beat();
    }
    return true;
}

bool storeAll(NamedRows& table, const Rows& rows, DASImported& result) {
    // Rows with a key come first: otherwise a new row could get a number that a later row names.
    return storeThose(true, table, rows, result) && storeThose(false, table, rows, result) &&
           result.stored == rows.size();
}

}  // namespace

bool DataAccessService::createPhonenumberIndices() {
    DAS_LOG(5, "DataAccessService::createPhonenumberIndices");
    const OneWait wait;
    const auto dao = createDao(DASUtilsStrings::PhoneBookSchema);
    if (dao == nullptr) {
        return false;
    }
    (void)dao->createPhonenumberIndices();  // failures are logged, and the answer is always true
    return true;
}

bool DataAccessService::exportData(std::string schema, eUserCategory category,
                                   std::string location) {
    DAS_LOG(5, "export data, schema = %s, for users = %d, location to export to = %s",
            schema.c_str(), static_cast<int>(category), location.c_str());
    PairList conditions;
    if (category == base || category == visitor) {
        conditions.emplace_back(
            DASUtilsStrings::UserContextTagName,
            DASUtils::convertToDBFormat(category == base ? DASUtilsStrings::UserContextBase
                                                         : DASUtilsStrings::UserContextVisitor));
    }
    return onTable("exportData", schema, [&](DataAccessObject& dao) {  //
        return dao.exportData(conditions, location);
    });
}

bool DataAccessService::importData(std::string schema, std::string location) {
    if (m_initialised) {
        DAS_LOG(5, "import data, schema = %s, location to import from = %s", schema.c_str(),
                location.c_str());
    }
    return importTable("importData", schema, {},
                       [&](DataAccessObject& dao) { return dao.importData(location); });
}

bool DataAccessService::importData(std::string schema, eUserCategory category,
                                   std::string location) {
    if (m_initialised && (category == base || category == visitor)) {
        DAS_LOG(5, "import new %s data, schema = %s, location to import from = %s",
                category == base ? "base" : "visitor", schema.c_str(), location.c_str());
    }
    const std::string& context = category == visitor ? DASUtilsStrings::UserContextVisitor
                                                     : DASUtilsStrings::UserContextBase;
    return importTable("importDataForUser", schema, context, [&](DataAccessObject& dao) {
        return dao.importDataForUser(location, category);
    });
}

bool DataAccessService::importTable(const char* method, const std::string& schema,
                                    const std::string& context,
                                    const std::function<int(DataAccessObject&)>& work) {
    DASChange described;
    const ChangeScope scope(m_changes, [&](DASChange& change) {
        const bool isOtherUser = !context.empty() && !change.context.empty();
        change = {described.schema, isOtherUser ? change.context : context, method, {}};
    });
    return onTable(method, schema, [&](DataAccessObject& dao) {
        described.schema = schemaOfImport(schema);
        return work(dao);
    });
}

bool DataAccessService::onTable(const char* operation, const std::string& schema,
                                const std::function<int(DataAccessObject&)>& work) {
    const auto dao = m_initialised ? createDao(schema) : nullptr;
    if (dao == nullptr) {
        return false;
    }
    const OneWait wait;
    (void)lookForOthers();
    const int result = work(*dao);
    if (result != 0) {
        // The result is true nevertheless: kept on purpose, clients look at the data itself.
        DAS_LOG(2, "%s failed with %d, schema = %s", operation, result, schema.c_str());
    }
    return true;
}

DASImported DataAccessService::importAsOne(
    const DASImport& what,
    const std::function<bool(DatabaseAdapter&, DataAccessObject&, DASImported&)>& work) {
    DASImported result;
    result.user = what.user;
    DatabaseAdapter* const adapter = m_dbAdapter;
    const auto dao = m_initialised && adapter != nullptr ? createDao(what.schema) : nullptr;
    if (dao == nullptr) {
        result.refusal = "the service is not ready";
        return result;
    }
    if (adapter->isReadOnly()) {  // no row of the text is to blame
        result.refusal = "the database is read-only; see to the rights of its file and folder";
        return result;
    }
    const ChangeScope scope(m_changes, [&](DASChange& change) {
        change = {schemaOfImport(what.schema), result.user, "ImportText", {}};
    });
    const OneWait wait;
    (void)lookForOthers();
    bool isStored = false;
    const int code = runWholeWithInner(*adapter, [&] {
        isStored = work(*adapter, *dao, result);
        return isStored && !what.isTrial ? 0 : 1;
    });
    result.isDone = isStored && (what.isTrial || code == 0);
    if (!result.isDone) {
        DAS_LOG(2, "The import of a text into schema %s is rolled back%s%s", what.schema.c_str(),
                result.refusal.empty() ? "" : ": ", result.refusal.c_str());
    }
    return result;
}

DASImported DataAccessService::importText(const DASImport& what, const std::string& text) {
    return importAsOne(
        what, [&](DatabaseAdapter& adapter, DataAccessObject& dao, DASImported& result) {
            result.before = countRows(adapter, dao, what.user);
            makeDefaultRows(dao, adapter);
            const std::size_t all = countRows(adapter, dao, "");
            TextImport import{text};
            std::string location = TextName;
            dao.readImportsFrom(&import);
            const int code = what.user.empty()
                                 ? dao.importData(location)
                                 : dao.importDataForUser(location, what.user == UserContextVisitor
                                                                       ? eUserCategory::visitor
                                                                       : eUserCategory::base);
            const std::size_t after = countRows(adapter, dao, "");
            result.stored = import.rows - import.refused;
            result.added = after > all ? after - all : 0;
            if (import.refused > 0) {
                result.refusal = std::to_string(import.refused) + " of its rows are refused";
            }
            return code == 0 && import.refused == 0 && !Work::isInterrupted();
        });
}

DASImported DataAccessService::importRows(const DASImport& what,
                                          const std::vector<std::string>& names, const Rows& rows) {
    return importAsOne(what,
                       [&](DatabaseAdapter& adapter, DataAccessObject& dao, DASImported& result) {
                           if (!hasUsers(dao)) {
                               result.user.clear();
                           } else if (what.user.empty()) {
                               result.user = currentUser();
                           }
                           if (!makeTable(dao, adapter)) {
                               return false;
                           }
                           result.before = countRows(adapter, dao, result.user);
                           NamedRows table(adapter, dao, result.user, names);
                           return storeAll(table, rows, result);
                       });
}

DASExported DataAccessService::exportText(const std::string& schema, const std::string& user) {
    DASExported result;
    DatabaseAdapter* const adapter = m_dbAdapter;
    const auto dao = m_initialised && adapter != nullptr ? createDao(schema) : nullptr;
    if (dao == nullptr) {
        return result;
    }
    const OneWait wait;
    (void)lookForOthers();
    const bool escapesAreUndone = undoesEscapes(dao->tableName());
    const SecretCells secrets(*adapter, dao->tableName());
    const RowDrain::Take append = [&](Rows& rows) {
        for (auto& row : rows) {
            secrets.hide(row);
            std::string line;
            CsvWriter::appendRow(line, row);
            const bool isKept = isCarried(row, line, escapesAreUndone);
            result.text += isKept ? line + "\n" : "";
            ++(isKept ? result.rows : result.lost);
        }
        rows.clear();
        return AnswerLimit::allows(result.text.size());
    };
    Rows rows;
    bool isRead = false;
    if (secrets.areKnown()) {
        const RowDrain drain(*adapter, append);
        isRead = DASUtils::readRows(*adapter, dao->tableName(), {}, rowsOf(*dao, user), rows) == 0;
    }
    result.isDone = isRead && append(rows);
    if (!result.isDone) {
        DAS_LOG(2, "The rows of schema %s are not exported: they can't be read, or are too many",
                schema.c_str());
        result.text = std::string();
    }
    return result;
}
