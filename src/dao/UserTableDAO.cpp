#include "dao/UserTableDAO.h"

#include "database/DatabaseAdapter.h"

using namespace DASUtilsStrings;

UserTableDAO::UserTableDAO(DatabaseAdapter* adapter, std::shared_ptr<const TableLayout> layout)
    : DataAccessObject(adapter, std::move(layout)) {}

UserTableDAO::~UserTableDAO() = default;

std::shared_ptr<const TableLayout> UserTableDAO::makeLayout(const std::string& schema,
                                                            const std::string& table,
                                                            const std::vector<std::string>& rowIds,
                                                            const std::vector<Column>& columns) {
    auto layout = std::make_shared<TableLayout>();
    layout->schema = schema;
    layout->table = table;
    layout->skipFirstColumn = true;
    layout->columns = {{UserContextTagName, columnTypeText, ""}, {IdTagName, columnTypeText, ""}};
    for (const auto& [name, defaultText] : columns) {
        layout->columns.emplace_back(name, columnTypeText, defaultText);
    }
    layout->defaultRowIds = rowIds;
    layout->hasDataFiles = true;
    return layout;
}

int UserTableDAO::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                    std::vector<std::string>& values) {
    if (m_dbAdapter == nullptr) {
        return 1;
    }
    PairList newValues;
    for (std::size_t i = 2; i < names.size(); ++i) {
        newValues.emplace_back(names[i], DASUtils::escapeAndQuote(values.at(i)));
    }
    return DASUtils::updateRequestHelper(*m_dbAdapter, values.at(1),
                                         DASUtils::escapeSqlReservedCharacters(values.at(0)), table,
                                         newValues);
}
