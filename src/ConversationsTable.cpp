#include "ConversationsTable.h"

#include "DASUtilsStrings.h"
#include "DataAccessObject.h"

const std::shared_ptr<const TableLayout>& ConversationsTable::layout() {
    // "empty" is the default text of an id that is not given: kept on purpose, older tables have
    // it.
    static const std::string idType = "TEXT DEFAULT empty";
    static const auto shared = std::make_shared<const TableLayout>(
        TableLayout{DASUtilsStrings::ConversationsSchema,
                    DASUtilsStrings::ConversationsTableName,
                    false,
                    false,
                    {{"UniqueId", "INTEGER PRIMARY KEY AUTOINCREMENT", ""},
                     {DASUtilsStrings::UserContextTagName, DASUtilsStrings::columnTypeText, ""},
                     {"PhonebookId", idType, ""},
                     {"CallLogId", idType, ""}},
                    {}});
    return shared;
}
