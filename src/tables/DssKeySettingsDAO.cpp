#include "tables/DssKeySettingsDAO.h"

#include "dao/KeyIds.h"

using namespace DASUtilsStrings;

DssKeySettingsDAO::DssKeySettingsDAO(DatabaseAdapter* adapter)
    : UserTableDAO(adapter, layoutOfTable()) {}

DssKeySettingsDAO::~DssKeySettingsDAO() = default;

const std::shared_ptr<const TableLayout>& DssKeySettingsDAO::layoutOfTable() {
    static const auto layout =
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
