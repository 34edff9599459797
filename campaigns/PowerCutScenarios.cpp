#include "PowerCutScenarios.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <stdexcept>

#include "testkit/Messages.h"
#include "testkit/Sql.h"

namespace fs = std::filesystem;

namespace {

using Step = PowerCutScenario::Step;
using xml::element;
using xml::message;

const std::string FileToImport = "/tmp/in.csv";
constexpr int ContactsThatAreThere = 100;

// Requests ---------------------------------------------------------------------------------------

/// @p count rows, each as @p row makes it.
std::string rows(int count, const std::function<std::string(int)>& row) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += row(i);
    }
    return all;
}

std::string contacts(const std::string& name, int count) {
    return rows(count, [&](int i) {
        return element("Entry", element("Surname", name + " " + std::to_string(i)) +
                                    element("Firstname", "of the batch") +
                                    element("Office", "+49 89 722 " + std::to_string(i)));
    });
}

std::string labels(const std::string& text) {
    const std::string entries = rows(10, [&](int i) {
        return element("Entry", element("Id", std::to_string(100 + i)) +
                                    element("Label", text + " " + std::to_string(i)));
    });
    return "<Context currentUser=\"base\">" + entries + "</Context>";
}

std::string settings(const std::string& value) {
    return rows(15, [&](int i) { return element("Item" + std::to_string(i), value); });
}

Step request(const std::string& schema, const std::string& kind, const std::string& body) {
    return [=](PowerCutSession& session) {
        return session.answers(message(schema, kind + "_request", body), kind + "_response");
    };
}

Step profile(const std::string& user) {
    return [=](PowerCutSession& session) { return session.service().setProfile(user); };
}

// Places -----------------------------------------------------------------------------------------

void copyDeployed(const PhonePlace& place) {
    for (const char* file : {"DasGenConfigDeviceDataItems.csv", "DasTagMappings.csv"}) {
        fs::copy_file(fs::path(DAS_DEPLOY_DIR) / file, place.onDevice("/Aurel_Deploy/") / file);
    }
}

/// Rows of a table of an earlier release: their number, and the first key.
struct OldRows {
    const char* table;
    const char* key;
    int first;
    int count;
};

/// The rows to insert for each dump; a dump that is not listed has its own rows.
const std::multimap<std::string, OldRows> RowsOfTexts = {
    {"bca_11", {"BCA_SETTINGS", "Id", 1, 40}},
    {"bluetooth_devices_3", {"BLUETOOTH_TRUSTED", "Id", 1, 10}},
    {"call_group_3", {"CallGroup", "CallGroup", 1, 16}},
    {"dss_keys_6", {"DSS_KEY_SETTINGS", "Id", 300, 18}},
    {"dss_keys_9", {"DSS_KEY_SETTINGS", "Id", 300, 18}},
    {"forwarding_of_earlier_ids", {"FORWARDING_KEY_DESTINATIONS", "Id", 618, 20}},
    {"keys_of_earlier_release", {"FEATURE_KEYS", "Id", 300, 18}},
    {"keys_of_earlier_release", {"FIXED_KEYS", "Id", 38, 2}},
    {"keys_of_earlier_release", {"START_APPLICATION", "Id", 100, 16}},
    {"line_keys_18", {"LINE_KEY_SETTINGS", "Id", 300, 18}},
    {"phone_book_17", {"PHONE_BOOK", "UniqueID", 1, 300}},
    {"phone_book_18", {"PHONE_BOOK", "UniqueID", 1, 300}},
    {"stimulus_keys_15", {"STIMULUS_KEY_SETTINGS", "Id", 300, 18}},
    {"stimulus_keys_16", {"STIMULUS_KEY_SETTINGS", "Id", 300, 18}},
    {"stimulus_keys_17", {"STIMULUS_KEY_SETTINGS", "Id", 300, 18}},
    {"stimulus_keys_5", {"STIMULUS_KEY_SETTINGS", "Id", 300, 18}},
    {"stimulus_keys_66_rows", {"STIMULUS_KEY_SETTINGS", "Id", 100, 66}},
    {"stimulus_keys_7", {"STIMULUS_KEY_SETTINGS", "Id", 300, 18}},
};

void fill(const Sql& database, const OldRows& old) {
    for (int row = 0; row < old.count; ++row) {
        std::string cells;
        for (const auto& cell : database.rows("SELECT name, type FROM pragma_table_info('" +
                                              std::string(old.table) + "')")) {
            const std::string& column = cell[0];
            const std::string number = std::to_string(old.first + row);
            cells += cells.empty() ? "" : ", ";
            if (column == old.key) {
                cells += "'" + number + "'";
            } else if (column == "UserContext") {
                cells += "'base'";
            } else {
                cells += cell[1] == "INTEGER" ? std::to_string(row)
                                              : "'" + column + " O''Neil, \\ " + number + "'";
            }
        }
        database.mustRun("INSERT INTO " + std::string(old.table) + " VALUES (" + cells + ")");
    }
}

