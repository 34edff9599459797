// The tables of keys as rows of data, and the default keys of the models, which depend on the
// hardware.

#include "tables/PlainTables.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <tuple>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "HardwareVersion.h"
#include "dao/KeyIds.h"

namespace {

using namespace DASUtilsStrings;
using PlainTables::DefaultKeys;
using PlainTables::KeyFunction;

// Default keys of the models ---------------------------------------------------------------------

const KeyFunction Shift = {18, "Shift"};
const KeyFunction Phonebook = {68, "Phonebook"};
const KeyFunction GroupPickup = {29, "Group pickup"};
const KeyFunction CallForward = {64, "Call forward"};
const KeyFunction DoNotDisturb = {25, "DND"};
const KeyFunction ShowPhone = {33, "Show phone"};
const KeyFunction Redial = {3, "Redial"};
const KeyFunction CallLog = {74, "Call log"};
// The label contains a spelling error that telephones have always shown. Stored rows have it, so it
// stays.
const KeyFunction Directory = {75, "Dirctory"};
const KeyFunction ForwardMenu = {64, "FwdMenu"};
const KeyFunction RedialWithoutLabel = {3, ""};

// Ascending by key, because the code walks through the keys in that order.
const DefaultKeys DefaultKeys3 = {{"100", CallLog}, {"101", Directory}, {"102", ForwardMenu}};
const DefaultKeys DefaultKeysRow3 = {
    {"100", CallForward}, {"101", GroupPickup}, {"102", DoNotDisturb}};
const DefaultKeys DefaultKeys7 = {{"100", Shift},       {"101", Phonebook},    {"102", GroupPickup},
                                  {"103", CallForward}, {"104", DoNotDisturb}, {"105", ShowPhone},
                                  {"200", Shift}};
const DefaultKeys DefaultKeys4 = {
    {"100", CallLog}, {"101", Directory}, {"102", ForwardMenu}, {"103", Redial}};
const DefaultKeys DefaultKeys2 = {{"100", Shift}, {"200", Shift}};
const DefaultKeys DefaultKeys1 = {{"32", RedialWithoutLabel}};
const DefaultKeys noDefaultKeys;

const std::vector<std::string> FixedKeyIds = {"30", "31", "32", "38", "39"};
const std::vector<std::string> FourFixedFunctions = {"22", "10", "66", "50"};
const std::vector<std::string> FiveFixedFunctions = {"22", "64", "66", "50", "10"};
const std::vector<std::string> OrdinaryFixedFunctions = {"65", "64", "66", "67"};
// Two functions, although the table of fixed keys has four: kept on purpose, web management relies
// on it.
const std::vector<std::string> TwoFixedFunctions = {"65", "64"};

/// The first matching rule decides. The fixed functions are those of the key data string, which
/// differ from the table's on purpose.
struct KeyRule {
    bool (*applies)(const KeyHardware&);
    const DefaultKeys* featureKeys;
    const std::vector<std::string>* fixedFunctions;
};

const KeyRule KeyRules[] = {
    {[](const KeyHardware& hw) { return hw.subVariant2; }, &DefaultKeys7, &FourFixedFunctions},
    {[](const KeyHardware& hw) { return (hw.subVariant3 || hw.subPlatform1) && hw.isVX100Any; },
     &DefaultKeys3, &FourFixedFunctions},
    {[](const KeyHardware& hw) { return hw.subPlatform1 && !hw.isVX100Any; }, &DefaultKeys4,
     &FourFixedFunctions},
    {[](const KeyHardware& hw) { return hw.subVariant3 && !hw.isVX100Any; }, &DefaultKeysRow3,
     &FourFixedFunctions},
    {[](const KeyHardware& hw) { return hw.isVX100Any; }, &DefaultKeys3, &FourFixedFunctions},
    {[](const KeyHardware& hw) { return hw.subVariant4; }, &DefaultKeys2, &FiveFixedFunctions},
};

const KeyRule* keyRule(const KeyHardware& hardware) {
    const auto* rule = std::find_if(std::begin(KeyRules), std::end(KeyRules),
                                    [&](const KeyRule& r) { return r.applies(hardware); });
    return rule != std::end(KeyRules) ? rule : nullptr;
}

const std::vector<std::string>& fixedKeyFunctions(const KeyHardware& hardware) {
    if (hardware.subVariant2 || hardware.subVariant3) {
        return FourFixedFunctions;
    }
    return hardware.subVariant4 ? FiveFixedFunctions : OrdinaryFixedFunctions;
}

// The tables -----------------------------------------------------------------------------------

enum class RowIds { Range, AllKeys, FixedKeysOfModel, FixedKeys };

enum class Default { ForAllRows, FunctionOfKey, LabelOfKey, FunctionOfFixedKey };

struct PlainColumn {
    const std::string* name;
    const char* defaultText = "";
    Default kind = Default::ForAllRows;
};

struct PlainTable {
    const std::string* schema;
    const std::string* table;
    RowIds rowIds;
    KeyIds::Range range;               ///< for RowIds::Range
    std::vector<PlainColumn> columns;  ///< columns after UserContext and Id
    bool hasDefaultRowsPerUser = false;
};

const KeyIds::Range NoRange = {0, -1};

const PlainTable Tables[] = {
    {&AbbreviatedDiallingSchema,
     &AbbreviatedDiallingTableName,
     RowIds::Range,
     {0, 49},
     {{&DialUriTagName}, {&DialDescriptionTagName}}},
    {&BCASettingsSchema,
     &BCASettingsTableName,
     RowIds::Range,
     {1, 80},
     {{&BcaLabelTagName},
      {&BcaPrimaryTagName, "false"},
      {&BcaSipUriTagName},
      {&BcaSipRealmTagName},
      {&BcaSipUserIdTagName},
      {&BcaSipPasswordTagName},
      {&BcaNoOfAppearancesTagName, "0"},
      {&BcaRingingTagName, "true"},
      {&BcaRingingDelayTagName, "0"},
      {&BcaSubscriptionTargetTagName}}},
    {&CanonicalLookUpSchema,
     &CanonicalLookUpTableName,
     RowIds::Range,
     {0, 49},
     {{&LocalCodeColumnName}, {&InternationalCodeColumnName}}},
    {&ConfigLockDownSchema,
     &ConfigLockDownTableName,
     RowIds::Range,
     {1, 88},
     {{&ConfigLockDownTagName, "false"}}},
    {&DeflectKeyDestinationsSchema,
     &DeflectKeyDestinationsTableName,
     RowIds::AllKeys,
     NoRange,
     {{&DeflectDialNumberTagName}}},
    {&FeatureKeysSchema,
     &FeatureKeysTableName,
     RowIds::AllKeys,
     NoRange,
     {{&FunctionTagName, "", Default::FunctionOfKey},
      {&LockedTagName, "false"},
      {&LabelTagName, "", Default::LabelOfKey},
      {&LocalTagName, "false"}},
     true},
    {&FeatureKeySettingsSchema,
     &FeatureKeySettingsTableName,
     RowIds::Range,
     {31, 31},
     {{&FunctionalityTagName, "0"}}},
    {&FeatureToggleKeySettingsSchema,
     &FeatureToggleKeySettingsTableName,
     RowIds::AllKeys,
     NoRange,
     {{&FeatureToggleCodeTagName, "0"}, {&FeatureToggleDescriptionTagName}}},
    {&LineKeySettingsSchema,
     &LineKeySettingsTableName,
     RowIds::AllKeys,
     NoRange,
     {{&PrimaryLineTagName, "false"},
      {&LineSipURITagName},
      {&LineSipRealmTagName},
      {&LineSipUserIdTagName},
      {&LineSipPasswordTagName},
      {&LineShortDescriptionTagName},
      {&RingingLineTagName, "true"},
      {&RingingLineDelayTagName, "0"},
      {&LineRankingTagName, "1"},
      {&LineSharedTypeTagName, "0"},
      {&LineHotLineWarmLineTagName, "0"},
      {&HotWarmLineDialNumberTagName},
      {&HotWarmLineDestinationActiveTagName, "true"},
      {&HiddenLineTagName, "false"},
      {&LineOverviewPositionTagName},
      {&IntrusionAllowedTagName, "true"},
      {&LineSipPasswordEncTagName},
      {&LineXsiUsername},
      {&LineAudibleAlertTagName, "0"},
      {&LineVisualAlertTagName, "2"},
      {&LineSubscriptionTargetTagName}}},
    {&LocalFunctionLockDownSchema,
     &LocalFunctionLockDownTableName,
     RowIds::Range,
     {1, 10},
     {{&LocalFunctionLockDownTagName, "false"}}},
    {&RepertoryDiallingSchema,
     &RepertoryDiallingTableName,
     RowIds::AllKeys,
     NoRange,
     {{&RepertoryDialNumberTagName}}},
    {&SelectedDiallingSchema,
     &SelectedDiallingTableName,
     RowIds::AllKeys,
     NoRange,
     {{&SelectedDialNumberTagName}}},
    {&StartApplicationSchema,
     &StartApplicationTableName,
     RowIds::AllKeys,
     NoRange,
     {{&ApplicationNameTagName}}},
    {&StartApplicationFixedKeysSchema,
     &StartApplicationFixedKeysTableName,
     RowIds::FixedKeys,
     NoRange,
     {{&ApplicationNameTagName}}},
    {&FixedKeysSchema,
     &FixedKeysTableName,
     RowIds::FixedKeysOfModel,
     NoRange,
     {{&FunctionTagName, "", Default::FunctionOfFixedKey},
      {&LockedTagName, "false"},
      {&LabelTagName},
      {&LocalTagName, "false"}}},
};

std::vector<std::string> rowIdsOf(const PlainTable& table, const KeyHardware& hardware) {
    switch (table.rowIds) {
        case RowIds::AllKeys:
            return PlainTables::allKeys();
        case RowIds::FixedKeys:
            return FixedKeyIds;
        case RowIds::FixedKeysOfModel: {
            const auto count = static_cast<std::ptrdiff_t>(fixedKeyFunctions(hardware).size());
            return {FixedKeyIds.begin(), FixedKeyIds.begin() + count};
        }
        case RowIds::Range:
            break;
    }
    return KeyIds::texts({table.range});
}

/// One default for each key: that of the model's keys, or @p otherwise. If a model's key is not
/// found in the order of the ids, the walk over the model's keys ends there.
std::vector<std::string> defaultsByKey(const DefaultKeys& keys, const std::string& otherwise,
                                       std::string (*textOf)(const KeyFunction&)) {
    std::vector<std::string> defaults;
    auto key = keys.begin();
    for (const std::string& id : PlainTables::allKeys()) {
        const bool isModelKey = key != keys.end() && id == key->first;
        defaults.push_back(isModelKey ? textOf(key->second) : otherwise);
        if (isModelKey) {
            ++key;
        }
    }
    return defaults;
}

std::vector<std::string> defaultsOf(const PlainColumn& column, const KeyHardware& hardware,
                                    const DefaultKeys& keys) {
    switch (column.kind) {
        case Default::FunctionOfKey:
            return defaultsByKey(keys, "0",
                                 [](const KeyFunction& f) { return ClientUtils::itos(f.code); });
        case Default::LabelOfKey:
            return defaultsByKey(keys, "",
                                 [](const KeyFunction& f) { return std::string(f.label); });
        case Default::FunctionOfFixedKey:
            return fixedKeyFunctions(hardware);
        case Default::ForAllRows:
            break;
    }
    return {column.defaultText};
}

std::shared_ptr<const TableLayout> makeLayout(const PlainTable& table, const KeyHardware& hardware,
                                              const DefaultKeys& keys) {
    auto layout = std::make_shared<TableLayout>(
        TableLayout::ofKeys(*table.schema, *table.table, rowIdsOf(table, hardware)));
    layout->hasDefaultRowsPerUser = table.hasDefaultRowsPerUser;
    for (const PlainColumn& column : table.columns) {
        layout->columns.emplace_back(*column.name, columnTypeText,
                                     defaultsOf(column, hardware, keys));
    }
    return layout;
}

const PlainTable* findTable(const std::string& schema) {
    const auto* found = std::find_if(std::begin(Tables), std::end(Tables),
                                     [&](const PlainTable& t) { return *t.schema == schema; });
    return found != std::end(Tables) ? found : nullptr;
}

/// What else the contents of a description depend on, besides its table.
using LayoutKey =
    std::tuple<const PlainTable*, const DefaultKeys*, const std::vector<std::string>*>;

void appendKey(std::string& text, const std::string& id, const std::string& function,
               const char* label) {
    text += id + ":" + function + ":" + label + ";";
}

}  // namespace

