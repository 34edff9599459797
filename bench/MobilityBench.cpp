// Two users: the copy of the owner's data to the visitor, its deletion, and the export by tags.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>

#include "Bench.h"
#include "StatementRecord.h"
#include "database/DatabaseAdapter.h"
#include "service/ACMSTagMapper.h"
#include "tables/PlainTables.h"

namespace {

using namespace Bench;

constexpr int settingCount = 100;

const char* const callGroups = "CallGroup";
const char* const settings = "GENERAL_CONFIG";
const std::string countStart = "SELECT COUNT(*) FROM ";
const std::string ofVisitor = " WHERE UserContext = 'visitor'";
const std::string ofBase = " WHERE UserContext = 'base'";

/// The schemas with rows per user and their tables, in the order in which they are copied.
const struct {
    const char* schema;
    const char* table;
} userTables[] = {
    {"AbbreviatedDialling", "ABBREVIATED_DIALLING"},
    {"Analytics", "ANALYTICS"},
    {"BCASettings", "BCA_SETTINGS"},
    {"BluetoothBlacklisted", "BLUETOOTH_BLACKLISTED"},
    {"CanonicalLookUp", "CANONICAL_LOOK_UP"},
    {"CallGroup", callGroups},
    {"ConfigLockDown", "CONFIG_LOCK_DOWN"},
    {"DeflectKeyDestinations", "DEFLECT_KEY_DESTINATIONS"},
    {"DssKeySettings", "DSS_KEY_SETTINGS"},
    {"FeatureKeys", "FEATURE_KEYS"},
    {"FeatureToggleKeySettings", "FEATURE_TOGGLE_KEY_SETTINGS"},
    {"ForwardingKeyDestinations", "FORWARDING_KEY_DESTINATIONS"},
    {"LineKeySettings", "LINE_KEY_SETTINGS"},
    {"LocalFunctionLockDown", "LOCAL_FUNCTION_LOCK_DOWN"},
    {"RepertoryDialling", "REPERTORY_DIALLING"},
    {"SelectedDialling", "SELECTED_DIALLING"},
    {"UnitTestGenConfigTable", settings},
    {"StimulusKeySettings", "STIMULUS_KEY_SETTINGS"},
    {"FeatureKeySettings", "FEATURE_KEY_SETTINGS"},
    {"FixedKeys", "FIXED_KEYS"},
    {"StartApplicationFixedKeys", "START_APPLICATION_FIXED_KEYS"},
};

/// The owner's rows of a table, as they are copied to the visitor.
struct UserTable {
    std::string name;
    std::size_t contextIndex;
    Texts inserts;
};

using UserTables = std::vector<UserTable>;

std::string insertText(const std::string& table, const std::vector<std::string>& row,
                       std::size_t contextIndex) {
    std::string text = "INSERT OR REPLACE INTO " + table + " VALUES (";
    for (std::size_t i = 0; i < row.size(); ++i) {
        text += (i == 0 ? "'" : ", '") + (i == contextIndex ? "visitor" : row[i]) + "'";
    }
    return text + ");";
}

/// Makes every table with its default rows, and settings.
UserTables makeTables(DataAccessService& service) {
    std::string items;
    for (int item = 0; item < settingCount; ++item) {
        items += "<Item" + std::to_string(item) + ">v</Item" + std::to_string(item) + ">";
    }
    (void)service.processRequest(message("AudioSettings", "write_request", items));
    UserTables tables;
    for (const auto& [schema, table] : userTables) {
        (void)service.processRequest(message(schema, "read_request", ""));
        UserTable& made = tables.emplace_back(
            UserTable{table, static_cast<std::size_t>(table == settings ? 1 : 0), {}});
        Rows rows;
        PairList orderBy;
        (void)service.getAdapter()->executeQuery(table, {}, {{"UserContext", "'base'"}}, orderBy,
                                                 rows, "", "");
        for (const auto& row : rows) {
            made.inserts.push_back(insertText(table, row, made.contextIndex));
        }
    }
    return tables;
}

void append(Texts& texts, const Texts& more) {
    texts.insert(texts.end(), more.begin(), more.end());
}

Texts deletion(const std::string& table, const std::string& more = "") {
    return {countStart + table, "DELETE FROM " + table + " " + ofVisitor + more + ";"};
}

/// The visitor's call groups get the defaults, not copies.
Texts callGroupTexts(const UserTable& table) {
    Texts texts = {"SELECT * FROM CallGroup;", "BEGIN IMMEDIATE TRANSACTION;"};
    append(texts, deletion(table.name));
    append(texts, table.inserts);
    texts.emplace_back("END TRANSACTION;");
    return texts;
}

Texts copyTexts(const UserTable& table) {
    const std::string all = "SELECT * FROM " + table.name;
    Texts texts = {"BEGIN IMMEDIATE TRANSACTION;", countStart + table.name + ofVisitor};
    if (!table.inserts.empty()) {
        append(texts, deletion(table.name));
    }
    texts.push_back(all + ofBase + ";");
    if (!table.inserts.empty()) {
        texts.insert(texts.end(), table.contextIndex + 2, all + ";");  // number of columns, names
        append(texts, table.inserts);
    }
    texts.emplace_back("END TRANSACTION;");
    return texts;
}

Texts copyTexts(const UserTables& tables) {
    Texts texts;
    for (const UserTable& table : tables) {
        append(texts, table.name == callGroups ? callGroupTexts(table) : copyTexts(table));
    }
    for (const char* item :
         {"UserHashedPwd", "UserStatus", "UserChangedBy", "UserMD5Hash", "UserPassword"}) {
        append(texts, deletion(settings, std::string(" AND Name = '") + item + "'"));
    }
    return texts;
}

Texts wipeTexts(const UserTables& tables) {
    Texts texts;
    Texts groups;
    for (const UserTable& table : tables) {
        if (table.inserts.empty()) {
            texts.push_back(countStart + table.name);
        } else {
            append(texts, deletion(table.name));
        }
        if (table.name == callGroups) {
            groups = callGroupTexts(table);
        }
    }
    append(texts, groups);
    return texts;
}

/// Statements that insert the deleted rows again.
Texts refillTexts(const UserTables& tables) {
    Texts texts = {"BEGIN TRANSACTION;"};
    for (const UserTable& table : tables) {
        if (table.name != callGroups) {
            append(texts, table.inserts);
        }
    }
    texts.emplace_back("END TRANSACTION;");
    return texts;
}

bool begins(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// Runs each text as the service does: counts, reads, questions for columns, changes.
std::string runAll(FloorDatabase& db, const Texts& texts) {
    for (const std::string& sql : texts) {
        if (begins(sql, countStart)) {
            (void)db.count(sql);
        } else if (!begins(sql, "SELECT")) {
            db.run(sql);
        } else if (sql.find("WHERE") != std::string::npos) {
            (void)db.rows(sql);
        } else {
            db.prepare(sql);
        }
    }
    return {};
}

Operation onAllTables(const char* name, void (DataAccessService::*work)(),
                      Texts (*texts)(const UserTables&), Texts (*reset)(const UserTables&)) {
    Operation operation;
    const auto tables = std::make_shared<UserTables>();
    operation.name = name;
    operation.prepare = [tables, work](DataAccessService& service) {
        *tables = makeTables(service);
        (service.*work)();
    };
    if (reset != nullptr) {
        operation.reset = [tables, reset](int) { return reset(*tables); };
    }
    operation.request = [](int) { return std::string(); };
    operation.statements = [tables, texts](int) { return texts(*tables); };
    operation.floor = runAll;
    operation.service = [work](DataAccessService& service, const std::string&) {
        (service.*work)();
        return std::string();
    };
    return operation;
}

/// A visitor logs on and off again. The statements were recorded from the service.
Operation changeProfile() {
    Operation operation;
    const auto texts = std::make_shared<Texts>();
    const auto change = [](DataAccessService& service) {
        (void)service.setProfile("visitor");
        (void)service.setProfile("base");
    };
    operation.name = "Mobility/ChangeProfileAndBack";
    operation.prepare = [=](DataAccessService& service) {
        (void)makeTables(service);
        change(service);
        *texts = StatementRecord::statementsIn(
            StatementRecord::of(StatementRecord::lastOpened(), [&] { change(service); }));
    };
    operation.request = [](int) { return std::string(); };
    operation.statements = [texts](int) { return *texts; };
    operation.floor = runAll;
    operation.service = [=](DataAccessService& service, const std::string&) {
        change(service);
        return std::string();
    };
    return operation;
}

constexpr int tagCount = 500;
/// Columns in the order of the tags, with their places in a row.
const struct {
    const char* name;
    std::size_t cell;
} keyColumns[] = {{"Function", 2}, {"Label", 4}, {"Local", 5}, {"Locked", 3}};
constexpr std::size_t keyCount = tagCount / std::size(keyColumns);
const std::vector<Tags> keyTags = tagsOf({"Id", "Function", "Locked", "Label", "Local"});

/// Tags of the cells of keys, and a mapping that knows them.
void makeMapping(DataAccessService& service) {
    std::ofstream file(std::string(std::getenv("DAS_ROOT")) + "/Aurel_Deploy/DasTagMappings.csv");
    file << "#$VERSION=1\n#$COLUMNS=<ACMStag>,<DASschema>,<DAStag>\n";
    for (const auto& column : keyColumns) {
        file << column.name << "-,FeatureKeys," << column.name << "\n";
    }
    file.close();
    service.getACMSTagMapper()->createTable();
    (void)service.processRequest(message("FeatureKeys", "read_request", ""));
}

std::vector<std::string> mappedKeys() {
    std::vector<std::string> keys = PlainTables::allKeys();
    keys.resize(keyCount);
    std::sort(keys.begin(), keys.end());  // as the tags are
    return keys;
}

std::map<std::string, std::string> emptyTags() {
    std::map<std::string, std::string> tags;
    for (const auto& column : keyColumns) {
        for (const std::string& key : mappedKeys()) {
            tags[std::string(column.name) + "-" + key];
        }
    }
    return tags;
}

Operation exportTags() {
    Operation operation;
    operation.name = "Mobility/Export500Tags";
    operation.prepare = makeMapping;
    operation.request = [](int) { return std::string(); };
    operation.statements = [](int) {
        Texts texts;
        for (std::size_t column = 0; column < std::size(keyColumns); ++column) {
            for (const std::string& key : mappedKeys()) {
                texts.push_back(
                    "SELECT * FROM FEATURE_KEYS WHERE UserContext = 'base' AND Id = " + key + ";");
            }
        }
        return texts;
    };
    operation.floor = [](FloorDatabase& db, const Texts& texts) {
        std::string values;
        for (std::size_t i = 0; i < texts.size(); ++i) {
            (void)db.count("SELECT COUNT(*) FROM (SELECT 1 FROM FEATURE_KEYS LIMIT 1)");
            const Rows rows = db.rows(texts[i]);
            (void)readAnswer("FeatureKeys", rows, keyTags, 1);
            values += rows.at(0).at(keyColumns[i / keyCount].cell) + "\n";
        }
        return values;
    };
    operation.service = [](DataAccessService& service, const std::string&) {
        std::map<std::string, std::string> tags = emptyTags();
        (void)service.exportUserData(tags, true);
        std::string values;
        for (const auto& [tag, value] : tags) {
            values += value + "\n";
        }
        return values;
    };
    return operation;
}

const Registration registration({
    onAllTables("Mobility/CopyAllToVisitor", &DataAccessService::copyBaseDataToVisitor, copyTexts,
                nullptr),
    onAllTables("Mobility/WipeVisitor", &DataAccessService::clearMobileUserdata, wipeTexts,
                refillTexts),
    changeProfile(),
    exportTags(),
});

}  // namespace
