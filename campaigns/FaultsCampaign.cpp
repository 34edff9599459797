// Faults at the n-th operation on files and at the n-th allocation, once and for ever, under each
// kind of request, remote method and start. Each place is tried in a process of its own, which is a
// copy of one that has everything ready.

#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <map>
#include <random>
#include <sstream>

#include "Campaign.h"
#include "FaultMemory.h"
#include "FaultVfs.h"
#include "Log.h"
#include "Scene.h"
#include "SceneRequests.h"
#include "Schemas.h"
#include "service/DataAccessService.h"
#include "settings/GeneralConfigurationDAO.h"

using namespace SceneRequests;

namespace {

namespace fs = std::filesystem;
using Tell = std::function<void(const std::string&)>;

/// A way to refuse something.
struct Family {
    const char* name;
    bool isMemory;
    FaultVfs::Fault fault;
    FaultMemory::Owner owner;
};

const Family Families[] = {
    {"io-error", false, FaultVfs::Fault::IoError, {}},
    {"full", false, FaultVfs::Fault::Full, {}},
    {"cannot-open", false, FaultVfs::Fault::CannotOpen, {}},
    {"memory-of-code", true, {}, FaultMemory::Owner::Code},
    {"memory-of-sqlite", true, {}, FaultMemory::Owner::Sqlite},
    {"memory-of-libraries", true, {}, FaultMemory::Owner::Library},
};
constexpr unsigned WholeRun = 3600;  // seconds that the places of a scenario may take
constexpr std::size_t FamilyCount = std::size(Families);

void arm(const Family& family, long place, bool forever) {
    if (family.isMemory) {
        FaultMemory::arm(family.owner, place, forever);
    } else {
        FaultVfs::arm(family.fault, place, forever);
    }
}

long disarm(const Family& family) {
    if (family.isMemory) {
        FaultMemory::disarm();
        return FaultMemory::counted();
    }
    FaultVfs::disarm();
    return FaultVfs::counted();
}

/// What an answer says about the data.
enum class Rule {
    Read,    ///< success: the answer is the one that is given without a fault
    Told,    ///< success: all is done
    Batch,   ///< success: the last entry is done, earlier ones may be missing
    Tables,  ///< success: all is done; in any case each table is as before or as without a fault
    Untold,  ///< nothing: the answer is the same in every case, or there is none
    Rewrite  ///< nothing, and rows that stay go and come back on the way
};

struct Scenario {
    std::string name;
    Method method;  ///< without a name: a start
    Rule rule;
    std::string file{};          ///< on the device: what the method writes
    bool isDestructive = false;  ///< it takes the database file away
    std::string old{};           ///< of a start: the statements of the database before
    std::string arrange{};  ///< of a request: statements before it, such as for a missing table

