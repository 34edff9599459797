// Tables of a user's keys that need more than a plain table: rows of data files, even new ones, can
// be written to them.

#include "tables/UserTables.h"

#include "dao/KeyIds.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace DASUtilsStrings;
using Layout = std::shared_ptr<const TableLayout>;

/// A column after UserContext and "Id", and its default.
using Column = std::pair<std::string, std::string>;

Layout makeLayout(const std::string& schema, const std::string& table,
                  const std::vector<std::string>& rowIds, const std::vector<Column>& columns) {
    auto layout = std::make_shared<TableLayout>(TableLayout::ofKeys(schema, table, rowIds));
    for (const auto& [name, defaultText] : columns) {
        layout->columns.emplace_back(name, columnTypeText, defaultText);
    }
    layout->hasDataFiles = true;
    return layout;
}

const Layout& analytics() {
    static const Layout layout =
        makeLayout(AnalyticsSchema, AnalyticsTableName, KeyIds::texts({{1, 10}}),
                   {{"AnalyticsCounter", "0"}, {"AnalyticsLastUsed", ""}});
    return layout;
}

const Layout& dssKeys() {
    static const Layout layout =
        makeLayout(DssKeySettingsSchema, DssKeySettingsTableName, KeyIds::allKeys(),
                   {{DssSipUriTagName, ""},
                    {DssSipRealmTagName, ""},
                    {DssSipUserIdTagName, ""},
                    {DssSipPasswordTagName, ""},
                    {DssShortDescriptionTagName, ""},
                    {DssRingingTagName, "true"},
                    {DssRingingDelayTagName, "0"},
                    {DssMonitorOnlyTagName, "false"},
                    {DssSipPasswordEncTagName, ""}});
    return layout;
}

const Layout& forwardingKeys() {
    static const Layout layout =
        makeLayout(ForwardingKeyDestinationsSchema, ForwardingKeyDestinationsTableName,
                   KeyIds::allKeys(), {{"ForwardingDialNumber", ""}, {"ForwardingType", "0"}});
    return layout;
}

}  // namespace

UserTableDAO::UserTableDAO(DatabaseAdapter* adapter, std::shared_ptr<const TableLayout> layout)
    : DataAccessObject(adapter, std::move(layout)) {}

int UserTableDAO::updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                    std::vector<std::string>& values) {
    PairList newValues;
    for (std::size_t i = 2; i < names.size(); ++i) {
        newValues.emplace_back(names[i], DASUtils::escapeAndQuote(values.at(i)));
    }
    return DASUtils::updateRequestHelper(*m_dbAdapter, values.at(1),
                                         DASUtils::escapeSqlReservedCharacters(values.at(0)), table,
                                         newValues);
}

AnalyticsDAO::AnalyticsDAO(DatabaseAdapter* adapter) : UserTableDAO(adapter, analytics()) {}

DssKeySettingsDAO::DssKeySettingsDAO(DatabaseAdapter* adapter) : UserTableDAO(adapter, dssKeys()) {}

ForwardingKeyDestinationsDAO::ForwardingKeyDestinationsDAO(DatabaseAdapter* adapter)
    : UserTableDAO(adapter, forwardingKeys()) {}
