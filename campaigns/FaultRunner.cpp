#include "FaultRunner.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <sstream>

#include "Calls.h"
#include "SceneRequests.h"
#include "testkit/Schemas.h"
#include "settings/GeneralConfigurationDAO.h"

using namespace SceneRequests;
using Calls::method;

namespace FaultRunner {

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
    m_database = readFile(m_scene.database());
    m_expected.before = m_scene.contents();
}

/// The file must remain the same file, because the service has it open.
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
    writeFile(m_scene.onDevice("/data/in.csv"), contactsFile(6, "Imported", 20));
    if (!m_scenario.file.empty()) {
        writeFile(m_scene.onDevice(m_scenario.file), "older\n");
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

/// A start, and a request to each table, because the first request fills a table.
void Runner::restart() {
    m_scene.start();
    for (const std::string& schema : allSchemas()) {
        (void)m_scene.call(message(schema, "read_request"));
    }
    m_scene.stop();
}

void Runner::attempt(const Family& family, long place, bool forever, const Sink& out) {
    family.arm(place, forever);
    Outcome outcome = perform();
    (void)family.disarm();
    if (m_scenario.isStart()) {
        judgeStart(out);
        return;
    }
    const Answer answer(outcome);
    outcome = Outcome();
    const std::string held = m_scene.whatIsHeld();
    if (!held.empty()) {
        out("F is still held: " + held);
    }
    judgeAnswer(answer, out);
    judgeContents(answer, out);
    judgeFile(out);
    judgeAfterwards(out);
}

void Runner::judgeAnswer(const Answer& answer, const Sink& out) const {
    const Answer& good = m_expected.answer;
    if (answer.threw) {
        out("+ exceptions");
        return;
    }
    if (answer.replied != good.replied) {
        out("F no reply");
        return;
    }
    const bool isFailure = answer.response == "failure" || answer.reason == "failure";
    if (!good.reason.empty() && !isFailure && answer.reason != good.reason) {
        out("F the answer is '" + answer.response + "'");
    }
    out(isSuccess(answer) ? "+ successes" : "+ failures");
    if (m_scenario.rule == Rule::Read && isSuccess(answer) && answer.response != good.response) {
        if (answer.reason == "rowcount_response") {
            out("+ counts that failed and are reported as 0");
            return;
        }
        if (!m_scenario.arrange.empty() && answer.response.find("<Entry>") == std::string::npos) {
            out("+ first reads of a table that could not be filled");
            return;
        }
        out("F a read that succeeds gives '" + answer.response.substr(0, 600) + "'");
    }
}

void Runner::judgeFile(const Sink& out) const {
    const std::string text =
        m_scenario.file.empty() ? "" : readFile(m_scene.onDevice(m_scenario.file));
    if (!m_scenario.file.empty() && text != "older\n" && text != m_expected.file) {
        out("F the file is neither the older nor the new one: '" + text.substr(0, 200) + "'");
    }
}

void Runner::judgeBatch(const Contents& missing, const Sink& out) const {
    out("+ batches acknowledged without an earlier entry");
    for (const auto& table : missing) {
        for (const std::string& row : table.second) {
            if (row.find("Last") != std::string::npos) {
                out("F the last entry is acknowledged and not there: " + row);
            }
        }
    }
}

namespace {

bool hasRows(const Contents& contents, const std::string& table,
             const std::multiset<std::string>& rows) {
    const auto found = contents.find(table);
    return found != contents.end() ? found->second == rows : rows.empty();
}

}  // namespace

void Runner::judgeContents(const Answer& answer, const Sink& out) const {
    const Contents now = m_scene.contents();
    const Contents& before = m_expected.before;
    const Contents& after = m_expected.after;
    const Contents missing = without(after, now);
    if (answer.replied && isSuccess(answer) && !missing.empty()) {
        if (m_scenario.rule == Rule::Done || m_scenario.rule == Rule::Tables) {
            out("F acknowledged and not there: " + sample(missing));
        } else if (m_scenario.rule == Rule::Batch) {
            judgeBatch(missing, out);
        }
    }
    const bool isWhole = m_scenario.rule == Rule::Tables || m_scenario.rule == Rule::Whole;
    for (const auto& [table, rows] : now) {
        if (isWhole && !hasRows(before, table, rows) && !hasRows(after, table, rows)) {
            out("F half a table: " + table);
        }
    }
    const Contents strange = without(without(now, after), before);
    const Contents lost = without(without(before, without(before, after)), now);
    if (m_scenario.rule != Rule::Rewrite && !(strange.empty() && lost.empty())) {
        out("F rows that no request wrote: " + sample(strange) + " or removed: " + sample(lost));
    }
    if (!m_scenario.isDestructive && m_scene.integrity() != "ok") {
        out("F integrity: " + m_scene.integrity());
    }
}

/// Checks that the service works as if there had been no fault.
void Runner::judgeAfterwards(const Sink& out) {
    if (m_scenario.isDestructive) {
        m_scene.start();  // after a reset, a service refuses requests until it is restarted
    }
    const std::string wrong = probe(m_scene);
    if (!wrong.empty()) {
        out("F " + wrong);
    }
    const bool isOfProbe = m_scenario.name.find("FeatureKeys") != std::string::npos ||
                           m_scenario.arrange.find("FEATURE_KEYS") != std::string::npos;
    if (m_scenario.rule == Rule::Read && !isOfProbe) {
        const Answer again(m_scene.call(m_scenario.method));
        if (again.response != m_expected.answer.response) {
            out("F the same read gives '" + again.response.substr(0, 600) + "' afterwards");
        }
    }
}

/// Even a start with a fault must answer, and the next start must have the same result as one
/// without a fault.
void Runner::judgeStart(const Sink& out) {
    if (m_scene.hasService()) {
        const Answer answer(m_scene.call(message("FeatureKeys", "read_request")));
        if (answer.reason != "read_response" && answer.reason != "failure" &&
            answer.response != "failure") {
            out("F after the start the answer is '" + answer.response + "'");
        }
        const std::string held = m_scene.whatIsHeld();
        if (!held.empty()) {
            out("F is still held: " + held);
        }
    }
    m_scene.stop();
    restart();
    const Contents now = m_scene.contents();
    const Contents missing = without(m_expected.after, now);
    const Contents strange = without(now, m_expected.after);
    if (!missing.empty() || !strange.empty()) {
        out("F the next start ends elsewhere: missing " + sample(missing) + " strange " +
             sample(strange));
    }
    if (m_scene.integrity() != "ok") {
        out("F integrity: " + m_scene.integrity());
    }
}

std::vector<Places> Runner::count(const Sink& out) {
    std::vector<Places> all;
    for (std::size_t i = 0; i < Families.size(); ++i) {
        long operations = 0;
        const Report report = isolated([&](const Sink& up) {
            begin();
            Families[i].arm(0, false);
            (void)perform();
            up(std::to_string(Families[i].disarm()));
        });
        if (report.end.empty() && !report.lines.empty()) {
            operations = std::stol(report.lines.back());
        } else {
            out("F " + m_scenario.name + " without a fault: " + report.end);
        }
        all.push_back({i, false, operations});
        all.push_back({i, true, operations});
    }
    return all;
}

void Runner::learn(const Sink& out) {
    const std::string folder = m_scene.database().parent_path();
    const Report report = isolated([&](const Sink& up) {
        begin();
        const Answer answer(perform());
        writeFile(folder + "/response", answer.response);
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
    m_expected.answer.response = readFile(folder + "/response");
    m_expected.answer.reason = Answer::reasonIn(m_expected.answer.response);
    m_expected.after = m_scene.contents();
    m_expected.file = m_scenario.file.empty() ? "" : readFile(m_scene.onDevice(m_scenario.file));
    if (!report.end.empty()) {
        out("F " + m_scenario.name + " without a fault: " + report.end);
    }
}

/// How many blocks of the code, and of SQLite, one more run keeps.
std::pair<long, long> Runner::keptBy(const std::function<void()>& work) {
    const long code = FaultMemory::blocksOfCode();
    const long sqlite = FaultMemory::blocksOfSqlite();
    work();
    m_scene.stop();
    GeneralConfigurationDAO::clearStaticCaches();
    return {FaultMemory::blocksOfCode() - code, FaultMemory::blocksOfSqlite() - sqlite};
}

void Runner::whole(const Family& family, long place, bool forever, const Sink& up) {
    const auto work = [&](const Sink& out) {
        return [&, out] {
            begin();
            if (!m_scene.hasService() && !m_scenario.isStart()) {
                m_scene.start();
            }
            attempt(family, place, forever, out);
        };
    };
    const auto [code, sqlite] = keptBy(work(up));
    if (place == 0) {
        up("B " + std::to_string(code) + " " + std::to_string(sqlite));
    } else if (code > m_codeBlocks || sqlite > m_sqliteBlocks) {
        // Objects made at the first use stay allocated, even those for a failure. Only if a second
        // run allocates more, it is a leak.
        const auto again = keptBy(work([](const std::string&) {}));
        if (again.first > 0 || again.second > 0) {
            up("F leaks " + std::to_string(again.first) + " blocks of the code, " +
               std::to_string(again.second) + " of SQLite");
        }
    }
}

void Runner::pass(const Report& report, const std::string& where, const Sink& out) {
    for (const std::string& line : report.lines) {
        if (line[0] == 'B') {
            std::istringstream(line.substr(2)) >> m_codeBlocks >> m_sqliteBlocks;
        } else {
            out(line[0] == 'F' ? "F " + where + line.substr(2) : line);
        }
    }
    if (!report.end.empty()) {
        out("F " + where + report.end);
    }
}

void Runner::run(const Budget& budget, std::uint32_t seed, const Sink& out) {
    prepare();
    learn(out);
    pass(isolated([&](const Sink& up) { whole(Families[0], 0, false, up); }),
         m_scenario.name + " without a fault: ", out);
    std::vector<Places> all = count(out);
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
        tryPlaces(each, out);
    }
}

void Runner::tryPlaces(const Places& places, const Sink& out) {
    const Family& family = Families[places.family];
    for (const long place : places.chosen) {
        const Report report =
            isolated([&](const Sink& up) { whole(family, place, places.forever, up); });
        pass(report,
             m_scenario.name + ", " + family.name + " " + std::to_string(place) + " of " +
                 std::to_string(places.operations) + (places.forever ? " for ever: " : " once: "),
             out);
        out(family.isMemory ? "+ places of memory" : "+ places of files");
    }
}

}  // namespace FaultRunner
