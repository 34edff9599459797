// The settings that tell whose data the telephone serves.

#include "DASUtilsStrings.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"
#include "database/Logging.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASUtils";

const char* const mobilitySchema = "'MobilitySettings'";
const char* const currentUserItem = "'MobilityCurrentUser'";
const char* const basicModeItem = "'ActiveMobilityModeIsBasic'";
const char* const visitorDataItem = "'VisitorUserDataValid'";
const char* const valueColumn = "Value";
const char* const trueText = "true";

/// The conditions of a device's setting in the mobility schema; @p item in database form.
PairList mobilityItem(const char* item) {
    return {{"Schema", mobilitySchema},
            {DASUtilsStrings::UserContextTagName, DASUtilsStrings::EmptyDBString},
            {"Name", item}};
}

/// How a reading of a setting ended.
enum class Reading { Failed, NoRow, Done };

Reading readItem(DatabaseAdapter* adapter, const char* item, std::string& value) {
    Rows rows;
    PairList orderBy;
    if (adapter == nullptr ||
        adapter->executeQuery(DASUtilsStrings::GeneralConfigTableName, {valueColumn},
                              mobilityItem(item), orderBy, rows, "", "") != 0) {
        return Reading::Failed;
    }
    if (rows.empty()) {
        return Reading::NoRow;
    }
    value = rows.front().at(0);
    return Reading::Done;
}

/// A setting that is on or off, with what holds when it can't be read and when there is none.
bool readSwitch(DatabaseAdapter* adapter, const char* item, const char* logName, bool whenFailed,
                bool whenMissing) {
    std::string value;
    switch (readItem(adapter, item, value)) {
        case Reading::Failed:
            DAS_LOG(2, "%s - executeQuery error", logName);
            return whenFailed;
        case Reading::NoRow:
            DAS_LOG(2, "%s - results empty", logName);
            return whenMissing;
        case Reading::Done:
            break;
    }
    return value == trueText;
}

}  // namespace

bool DASUtils::isActiveMobilityModeIsBasic(DatabaseAdapter* adapter) {
    // A table that can't be read counts as basic mode and a missing row does not: kept on purpose,
    // a damaged telephone serves its owner.
    return readSwitch(adapter, basicModeItem, "isActiveMobilityModeIsBasic", true, false);
}

bool DASUtils::isMobilityVisitorUserDataValid(DatabaseAdapter* adapter) {
    return readSwitch(adapter, visitorDataItem, "readMobilityvisitorUserDataValid", true, true);
}

std::string DASUtils::readMobilityCurrentUserValue(DatabaseAdapter* adapter) {
    std::string value;
    switch (readItem(adapter, currentUserItem, value)) {
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
    std::vector<std::string> row = {mobilitySchema, DASUtilsStrings::EmptyDBString, currentUserItem,
                                    escapeAndQuote(value)};
    if (adapter != nullptr &&
        adapter->insert(DASUtilsStrings::GeneralConfigTableName, row, nullptr) == 0) {
        return true;
    }
    DAS_LOG(2, "insertMobilityCurrentUserValue failed");
    return false;
}

bool DASUtils::updateMobilityCurrentUserValue(DatabaseAdapter* adapter, const std::string& value) {
    PairList conditions = mobilityItem(currentUserItem);
    PairList newValues = {{valueColumn, escapeAndQuote(value)}};
    if (adapter != nullptr && adapter->update(DASUtilsStrings::GeneralConfigTableName, conditions,
                                              newValues, false) == 0) {
        return true;
    }
    DAS_LOG(2, "updateMobilityCurrentUserValue failed");
    return false;
}
