#include "contacts/ConversationsTable.h"

#include "DASUtilsStrings.h"
#include "database/Logging.h"

const std::string ConversationsColumns::numberColumn = "UniqueId";
const std::string ConversationsColumns::contactColumn = "PhonebookId";
const std::string ConversationsColumns::callColumn = "CallLogId";

namespace {

using namespace DASUtilsStrings;

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/ConversationsDAO";

const std::string numberType = "INTEGER PRIMARY KEY AUTOINCREMENT";
// "empty" is the default text of an id that is not given: kept on purpose, older tables have it.
const std::string idType = "TEXT DEFAULT empty";

const std::shared_ptr<const TableLayout>& layout() {
    static const auto shared = std::make_shared<const TableLayout>(
        TableLayout{ConversationsSchema,
                    ConversationsTableName,
                    false,
                    false,
                    {{ConversationsColumns::numberColumn, numberType, ""},
                     {UserContextTagName, columnTypeText, ""},
                     {ConversationsColumns::contactColumn, idType, ""},
                     {ConversationsColumns::callColumn, idType, ""}},
                    {}});
    return shared;
}

}  // namespace

ConversationsTable::ConversationsTable(DatabaseAdapter* adapter)
    : DataAccessObject(adapter, layout()) {}

std::string ConversationsTable::allNamedIn(const std::string& column) {
    const std::string name = ConversationsTableName + "." + column;
    return "(SELECT " + name + " FROM " + ConversationsTableName + " WHERE " + name +
           " IS NOT NULL)";
}

int ConversationsTable::createTable() {
    DAS_LOG(6, "createTable");
    PairList newColumns;
    for (const auto& column : columns()) {
        newColumns.emplace_back(column.name, column.type);
    }
    return createTableUnlessThere(newColumns);
}