KeyHardware KeyHardware::ofThisDevice() {
    KeyHardware hardware{};
    hardware.subVariant2 = HardwareVersion::getHWSubVariant() == 2;
    hardware.subVariant3 = HardwareVersion::getHWSubVariant() == 3;
    hardware.subVariant4 = HardwareVersion::getHWSubVariant() == 4;
    hardware.subPlatform1 = HardwareVersion::getHWSubPlatformVariant() == 1;
    hardware.isVX100Any = HardwareVersion::is_VX100_any();
    return hardware;
}

const DefaultKeys& PlainTables::defaultFeatureKeys(const KeyHardware& hardware) {
    if (const KeyRule* rule = keyRule(hardware)) {
        return *rule->featureKeys;
    }
    const bool isVX700 = HardwareVersion::is_VX700() || HardwareVersion::is_VX700X();
    return isVX700 ? DefaultKeys1 : noDefaultKeys;
}

std::shared_ptr<const TableLayout> PlainTables::layoutOf(const std::string& schema,
                                                         const KeyHardware& hardware) {
    const PlainTable* table = findTable(schema);
    if (table == nullptr) {
        return nullptr;
    }
    const DefaultKeys& keys =
        table->rowIds == RowIds::AllKeys ? defaultFeatureKeys(hardware) : noDefaultKeys;
    static std::mutex mutex;
    static std::map<LayoutKey, std::shared_ptr<const TableLayout>> made;
    std::lock_guard<std::mutex> lock(mutex);
    auto& layout = made[{table, &keys, &fixedKeyFunctions(hardware)}];
    if (layout == nullptr) {
        layout = makeLayout(*table, hardware, keys);
    }
    return layout;
}

std::vector<std::string> PlainTables::schemas() {
    std::vector<std::string> names;
    for (const PlainTable& table : Tables) {
        names.push_back(*table.schema);
    }
    return names;
}

std::string PlainTables::defaultKeyData(const KeyHardware& hardware) {
    const KeyRule* rule = keyRule(hardware);
    const auto& fixed = rule != nullptr ? *rule->fixedFunctions : TwoFixedFunctions;
    std::string text;
    for (std::size_t i = 0; i < fixed.size(); ++i) {
        appendKey(text, FixedKeyIds[i], fixed[i], "");
    }
    if (rule != nullptr) {
        for (const auto& [id, function] : *rule->featureKeys) {
            appendKey(text, id, ClientUtils::itos(function.code), function.label);
        }
    }
    return text;
}
