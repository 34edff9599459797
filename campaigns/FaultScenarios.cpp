#include "FaultScenarios.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "Calls.h"
#include "SceneRequests.h"

using namespace FaultScenarios;
using Calls::method;
using namespace SceneRequests;

namespace {

namespace fs = std::filesystem;

Scenario request(const std::string& schema, const std::string& reason, Rule rule,
                 const std::string& body = {}) {
    return {schema + " " + reason + (rule == Rule::Batch ? " batch" : ""),
            Calls::request(message(schema, reason, body)), rule};
}

/// More than SQLite's cache can hold, so pages are written to the file before the transaction ends.
Scenario longBatch() {
    const std::string street = element("Address", std::string(20000, 'x'));
    std::string entries;
    for (int i = 0; i < 150; ++i) {
        entries += entry(element("UniqueID", std::to_string(1000 + i)) +
                         element("Surname", "Long" + std::to_string(i)) + street);
    }
    Scenario made =
        request("PhoneBook", "write_request", Rule::Batch, entries + contact("2000", "Last"));
    made.name += " beyond the cache";
    return made;
}

std::vector<Scenario> requestScenarios() {
    const std::string batch = contact("3", "New3") + contact("4", "New4") + contact("5", "Last");
    const std::string keys = key("100", "a") + key("101", "b") + key("102", "Last");
    const std::string settings = element("Volume", "9") + element("Other", "1");
    const std::string codec = element("CodecType", "2") + element("CodecPacketSize", "7");
    return {
        request("FeatureKeys", "read_request", Rule::Read),
        request("FeatureKeys", "update_request", Rule::Done,
                element("Id", "100") + element("Label", "one")),
        request("FeatureKeys", "update_request", Rule::Batch, keys),
        request("AudioSettings", "read_request", Rule::Read),
        request("AudioSettings", "readall_request", Rule::Read),
        request("AudioSettings", "write_request", Rule::Done, element("Fresh", "1")),
        request("AudioSettings", "update_request", Rule::Done, element("Volume", "9")),
        request("SipBaseSettings", "update_request", Rule::Batch,
                settings + element("Label", "Last")),
        request("AudioSettings", "delete_request", Rule::Done, "<Volume/>"),
        request("PhoneBook", "read_request", Rule::Read),
        request("PhoneBook", "search_phone_number", Rule::Read,
                entry(element("Office", "+49 89 722 7"))),
        request("PhoneBook", "rowcount_request", Rule::Read),
        request("PhoneBook", "write_request", Rule::Done, contact("3", "Other")),
        request("PhoneBook", "write_request", Rule::Batch, batch),
        longBatch(),
        request("PhoneBook", "update_request", Rule::Done,
                element("Select", element("UniqueID", "4")) + entry(element("Company", "Co"))),
        request("PhoneBook", "delete_request", Rule::Done, entry(element("UniqueID", "5"))),
        request("CallGroup", "read_request", Rule::Read),
        request("CallGroup", "update_request", Rule::Done,
                element("Select", element("CallGroup", "4")) +
                    entry(element("CallGroupName", "Sales"))),
        request("CallGroup", "reset_request", Rule::Done),
        request("CallLog", "read_request", Rule::Read),
        request("CallLogAndPhoneBook", "read_request", Rule::Read,
                element("ResultCols", "CALL_LOG.* PHONE_BOOK.*")),
        request("CallLogMissedCalls", "write_request", Rule::Done, callRow("3", "555")),
        request("CallLogMissedCalls", "write_request", Rule::Batch,
                callRow("4", "556") + callRow("5", "557") + callRow("6", "Last")),
        request("CallLogMissedCalls", "delete_request", Rule::Done,
                entry(element("UniqueId", "7"))),
        request("Conversations", "read_request", Rule::Read,
                element("ResultCols", "CALL_LOG.* PHONE_BOOK.*")),
        request("Conversations", "write_request", Rule::Done,
                entry(element("UniqueId", "3") + element("PhonebookId", "9") +
                      element("CallLogId", "9"))),
        request("Conversations", "delete_request", Rule::Done, entry(element("UniqueId", "4"))),
        request("StimulusKeySettings", "update_request", Rule::Done,
                entry(element("Id", "100") + element("SendUrlPort", "8080"))),
        request("CodecSettings", "read_request", Rule::Read),
        request("CodecSettings", "update_request", Rule::Done, codec),
        request("SRTPEncryptionSettings", "update_request", Rule::Done,
                element("Method", "1") + element("Rank", "5")),
        request("Certificates", "write_request", Rule::Done,
                entry(element("Id", "c2") + element("FileName", "f2"))),
        request("Certificates", "readall_request", Rule::Read),
        request("BluetoothTrusted", "delete_request", Rule::Done, entry(element("Id", "00:1B"))),
        request("DialPlanEntries", "write_request", Rule::Done,
                entry(element("Id", "7") + element("DigitString", "99"))),
        request("Nothing", "read_request", Rule::Read),
        {"the first request to a table of keys",
         Calls::request(message("FeatureKeys", "read_request", element("Id", "100"))),
         Rule::Read,
         {},
         false,
         {},
         "DROP TABLE FEATURE_KEYS"},
        {"the first request to call groups",
         Calls::request(message("CallGroup", "read_request")),
         Rule::Read,
         {},
         false,
         {},
         "DROP TABLE CallGroup"},
        {"the first request to a table of the telephone",
         Calls::request(message("CodecSettings", "read_request")),
         Rule::Read,
         {},
         false,
         {},
         "DROP TABLE CODEC_SETTINGS"},
        {"default keys", Calls::request("getDefaultKeyData"), Rule::Open},
        {"contacts to a file", Calls::request("saveContactsToCSV"), Rule::Open,
         "/tmp/VX_contacts.csv"},
    };
}

std::vector<Scenario> methodScenarios() {
    const auto file = [](const char* name, const std::string& schema, const std::string& path,
                         int user) {
        return method(name,
                      {{"schemaName", schema},
                       {std::string(name) == "exportData" ? "userToExportFor" : "userToImportFor",
                        std::to_string(user)},
                       {"filePathAndName", path}});
    };
    const auto import = [](const std::string& schema, const std::string& path) {
        return method("importData", {{"schemaName", schema}, {"filePathAndName", path}});
    };
    const std::string map = "{\"volume\":\"3\",\"x\":\"y\"}";
    return {
        {"export of contacts", file("exportData", "PhoneBook", "/data/out.csv", -3), Rule::Open,
         "/data/out.csv"},
        {"export of groups", file("exportData", "CallGroup", "/data/out.csv", 0), Rule::Open,
         "/data/out.csv"},
        {"import of contacts", import("PhoneBook", "/data/in.csv"), Rule::Rewrite},
        {"import of contacts for a user", file("importDataForUser", "PhoneBook", "/data/in.csv", 0),
         Rule::Whole},
        {"indices", method("createPhonenumberIndices", {}), Rule::Open},
        {"a visitor comes", method("setProfile", {{"NewProfile", "visitor"}}), Rule::Tables},
        {"base comes back", method("setProfile", {{"NewProfile", "base"}}), Rule::Open},
        {"copy to the visitor", method("copyBaseDataToVisitor", {}), Rule::Tables},
        {"clearing of the visitor", method("clearMobileUserdata", {}), Rule::Rewrite},
        {"clearing of all of the visitor", method("clearMobileUserDLSdata", {}), Rule::Rewrite},
        {"migration of the user", method("migrateUserData", {{"baseValues", map}}), Rule::Rewrite},
        {"export of user data", method("exportUserData", {{"newValues", map}, {"isBase", "true"}}),
         Rule::Open},
        {"import of user data", method("importUserData", {{"newValues", map}, {"isBase", "true"}}),
         Rule::Open},
        {"the version gate",
         method("checkDatabaseNeedsChange",
                {{"currentSwType", "1"}, {"newSwType", "1"}, {"newSwVersion", "V1 R8.1.0"}}),
         Rule::Rewrite},
        {"a directory",
         method("readDirectory", {{"Directory", "/"},
                                  {"DirReading", "true"},
                                  {"FileReading", "true"},
                                  {"SubDirReading", "true"}}),
         Rule::Open},
        {"moving of a file",
         method("moveFile", {{"OldFileName", "/data/in.csv"}, {"NewFileName", "/data/in2.csv"}}),
         Rule::Open},
        {"deleting of a file", method("deleteFile", {{"directory", "/data/images"}, {"name", "x"}}),
         Rule::Open},
        {"reset", method("factoryReset", {}), Rule::Rewrite, {}, true},
        {"reset of management",
         method("invokeACMSFactoryReset", {{"EnableCreateDb", "true"}}),
         Rule::Rewrite,
         {},
         true},
    };
}

std::vector<Scenario> startScenarios() {
    const auto start = [](const std::string& name, const std::string& statements) {
        return Scenario{"start: " + name, Method(), Rule::Open, {}, true, statements, {}};
    };
    std::vector<Scenario> all = {start("nothing", ""), start("oldest", oldestDatabase(30))};
    // Sorted, so that the same seed has the same run everywhere.
    std::set<fs::path> texts;
    for (const auto& file : fs::directory_iterator(DAS_DATABASES_DIR)) {
        texts.insert(file.path().stem());
    }
    for (const std::string text : texts) {
        const std::string today =
            text.find("settings") == 0 ? "" : oldDatabase("settings_of_today");
        all.push_back(start(text, today + oldDatabase(text)));
    }
    return all;
}

}  // namespace

std::vector<Scenario> FaultScenarios::all() {
    std::vector<Scenario> scenarios = requestScenarios();
    for (const auto& more : {methodScenarios(), startScenarios()}) {
        scenarios.insert(scenarios.end(), more.begin(), more.end());
    }
    return scenarios;
}
