#include "tables/AnalyticsDAO.h"

#include "dao/KeyIds.h"

using namespace DASUtilsStrings;

AnalyticsDAO::AnalyticsDAO(DatabaseAdapter* adapter) : UserTableDAO(adapter, layoutOfTable()) {}

AnalyticsDAO::~AnalyticsDAO() = default;

const std::shared_ptr<const TableLayout>& AnalyticsDAO::layoutOfTable() {
    static const auto layout =
        makeLayout(AnalyticsSchema, AnalyticsTableName, KeyIds::texts({{1, 10}}),
                   {{"AnalyticsCounter", "0"}, {"AnalyticsLastUsed", ""}});
    return layout;
}