void prepareUpgrade(const PhonePlace& place, const std::string& text) {
    const fs::path texts = DAS_DATABASES_DIR;
    copyDeployed(place);
    std::ofstream(place.onDevice("/.QuilldeskRootFileSystemImageVersion.prev.txt"))
        << (text == "other_protocol" ? "V1 R2.3.4 SIP 200101\n" : "V1 R2.3.4 QFA 200101\n");
    const Sql database(place.database());
    database.mustRun("BEGIN");
    const auto [first, last] = RowsOfTexts.equal_range(text);
    if (first != last) {
        database.mustRun(readFile(texts / "settings_of_today.sql"));
    }
    database.mustRun(readFile(texts / (text + ".sql")));
    for (auto old = first; old != last; ++old) {
        fill(database, old->second);
    }
    database.mustRun("END");
}

/// A list of values is applied only once: later changes stay.
void prepareUpgradeWithValues(const PhonePlace& place) {
    prepareUpgrade(place, "settings_of_today");
    std::ofstream(place.onDevice("/Aurel_Deploy/DasUpdateValues.csv"))
        << "AudioSettings,visitor,RingerMelody,listed\nAudioSettings,base,Volume,7\n";
}

/// A telephone in use: each table that the steps change exists and has rows.
void prepareInUse(const PhonePlace& place) {
    copyDeployed(place);
    place.enter();
    PowerCutSession session(place);
    session.start();
    std::ofstream file(place.onDevice(FileToImport));
    for (int i = 0; i < 60; ++i) {
        file << "base,,Imported " << i << ",O'Neil\\, and others,+49 89 " << i << "\n";
    }
    const std::vector<Step> steps = {request("PhoneBook", "write", contacts("old", 100)),
                                     request("FeatureKeys", "update", labels("old")),
                                     request("AudioSettings", "write", settings("old"))};
    for (const Step& step : steps) {
        if (!step(session)) {
            throw std::runtime_error("can't prepare the telephone in use");
        }
    }
}

// Scenarios --------------------------------------------------------------------------------------

bool start(PowerCutSession& session) {
    return session.start();
}

std::vector<PowerCutScenario> upgrades() {
    std::vector<std::string> texts;
    for (const auto& entry : fs::directory_iterator(DAS_DATABASES_DIR)) {
        if (entry.path().extension() == ".sql") {
            texts.push_back(entry.path().stem());
        }
    }
    std::sort(texts.begin(), texts.end());
    std::vector<PowerCutScenario> all;
    for (const std::string& text : texts) {
        all.push_back({"upgrade of " + text,
                       [=](const PhonePlace& place) { prepareUpgrade(place, text); },
                       true,
                       {start}});
    }
    all.push_back({"upgrade with a list of values",
                   prepareUpgradeWithValues,
                   true,
                   {start, request("AudioSettings", "update", element("RingerMelody", "mine"))}});
    return all;
}

/// The user at a start is stored in a setting. A change of profile stores it twice: before and
/// after the visitor's data is written.
Step storedUser(const std::string& user) {
    return request("MobilitySettings", "update", element("MobilityCurrentUser", user));
}

std::vector<PowerCutScenario> writes() {
    const auto importContacts = [](PowerCutSession& session) {
        return session.service().importData("PhoneBook", base, FileToImport);
    };
    const auto exportTo = [](const std::string& schema, const std::string& path) {
        return [=](PowerCutSession& session) {
            return session.service().exportData(schema, base, path);
        };
    };
    const auto renameFile = [](PowerCutSession& session) {
        return session.service().renameFile("/data/out.csv", "/data/contacts.csv");
    };
    const auto reset = [](PowerCutSession& session) {
        return session.service().invokeACMSFactoryReset(true);
    };
    const auto removeAll = [](PowerCutSession& session) {
        return session.service().factoryReset();
    };
    return {
        {"batch write",
         prepareInUse,
         false,
         {request("PhoneBook", "write", contacts("a", 40)),
          request("AudioSettings", "write",
                  rows(20, [](int i) { return element("New" + std::to_string(i), "1"); })),
          request("PhoneBook", "write", contacts("b", 40))}},
        {"batch update",
         prepareInUse,
         false,
         {request("FeatureKeys", "update", labels("new")),
          request("AudioSettings", "update", settings("new")),
          request("FeatureKeys", "update", labels("newer"))}},
        {"import", prepareInUse, false, {importContacts}},
        // The first export writes over the file from which an import has read its rows.
        {"data files",
         prepareInUse,
         false,
         {exportTo("PhoneBook", FileToImport), exportTo("PhoneBook", "/data/out.csv"), renameFile,
          exportTo("FeatureKeys", "/data/out.csv")}},
        {"profile change", prepareInUse, false, {profile("visitor"), profile("base")}},
        {"profile change with a stored user",
         prepareInUse,
         false,
         {profile("visitor"), storedUser("visitor"), storedUser("base"), profile("base")}},
        {"factory reset", prepareInUse, false, {removeAll}},
        {"factory reset with a new database",
         prepareInUse,
         false,
         {reset, request("PhoneBook", "write", contacts("after the reset", 10))}},
    };
}

}  // namespace

bool PowerCutSession::start() {
    m_phone.start();
    return true;
}

bool PowerCutSession::answers(const std::string& text, const std::string& reason) {
    return service().processRequest(text).find(element("ReasonForMessage", reason)) !=
           std::string::npos;
}

std::vector<PowerCutScenario> powerCutScenarios() {
    std::vector<PowerCutScenario> all = {{"first start", copyDeployed, true, {start}}};
    for (auto& list : {upgrades(), writes()}) {
        all.insert(all.end(), list.begin(), list.end());
    }
    return all;
}
