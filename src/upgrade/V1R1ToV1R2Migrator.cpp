// Fixed keys that an earlier release stored among the programmable ones. Only keys with a function
// move: a blank one would replace a default.

#include "upgrade/V1R1ToV1R2Migrator.h"

#include "DASUtilsStrings.h"
#include "Log.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/KeyRowMove.h"

namespace {

using namespace DASUtilsStrings;

const std::vector<std::string> FixedIds = {"30", "31", "38", "39"};

bool hasKeysToMove(DatabaseAdapter& adapter) {
    std::string count = "0";
    (void)adapter.getRowCount("SELECT COUNT(*) FROM FEATURE_KEYS WHERE Id" +
                                  KeyRowMove::oneOf(FixedIds) + " AND Function NOT IN ('', '0');",
                              count);
    return count != "0";
}

}  // namespace

V1R1ToV1R2Migrator::V1R1ToV1R2Migrator(DatabaseAdapter* adapter) : m_adapter(adapter) {}

void V1R1ToV1R2Migrator::execute() {
    if (m_adapter == nullptr || !hasKeysToMove(*m_adapter)) {
        return;
    }
    DAS_LOG(5, "Moving fixed keys out of %s", FeatureKeysTableName.c_str());
    const KeyRowMove keys(*m_adapter, FeatureKeysTableName, FixedKeysTableName,
                          {FunctionTagName, LockedTagName, LabelTagName, LocalTagName});
    const bool moved =
        runWholeOrNot(*m_adapter, [&] { return keys.move(FixedIds, KeyRowMove::Rows::WithValue); });
    if (!moved) {
        DAS_LOG(2, "The fixed keys stay in %s", FeatureKeysTableName.c_str());
    }
}
