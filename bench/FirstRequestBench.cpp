// The first request to each table: it finds that the table is missing, creates it with its default
// rows, and reads those of the base user.

#include <memory>

#include "Bench.h"
#include "StatementRecord.h"
#include "database/DatabaseAdapter.h"

namespace {

using namespace Bench;

const struct {
    const char* schema;
    const char* table;
} tables[] = {
    {"AbbreviatedDialling", "ABBREVIATED_DIALLING"},
    {"Analytics", "ANALYTICS"},
    {"BCASettings", "BCA_SETTINGS"},
    {"BluetoothBlacklisted", "BLUETOOTH_BLACKLISTED"},
    {"BluetoothTrusted", "BLUETOOTH_TRUSTED"},
    {"CallGroup", "CallGroup"},
    {"CallLog", "CALL_LOG"},
    {"CanonicalLookUp", "CANONICAL_LOOK_UP"},
    {"CertificateKeys", "CERTIFICATE_KEYS"},
    {"Certificates", "CERTIFICATES"},
    {"CodecSettings", "CODEC_SETTINGS"},
    {"ConfigLockDown", "CONFIG_LOCK_DOWN"},
    {"Conversations", "CONVERSATIONS"},
    {"DeflectKeyDestinations", "DEFLECT_KEY_DESTINATIONS"},
    {"DialPlanEntries", "DIAL_PLAN_ENTRIES"},
    {"DistinctiveRinging", "DISTINCTIVE_RINGING"},
    {"DssKeySettings", "DSS_KEY_SETTINGS"},
    {"FeatureKeys", "FEATURE_KEYS"},
    {"FeatureKeySettings", "FEATURE_KEY_SETTINGS"},
    {"FeatureToggleKeySettings", "FEATURE_TOGGLE_KEY_SETTINGS"},
    {"FileDownloadSettings", "FILEDOWNLOAD_SETTINGS_ENC"},
    {"FixedKeys", "FIXED_KEYS"},
    {"ForwardingKeyDestinations", "FORWARDING_KEY_DESTINATIONS"},
    {"HeadsetPriorities", "HEADSET_PRIORITIES"},
    {"LineKeySettings", "LINE_KEY_SETTINGS"},
    {"LocalFunctionLockDown", "LOCAL_FUNCTION_LOCK_DOWN"},
    {"PhoneBook", "PHONE_BOOK"},
    {"RepertoryDialling", "REPERTORY_DIALLING"},
    {"SelectedDialling", "SELECTED_DIALLING"},
    {"SRTPEncryptionSettings", "SRTP_ENCRYPTION_SETTINGS"},
    {"StartApplication", "START_APPLICATION"},
    {"StartApplicationFixedKeys", "START_APPLICATION_FIXED_KEYS"},
    {"StimulusKeySettings", "STIMULUS_KEY_SETTINGS"},
};

const char* const reasonStart = "<ReasonForMessage>";

std::string reasonOf(const std::string& answer) {
    const auto start = answer.find(reasonStart);
    return answer.substr(start, answer.find('<', start + 1) - start);
}

/// Runs the statements, and builds an answer from the rows of the last one.
std::string runAll(FloorDatabase& db, const Texts& texts, const char* schema, const char* table) {
    std::string answer;
    for (const std::string& sql : texts) {
        if (sql.rfind("SELECT", 0) != 0) {
            db.run(sql);
        } else if (sql.rfind("SELECT COUNT", 0) == 0 || &sql == &texts.front()) {
            (void)db.count(sql);  // the first statement looks for the table and fails
        } else {
            const Rows rows = db.rows(sql);
            const std::size_t cells = rows.empty() ? 0 : rows.front().size();
            answer = readAnswer(schema, rows, std::vector<Tags>(cells, Tags(table)), 0);
        }
    }
    return reasonOf(answer.empty() ? plainAnswer(schema, "read_response") : answer);
}

Operation firstRequest(const char* schema, const char* table) {
    Operation operation;
    operation.name = std::string("FirstRequest/") + schema;
    const auto texts = std::make_shared<Texts>();
    const std::string drop = std::string("DROP TABLE IF EXISTS ") + table + ";";
    operation.prepare = [=](DataAccessService& service) {
        const auto send = [&] {
            (void)service.processRequest(message(schema, "read_request", ""));
        };
        send();
        (void)service.getAdapter()->executeNonQuery(drop);
        *texts =
            StatementRecord::statementsIn(StatementRecord::of(StatementRecord::lastOpened(), send));
    };
    operation.reset = [drop](int) { return Texts{drop}; };
    operation.request = [schema](int) { return message(schema, "read_request", ""); };
    operation.statements = [texts](int) { return *texts; };
    operation.service = [](DataAccessService& service, const std::string& request) {
        return reasonOf(service.processRequest(request));
    };
    operation.floor = [=](FloorDatabase& db, const Texts& sql) {
        return runAll(db, sql, schema, table);
    };
    return operation;
}

std::vector<Operation> firstRequests() {
    std::vector<Operation> operations;
    for (const auto& [schema, table] : tables) {
        operations.push_back(firstRequest(schema, table));
    }
    return operations;
}

const Registration registration(firstRequests());

}  // namespace
