// Only the table, without its requests: the phone book needs it to know which contacts to hide, and
// must not depend on the calls.

#define DAS_LOG_SOURCE "./src/ConversationsDAO"

#include "contacts/ConversationsTable.h"

#include "DASUtilsStrings.h"
#include "Log.h"

const std::string ConversationsColumns::NumberColumn = "UniqueId";
const std::string ConversationsColumns::ContactColumn = "PhonebookId";
const std::string ConversationsColumns::CallColumn = "CallLogId";

namespace {

using namespace DASUtilsStrings;

const std::string NumberType = "INTEGER PRIMARY KEY AUTOINCREMENT";
// "empty" is the default value of a missing id: kept on purpose, older tables have it.
const std::string IdType = "TEXT DEFAULT empty";

const std::shared_ptr<const TableLayout>& layout() {
    static const auto shared = std::make_shared<const TableLayout>(
        TableLayout::of(ConversationsSchema, ConversationsTableName,
                        {{ConversationsColumns::NumberColumn, NumberType},
                         {UserContextTagName, columnTypeText},
                         {ConversationsColumns::ContactColumn, IdType},
                         {ConversationsColumns::CallColumn, IdType}}));
    return shared;
}

}  // namespace

ConversationsTable::ConversationsTable(DatabaseAdapter* adapter)
    : ListDAO(adapter, layout(), fields()) {}

const std::vector<std::string>& ConversationsTable::fields() {
    static const std::vector<std::string> names = {ConversationsColumns::NumberColumn,
                                                   ConversationsColumns::ContactColumn,
                                                   ConversationsColumns::CallColumn};
    return names;
}

std::string ConversationsTable::allNamedIn(const std::string& column) {
    const std::string name = ConversationsTableName + "." + column;
    return "(SELECT " + name + " FROM " + ConversationsTableName + " WHERE " + name +
           " IS NOT NULL)";
}

int ConversationsTable::createTable() {
    DAS_LOG(6, "createTable");
    PairList newColumns = namesAndTypes();
    return createTableUnlessThere(newColumns);
}
