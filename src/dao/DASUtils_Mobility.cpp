// The settings that decide whose data the telephone serves.

#include "DASUtilsStrings.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"

namespace {

const char* const MobilitySchema = "'MobilitySettings'";
const char* const CurrentUserItem = "'MobilityCurrentUser'";
const char* const BasicModeItem = "'ActiveMobilityModeIsBasic'";
const char* const VisitorDataItem = "'VisitorUserDataValid'";
const char* const ValueColumn = "Value";
const char* const TrueText = "true";

/// The conditions of a device's setting in the mobility schema; @p item in database form.
PairList mobilityItem(const char* item) {
    return {{"Schema", MobilitySchema},
            {DASUtilsStrings::UserContextTagName, DASUtilsStrings::EmptyDBString},
            {"Name", item}};
}

/// How a reading of a setting ended.
enum class Reading { Failed, NoRow, Done };

/// @param isRead false when the reading failed; may be null
Reading readItem(DatabaseAdapter* adapter, const char* item, std::string& value,
                 bool* isRead = nullptr) {
    Rows rows;
    PairList orderBy;
    const bool done =
        adapter != nullptr &&
        adapter->executeQuery(DASUtilsStrings::GeneralConfigTableName, {ValueColumn},
                              mobilityItem(item), orderBy, rows, "", "") == 0;
    if (isRead != nullptr) {
        *isRead = done;
    }
    if (!done) {
        return Reading::Failed;
    }
    if (rows.empty()) {
        return Reading::NoRow;
    }
    value = rows.front().at(0);
    return Reading::Done;
}

/// Reads a setting that is on or off. If it can't be read it counts as on; if it has no row, as
/// @p whenMissing.
bool readSwitch(DatabaseAdapter* adapter, const char* item, const char* logName, bool whenMissing,
                bool* isRead = nullptr) {
    std::string value;
    switch (readItem(adapter, item, value, isRead)) {
        case Reading::Failed:
            DAS_LOG(2, "%s - executeQuery error", logName);
            return true;
        case Reading::NoRow:
            DAS_LOG(2, "%s - results empty", logName);
            return whenMissing;
        case Reading::Done:
            break;
    }
    return value == TrueText;
}

}  // namespace

bool DASUtils::isActiveMobilityModeIsBasic(DatabaseAdapter* adapter, bool* isRead) {
    // A table that can't be read counts as basic mode, a missing row does not: kept on purpose, so
    // that a damaged telephone serves its owner.
    return readSwitch(adapter, BasicModeItem, "isActiveMobilityModeIsBasic", false, isRead);
}

bool DASUtils::isMobilityVisitorUserDataValid(DatabaseAdapter* adapter) {
    return readSwitch(adapter, VisitorDataItem, "readMobilityvisitorUserDataValid", true);
}

std::string DASUtils::readMobilityCurrentUserValue(DatabaseAdapter* adapter, bool* isRead) {
    std::string value;
    switch (readItem(adapter, CurrentUserItem, value, isRead)) {
        case Reading::Failed:
            DAS_LOG(2, "readMobilityCurrentUserValue - executeQuery error");
            return {};
        case Reading::NoRow:
            DAS_LOG(2, "readMobilityCurrentUserValue - results empty");
            return {};
        case Reading::Done:
            break;
    }
    if (value == DASUtilsStrings::UserContextVisitor && !isMobilityVisitorUserDataValid(adapter)) {
        DAS_LOG(2,
                "readMobilityCurrentUserValue - force to base as user data download not complete");
        (void)updateMobilityCurrentUserValue(adapter, DASUtilsStrings::UserContextBase);
        return DASUtilsStrings::UserContextBase;
    }
    return value;
}

bool DASUtils::insertMobilityCurrentUserValue(DatabaseAdapter* adapter, const std::string& value) {
    std::vector<std::string> row = {MobilitySchema, DASUtilsStrings::EmptyDBString, CurrentUserItem,
                                    escapeAndQuote(value)};
    if (adapter != nullptr &&
        adapter->insert(DASUtilsStrings::GeneralConfigTableName, row, nullptr) == 0) {
        return true;
    }
    DAS_LOG(2, "insertMobilityCurrentUserValue failed");
    return false;
}

bool DASUtils::updateMobilityCurrentUserValue(DatabaseAdapter* adapter, const std::string& value) {
    PairList conditions = mobilityItem(CurrentUserItem);
    PairList newValues = {{ValueColumn, escapeAndQuote(value)}};
    if (adapter != nullptr && adapter->update(DASUtilsStrings::GeneralConfigTableName, conditions,
                                              newValues, false) == 0) {
        return true;
    }
    DAS_LOG(2, "updateMobilityCurrentUserValue failed");
    return false;
}