    bool isStart() const { return method.getName().empty(); }
};

Method method(const std::string& name, const std::vector<std::pair<std::string, std::string>>& in) {
    Method made(name);
    for (const auto& [parameter, value] : in) {
        if (value == "true" || value == "false") {
            made.addBoolParameter(parameter, value == "true", Parameter::in);
        } else if (!value.empty() && value.find_first_not_of("-0123456789") == std::string::npos) {
            made.addIntParameter(parameter, std::stoi(value), Parameter::in);
        } else {
            made.addStringParameter(parameter, value, Parameter::in);
        }
    }
    return made;
}

Scenario request(const std::string& schema, const std::string& reason, Rule rule,
                 const std::string& body = {}) {
    return {schema + " " + reason + (rule == Rule::Batch ? " batch" : ""),
            Scene::messageOf(message(schema, reason, body)), rule};
}

std::vector<Scenario> requestScenarios() {
    const std::string batch = contact("3", "New3") + contact("4", "New4") + contact("5", "Last");
    const std::string keys = key("100", "a") + key("101", "b") + key("102", "Last");
    const std::string settings = element("Volume", "9") + element("Other", "1");
    const std::string codec = element("CodecType", "2") + element("CodecPacketSize", "7");
    return {
        request("FeatureKeys", "read_request", Rule::Read),
        request("FeatureKeys", "update_request", Rule::Told,
                element("Id", "100") + element("Label", "one")),
        request("FeatureKeys", "update_request", Rule::Batch, keys),
        request("AudioSettings", "read_request", Rule::Read),
        request("AudioSettings", "readall_request", Rule::Read),
        request("AudioSettings", "write_request", Rule::Told, element("Fresh", "1")),
        request("AudioSettings", "update_request", Rule::Told, element("Volume", "9")),
        request("SipBaseSettings", "update_request", Rule::Batch,
                settings + element("Label", "Last")),
        request("AudioSettings", "delete_request", Rule::Told, "<Volume/>"),
        request("PhoneBook", "read_request", Rule::Read),
        request("PhoneBook", "search_phone_number", Rule::Read,
                entry(element("Office", "+49 89 722 7"))),
        request("PhoneBook", "rowcount_request", Rule::Read),
        request("PhoneBook", "write_request", Rule::Told, contact("3", "Other")),
        request("PhoneBook", "write_request", Rule::Batch, batch),
        request("PhoneBook", "update_request", Rule::Told,
                element("Select", element("UniqueID", "4")) + entry(element("Company", "Co"))),
        request("PhoneBook", "delete_request", Rule::Told, entry(element("UniqueID", "5"))),
        request("CallGroup", "read_request", Rule::Read),
        request("CallGroup", "update_request", Rule::Told,
                element("Select", element("CallGroup", "4")) +
                    entry(element("CallGroupName", "Sales"))),
        request("CallGroup", "reset_request", Rule::Told),
        request("CallLog", "read_request", Rule::Read),
        request("CallLogAndPhoneBook", "read_request", Rule::Read,
                element("ResultCols", "CALL_LOG.* PHONE_BOOK.*")),
        request("CallLogMissedCalls", "write_request", Rule::Told, callRow("3", "555")),
        request("CallLogMissedCalls", "write_request", Rule::Batch,
                callRow("4", "556") + callRow("5", "557") + callRow("6", "Last")),
        request("CallLogMissedCalls", "delete_request", Rule::Told,
                entry(element("UniqueId", "7"))),
        request("Conversations", "read_request", Rule::Read,
                element("ResultCols", "CALL_LOG.* PHONE_BOOK.*")),
        request("Conversations", "write_request", Rule::Told,
                entry(element("UniqueId", "3") + element("PhonebookId", "9") +
                      element("CallLogId", "9"))),
        request("Conversations", "delete_request", Rule::Told, entry(element("UniqueId", "4"))),
        request("StimulusKeySettings", "update_request", Rule::Told,
                entry(element("Id", "100") + element("SendUrlPort", "8080"))),
        request("CodecSettings", "read_request", Rule::Read),
        request("CodecSettings", "update_request", Rule::Told, codec),
        request("SRTPEncryptionSettings", "update_request", Rule::Told,
                element("Method", "1") + element("Rank", "5")),
        request("Certificates", "write_request", Rule::Told,
                entry(element("Id", "c2") + element("FileName", "f2"))),
        request("Certificates", "readall_request", Rule::Read),
        request("BluetoothTrusted", "delete_request", Rule::Told, entry(element("Id", "00:1B"))),
        request("DialPlanEntries", "write_request", Rule::Told,
                entry(element("Id", "7") + element("DigitString", "99"))),
        request("Nothing", "read_request", Rule::Read),
        {"the first request to a table of keys",
         Scene::messageOf(message("FeatureKeys", "read_request", element("Id", "100"))),
         Rule::Read,
         {},
         false,
         {},
         "DROP TABLE FEATURE_KEYS"},
        {"the first request to call groups",
         Scene::messageOf(message("CallGroup", "read_request")),
         Rule::Read,
         {},
         false,
         {},
         "DROP TABLE CallGroup"},
        {"the first request to a table of the telephone",
         Scene::messageOf(message("CodecSettings", "read_request")),
         Rule::Read,
         {},
         false,
         {},
         "DROP TABLE CODEC_SETTINGS"},
        {"default keys", Scene::messageOf("getDefaultKeyData"), Rule::Untold},
        {"contacts to a file", Scene::messageOf("saveContactsToCSV"), Rule::Untold,
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
        {"export of contacts", file("exportData", "PhoneBook", "/data/out.csv", -3), Rule::Untold,
         "/data/out.csv"},
        {"export of groups", file("exportData", "CallGroup", "/data/out.csv", 0), Rule::Untold,
         "/data/out.csv"},
        {"import of contacts", import("PhoneBook", "/data/in.csv"), Rule::Rewrite},
        {"import of contacts for a user", file("importDataForUser", "PhoneBook", "/data/in.csv", 0),
         Rule::Rewrite},
        {"indices", method("createPhonenumberIndices", {}), Rule::Untold},
        {"a visitor comes", method("setProfile", {{"NewProfile", "visitor"}}), Rule::Tables},
        {"base comes back", method("setProfile", {{"NewProfile", "base"}}), Rule::Untold},
        {"copy to the visitor", method("copyBaseDataToVisitor", {}), Rule::Tables},
        {"clearing of the visitor", method("clearMobileUserdata", {}), Rule::Rewrite},
        {"clearing of all of the visitor", method("clearMobileUserDLSdata", {}), Rule::Rewrite},
        {"migration of the user", method("migrateUserData", {{"baseValues", map}}), Rule::Rewrite},
        {"export of user data", method("exportUserData", {{"newValues", map}, {"isBase", "true"}}),
         Rule::Untold},
        {"import of user data", method("importUserData", {{"newValues", map}, {"isBase", "true"}}),
         Rule::Untold},
        {"the version gate",
         method("checkDatabaseNeedsChange",
                {{"currentSwType", "1"}, {"newSwType", "1"}, {"newSwVersion", "V1 R8.1.0"}}),
         Rule::Rewrite},
        {"a directory",
         method("readDirectory", {{"Directory", "/"},
                                  {"DirReading", "true"},
                                  {"FileReading", "true"},
                                  {"SubDirReading", "true"}}),
         Rule::Untold},
        {"moving of a file",
         method("moveFile", {{"OldFileName", "/data/in.csv"}, {"NewFileName", "/data/in2.csv"}}),
         Rule::Untold},
        {"deleting of a file", method("deleteFile", {{"directory", "/data/images"}, {"name", "x"}}),
         Rule::Untold},
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
        return Scenario{"start: " + name, Method(), Rule::Untold, {}, true, statements, {}};
    };
    std::vector<Scenario> all = {start("nothing", ""), start("oldest", oldestDatabase(30))};
    for (const char* const text :
         {"settings_4", "phone_book_18", "call_group_3", "stimulus_keys_16", "line_keys_18",
          "keys_of_earlier_release", "forwarding_of_earlier_ids"}) {
        const std::string today =
            std::string(text).find("settings") == 0 ? "" : oldDatabase("settings_of_today");
        all.push_back(start(text, today + oldDatabase(text)));
    }
    return all;
}

/// The places of one family in one scenario, for one of the two modes.
struct Places {
    std::size_t family;
    bool forever;
    long operations;  ///< without a fault
    long count = 0;   ///< how many are to be tried
    std::vector<long> chosen{};
};

// ---- Which places

/// Gives each of the groups that @p isMemory names a number of places, together @p budget of them
/// unless there are fewer. No group gets more than another unless that has no more.
void share(std::vector<Places>& all, bool isMemory, long budget, std::mt19937& random) {
    std::vector<Places*> open;
    for (Places& each : all) {
        if (Families[each.family].isMemory == isMemory && each.operations > 0) {
            open.push_back(&each);
        }
    }
    std::shuffle(open.begin(), open.end(), random);
    while (budget > 0 && !open.empty()) {
        for (std::size_t i = 0; i < open.size() && budget > 0; ++i, --budget) {
            ++open[i]->count;
        }
        open.erase(
            std::remove_if(open.begin(), open.end(),
                           [](const Places* each) { return each->count == each->operations; }),
            open.end());
    }
}

/// One place in each stretch of equal length.
void choose(Places& places, std::mt19937& random) {
    for (long i = 0; i < places.count; ++i) {
        const long first = places.operations * i / places.count + 1;
        const long last = places.operations * (i + 1) / places.count;
        places.chosen.push_back(std::uniform_int_distribution<long>(first, last)(random));
    }
}

/// One place that DAS_FAULT="SCENARIO;FAMILY;PLACE;once|ever" of the environment names, in place of
/// all others.
struct OnePlace {
    std::string scenario;
    std::string family;
    std::string place;
    std::string mode;

    static bool isGiven() { return std::getenv("DAS_FAULT") != nullptr; }
    static OnePlace read() {
        OnePlace one;
        std::istringstream in(isGiven() ? std::getenv("DAS_FAULT") : "");
        for (std::string* const part : {&one.scenario, &one.family, &one.place, &one.mode}) {
            std::getline(in, *part, ';');
        }
        return one;
    }
    void choose(std::vector<Places>& all) const {
        for (Places& each : all) {
            if (Families[each.family].name == family && each.forever == (mode == "ever")) {
                each.chosen.push_back(std::stol(place));
            }
        }
    }
};

/// How many places are still to be tried, and in how many scenarios.
struct Budget {
    long files;
    long memory;
    long scenarios;
};

/// What was answered, without the parts that the judgement does not need.
struct Answer {
    Answer() = default;
    explicit Answer(const Outcome& outcome)
        : threw(outcome.threw),
          replied(outcome.replied),
          acknowledged(outcome.acknowledged()),
          response(outcome.response()),
          reason(outcome.reason()) {}

    static std::string reasonIn(const std::string& response) {
        Outcome outcome;
        outcome.reply.addStringParameter("Response", response, Parameter::out);
        return outcome.reason();
    }

    bool threw = false;
    bool replied = false;
    bool acknowledged = false;
    std::string response;
    std::string reason;
};

/// What a scenario leads to without a fault.
struct Expected {
    Contents before;
    Contents after;
    Answer answer;
    std::string file;
};

class Runner {
public:
    /// @p filled is the database that a request begins with.
    Runner(const Scenario& scenario, const fs::path& parent, fs::path filled)
        : m_scenario(scenario), m_scene(parent), m_filled(std::move(filled)) {}

    /// Tries its part of the places and tells findings, "F TEXT", and figures, "+ NAME".
    void run(const Budget& budget, std::uint32_t seed, const Tell& tell);

private:
    /// How many operations each family has here.
    std::vector<Places> count(const Tell& tell);
    void tryPlaces(const Places& places, const Tell& tell);
    /// Makes what the scenario begins with.
    void prepare();
    /// Takes the scene back to it, in a process that tries one place.
    void begin();
    /// The scenario itself, which stands between arm and disarm.
    Outcome perform();
    void restart();
    /// Finds out what happens without a fault.
    void learn(const Tell& tell);
    /// One place with all that follows.
    void whole(const Family& family, long place, bool forever, const Tell& up);
    std::pair<long, long> keptBy(const std::function<void()>& work);
    void attempt(const Family& family, long place, bool forever, const Tell& tell);
    void judgeAnswer(const Answer& answer, const Tell& tell) const;
    void judgeContents(const Answer& answer, const Tell& tell) const;
    void judgeBatch(const Contents& missing, const Tell& tell) const;
    void judgeFile(const Tell& tell) const;
    void judgeAfterwards(const Tell& tell);
    void judgeStart(const Tell& tell);
    bool isSuccess(const Answer& answer) const;
    void pass(const Report& report, const std::string& where, const Tell& tell);

    const Scenario& m_scenario;
    Scene m_scene;
    const fs::path m_filled;
    std::string m_database;  ///< the bytes of the file that the scenario begins with
    Expected m_expected;
    long m_codeBlocks = 0;  ///< what stays for good without a fault
    long m_sqliteBlocks = 0;
};

bool Runner::isSuccess(const Answer& answer) const {
    const std::string& good = m_expected.answer.reason;
    return good.empty() ? answer.acknowledged : answer.reason == good;
}

void Runner::prepare() {
    fs::create_directories(m_scene.onDevice("/data/images"));
    for (const char* const name : {"DasGenConfigDeviceDataItems.csv", "DasTagMappings.csv"}) {
        fs::copy_file(fs::path(DAS_DEPLOY_DIR) / name,
                      m_scene.onDevice(std::string("/Aurel_Deploy/") + name));
    }
    if (m_scenario.isStart()) {
        (void)m_scene.sql(m_scenario.old);
    } else {
        fs::copy_file(m_filled, m_scene.database());
        (void)m_scene.sql(m_scenario.arrange);
        m_scene.start();
        if (m_scenario.name == "base comes back") {
            (void)m_scene.call(method("setProfile", {{"NewProfile", "visitor"}}));
        }
    }
    m_database = readText(m_scene.database());
    m_expected.before = m_scene.contents();
}

/// The file stays the same one: the service has it open.
void Runner::begin() {
    const std::string path = m_scene.database();
    fs::remove(path + "-journal");
    const int file = ::open(path.c_str(), O_RDWR | O_CREAT, 0600);
    (void)!::ftruncate(file, 0);
    (void)!::write(file, m_database.data(), m_database.size());
    ::close(file);
    if (m_scenario.isStart() && m_scenario.old.empty()) {
        fs::remove(path);
    }
    for (const char* const name : {"/data/in2.csv", "/tmp/VX_contacts.csv"}) {
        fs::remove(m_scene.onDevice(name));
    }
    writeText(m_scene.onDevice("/data/in.csv"), contactsFile(6, "Imported", 20));
    if (!m_scenario.file.empty()) {
        writeText(m_scene.onDevice(m_scenario.file), "older\n");
    }
    if (m_scenario.isDestructive && !m_scenario.isStart()) {
        m_scene.start();
    }
    GeneralConfigurationDAO::clearStaticCaches();
}

Outcome Runner::perform() {
    if (!m_scenario.isStart()) {
        return m_scene.call(m_scenario.method);
    }
    Outcome outcome;
    try {
        m_scene.start();
    } catch (const std::exception&) {
        outcome.threw = true;
    }
    return outcome;
}

/// A start, and a request to each table: the first one fills it.
void Runner::restart() {
    m_scene.start();
    for (const std::string& schema : allSchemas()) {
        (void)m_scene.call(message(schema, "read_request"));
    }
    m_scene.stop();
}

void Runner::attempt(const Family& family, long place, bool forever, const Tell& tell) {
    arm(family, place, forever);
    Outcome outcome = perform();
    (void)disarm(family);
    if (m_scenario.isStart()) {
        judgeStart(tell);
        return;
    }
    const Answer answer(outcome);
    outcome = Outcome();
    const std::string held = m_scene.whatIsHeld();
    if (!held.empty()) {
        tell("F is still held: " + held);
    }
    judgeAnswer(answer, tell);
    judgeContents(answer, tell);
    judgeFile(tell);
    judgeAfterwards(tell);
}

void Runner::judgeAnswer(const Answer& answer, const Tell& tell) const {
    const Answer& good = m_expected.answer;
    if (answer.threw) {
        tell("+ exceptions");
        return;
    }
    if (answer.replied != good.replied) {
        tell("F no reply");
        return;
    }
    const bool isFailure = answer.response == "failure" || answer.reason == "failure";
    if (!good.reason.empty() && !isFailure && answer.reason != good.reason) {
        tell("F the answer is '" + answer.response + "'");
    }
    tell(isSuccess(answer) ? "+ successes" : "+ failures");
    if (m_scenario.rule == Rule::Read && isSuccess(answer) && answer.response != good.response) {
        if (answer.reason == "rowcount_response") {
            tell("+ counts that failed and are told as 0");
            return;
        }
        if (!m_scenario.arrange.empty() && answer.response.find("<Entry>") == std::string::npos) {
            tell("+ first reads of a table that could not be filled");
            return;
        }
        tell("F a read that succeeds gives '" + answer.response.substr(0, 600) + "'");
    }
}

void Runner::judgeFile(const Tell& tell) const {
    const std::string text =
        m_scenario.file.empty() ? "" : readText(m_scene.onDevice(m_scenario.file));
    if (!m_scenario.file.empty() && text != "older\n" && text != m_expected.file) {
        tell("F the file is neither the older nor the new one: '" + text.substr(0, 200) + "'");
    }
}

void Runner::judgeBatch(const Contents& missing, const Tell& tell) const {
    tell("+ batches acknowledged without an earlier entry");
    for (const auto& table : missing) {
        for (const std::string& row : table.second) {
            if (row.find("Last") != std::string::npos) {
                tell("F the last entry is acknowledged and not there: " + row);
            }
        }
    }
}

void Runner::judgeContents(const Answer& answer, const Tell& tell) const {
    const Contents now = m_scene.contents();
    const Contents& before = m_expected.before;
    const Contents& after = m_expected.after;
    const Contents missing = without(after, now);
    if (answer.replied && isSuccess(answer) && !missing.empty()) {
        if (m_scenario.rule == Rule::Told || m_scenario.rule == Rule::Tables) {
            tell("F acknowledged and not there: " + sample(missing));
        } else if (m_scenario.rule == Rule::Batch) {
            judgeBatch(missing, tell);
        }
    }
    for (const auto& [table, rows] : now) {
        const auto is = [&, &name = table, &all = rows](const Contents& contents) {
            const auto found = contents.find(name);
            return found != contents.end() ? found->second == all : all.empty();
        };
        if (m_scenario.rule == Rule::Tables && !is(before) && !is(after)) {
            tell("F half a table: " + table);
        }
    }
    const Contents strange = without(without(now, after), before);
    const Contents lost = without(without(before, without(before, after)), now);
    if (m_scenario.rule != Rule::Rewrite && !(strange.empty() && lost.empty())) {
        tell("F rows that nobody wrote: " + sample(strange) + " or took: " + sample(lost));
    }
    if (!m_scenario.isDestructive && m_scene.integrity() != "ok") {
        tell("F integrity: " + m_scene.integrity());
    }
}

/// Whether the service goes on as if nothing had been.
void Runner::judgeAfterwards(const Tell& tell) {
    if (m_scenario.isDestructive) {
        m_scene.start();  // after a reset a service refuses until it is started anew
    }
    const std::string wrong = probe(m_scene);
    if (!wrong.empty()) {
        tell("F " + wrong);
    }
    const bool isOfProbe = m_scenario.name.find("FeatureKeys") != std::string::npos ||
                           m_scenario.arrange.find("FEATURE_KEYS") != std::string::npos;
    if (m_scenario.rule == Rule::Read && !isOfProbe) {
        const Answer again(m_scene.call(m_scenario.method));
        if (again.response != m_expected.answer.response) {
            tell("F the same read gives '" + again.response.substr(0, 600) + "' afterwards");
        }
    }
}

/// A start that met a fault answers, and the next start ends where one without a fault does.
void Runner::judgeStart(const Tell& tell) {
    if (m_scene.hasService()) {
        const Answer answer(m_scene.call(message("FeatureKeys", "read_request")));
        if (answer.reason != "read_response" && answer.reason != "failure" &&
            answer.response != "failure") {
            tell("F after the start the answer is '" + answer.response + "'");
        }
        const std::string held = m_scene.whatIsHeld();
        if (!held.empty()) {
            tell("F is still held: " + held);
        }
    }
    m_scene.stop();
    restart();
    const Contents now = m_scene.contents();
    const Contents missing = without(m_expected.after, now);
    const Contents strange = without(now, m_expected.after);
    if (!missing.empty() || !strange.empty()) {
        tell("F the next start ends elsewhere: missing " + sample(missing) + " strange " +
             sample(strange));
    }
    if (m_scene.integrity() != "ok") {
        tell("F integrity: " + m_scene.integrity());
    }
}

std::vector<Places> Runner::count(const Tell& tell) {
    std::vector<Places> all;
    for (std::size_t i = 0; i < FamilyCount; ++i) {
        long operations = 0;
        const Report report = isolated([&](const Tell& up) {
            begin();
            arm(Families[i], 0, false);
            (void)perform();
            up(std::to_string(disarm(Families[i])));
        });
        if (report.end.empty() && !report.lines.empty()) {
            operations = std::stol(report.lines.back());
        } else {
            tell("F " + m_scenario.name + " without a fault: " + report.end);
        }
        all.push_back({i, false, operations});
        all.push_back({i, true, operations});
    }
    return all;
}

void Runner::learn(const Tell& tell) {
    const std::string folder = m_scene.database().parent_path();
    const Report report = isolated([&](const Tell& up) {
        begin();
        const Answer answer(perform());
        writeText(folder + "/response", answer.response);
        up("A " + std::to_string(answer.replied) + std::to_string(answer.acknowledged));
        if (m_scenario.isStart()) {
            restart();
        }
    });
    for (const std::string& line : report.lines) {
        if (line[0] == 'A') {
            m_expected.answer.replied = line[2] == '1';
            m_expected.answer.acknowledged = line[3] == '1';
        }
    }
    m_expected.answer.response = readText(folder + "/response");
    m_expected.answer.reason = Answer::reasonIn(m_expected.answer.response);
    m_expected.after = m_scene.contents();
    m_expected.file = m_scenario.file.empty() ? "" : readText(m_scene.onDevice(m_scenario.file));
    if (!report.end.empty()) {
        tell("F " + m_scenario.name + " without a fault: " + report.end);
    }
}

/// How many blocks one more go keeps, of the code and of SQLite.
std::pair<long, long> Runner::keptBy(const std::function<void()>& work) {
    const long code = FaultMemory::blocksOfCode();
    const long sqlite = FaultMemory::blocksOfSqlite();
    work();
    m_scene.stop();
    GeneralConfigurationDAO::clearStaticCaches();
    return {FaultMemory::blocksOfCode() - code, FaultMemory::blocksOfSqlite() - sqlite};
}

void Runner::whole(const Family& family, long place, bool forever, const Tell& up) {
    const auto work = [&](const Tell& tell) {
        return [&, tell] {
            begin();
            if (!m_scene.hasService() && !m_scenario.isStart()) {
                m_scene.start();
            }
            attempt(family, place, forever, tell);
        };
    };
    const auto [code, sqlite] = keptBy(work(up));
    if (place == 0) {
        up("B " + std::to_string(code) + " " + std::to_string(sqlite));
    } else if (code > m_codeBlocks || sqlite > m_sqliteBlocks) {
        // What is made on first use stays for good, also that of a failure: twice is a leak.
        const auto again = keptBy(work([](const std::string&) {}));
        if (again.first > 0 || again.second > 0) {
            up("F leaks " + std::to_string(again.first) + " blocks of the code, " +
               std::to_string(again.second) + " of SQLite");
        }
    }
}

void Runner::pass(const Report& report, const std::string& where, const Tell& tell) {
    for (const std::string& line : report.lines) {
        if (line[0] == 'B') {
            std::istringstream(line.substr(2)) >> m_codeBlocks >> m_sqliteBlocks;
        } else {
            tell(line[0] == 'F' ? "F " + where + line.substr(2) : line);
        }
    }
    if (!report.end.empty()) {
        tell("F " + where + report.end);
    }
}

void Runner::run(const Budget& budget, std::uint32_t seed, const Tell& tell) {
    prepare();
    learn(tell);
    pass(isolated([&](const Tell& up) { whole(Families[0], 0, false, up); }),
         m_scenario.name + " without a fault: ", tell);
    std::vector<Places> all = count(tell);
    if (OnePlace::isGiven()) {
        OnePlace::read().choose(all);
    } else {
        std::mt19937 random(seed);
        share(all, false, budget.files / budget.scenarios, random);
        share(all, true, budget.memory / budget.scenarios, random);
        for (Places& each : all) {
            choose(each, random);
        }
    }
    for (const Places& each : all) {
        tryPlaces(each, tell);
    }
}

void Runner::tryPlaces(const Places& places, const Tell& tell) {
    const Family& family = Families[places.family];
    for (const long place : places.chosen) {
        const Report report =
            isolated([&](const Tell& up) { whole(family, place, places.forever, up); });
        pass(report,
             m_scenario.name + ", " + family.name + " " + std::to_string(place) + " of " +
                 std::to_string(places.operations) + (places.forever ? " for ever: " : " once: "),
             tell);
        tell(family.isMemory ? "+ places of memory" : "+ places of files");
    }
}

/// Tells lines of a process to the campaign.
class Collector {
public:
    explicit Collector(Campaign& campaign) : m_campaign(campaign) {}

    void take(const Report& report, const std::string& name) {
        for (const std::string& line : report.lines) {
            if (line[0] == 'F') {
                m_campaign.found(line.substr(2));
            } else if (line[0] == '+') {
                m_campaign.figure(line.substr(2), ++m_figures[line.substr(2)]);
            }
        }
        m_campaign.check(report.end.empty(), name + ": " + report.end);
    }

    long value(const std::string& figure) { return m_figures[figure]; }

private:
    Campaign& m_campaign;
    std::map<std::string, long> m_figures;
};

}  // namespace

int main(int argc, char** argv) {
    Campaign campaign("faults", "places, three of eight on files", 16000, argc, argv);
    FaultMemory::install();
    FaultVfs::install();
    Log::setLevel(3);
    if (!OnePlace::isGiven()) {
        Log::setSink([](const Log::Entry&) {});
    } else {
        std::signal(SIGABRT, [](int) {
            void* frames[60];
            backtrace_symbols_fd(frames, backtrace(frames, 60), STDERR_FILENO);
            _exit(134);
        });
    }
    const fs::path parent = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::vector<Scenario> scenarios = requestScenarios();
    for (const auto& more : {methodScenarios(), startScenarios()}) {
        scenarios.insert(scenarios.end(), more.begin(), more.end());
    }
    campaign.figure("scenarios", static_cast<long long>(scenarios.size()));
    Scene filled(parent);
    Collector collector(campaign);
    collector.take(isolated([&](const Tell&) {
                       filled.start();
                       fill(filled);
                       filled.stop();
                   }),
                   "a filled database");
    Budget budget{campaign.rounds() * 3 / 8, 0, static_cast<long>(scenarios.size())};
    budget.memory = campaign.rounds() - budget.files;
    std::mt19937 random(campaign.seed());
    const OnePlace one = OnePlace::read();
    for (const Scenario& scenario : scenarios) {
        const auto seed = static_cast<std::uint32_t>(random());
        if (!OnePlace::isGiven() || scenario.name == one.scenario) {
            const Report report = isolated(
                [&](const Tell& tell) {
                    Runner runner(scenario, parent, filled.database());
                    runner.run(budget, seed, tell);
                },
                WholeRun);
            collector.take(report, scenario.name);
        }
        budget.files = campaign.rounds() * 3 / 8 - collector.value("places of files");
        budget.memory =
            campaign.rounds() - campaign.rounds() * 3 / 8 - collector.value("places of memory");
        --budget.scenarios;
    }
    return campaign.end();
}
