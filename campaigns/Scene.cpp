#include "Scene.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <future>
#include <regex>

#include "AurelProtocols.h"
#include "Calls.h"
#include "FrameworkContext.h"
#include "InvokerResponse.h"
#include "Parameter.h"
#include "ProtocolAdapter.h"
#include "XmlHandler.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "service/DASInvoker.h"
#include "testkit/Sql.h"
#include "testkit/SqliteVfs.h"

/// Passes methods on as objects, because the service is tested and not a protocol.
class SceneFramework : public FrameworkContext, private ProtocolAdapter {
public:
    SceneFramework() { invoker.initInvoker(this); }
    ProtocolAdapter* findProtocolAdapter(const std::string&) override { return this; }
    Proxy* findProxy(const std::string&, const std::string&) override { return nullptr; }

    DASInvoker invoker;
    const Method* request = nullptr;
    Method reply;

private:
    bool decode(std::istream&, Method& method) override {
        method = *request;
        return true;
    }
    void encode(const Method& method, std::ostream&) override { reply = method; }
};

namespace {

class SceneResponse : public InvokerResponse {
public:
    explicit SceneResponse(bool& replied) : m_replied(replied) {}
    std::string getProtocol() const override { return AurelProtocols::SERVICE_JSON; }
    std::string getSender() const override { return {}; }
    void setReply(const std::string&) override { m_replied = true; }

private:
    bool& m_replied;
};

/// A connection to the file that is not affected by faults.
Sql connect(const std::filesystem::path& path) {
    return Sql(path, SqliteVfs::PlainName);
}

/// The first cells of the rows; failures are among them.
std::vector<std::string> cells(const Sql& db, const std::string& query) {
    std::string error;
    std::vector<std::string> found;
    for (auto& row : db.rows(query, &error, "NULL")) {
        found.push_back(std::move(row.front()));
    }
    if (!error.empty()) {
        found.push_back("cannot read: " + error);
    }
    return found;
}

/// An expression that returns a row of @p table as one string.
std::string rowExpression(const Sql& db, const std::string& table) {
    std::string expression;
    for (const std::string& column :
         cells(db, "SELECT name FROM pragma_table_info('" + table + "')")) {
        expression += expression.empty() ? "" : "||','||";
        expression += "quote(\"" + column + "\")";
    }
    return expression;
}

/// The text of the first element ReasonForMessage.
struct ReasonReader {
    bool isIn = false;
    std::string text;

    static void start(void* self, const char* name, const char**) {
        static_cast<ReasonReader*>(self)->isIn = std::string(name) == "ReasonForMessage";
    }
    static void end(void* self, const char*) { static_cast<ReasonReader*>(self)->isIn = false; }
    static void characters(void* self, const char* text, int length) {
        auto* const reader = static_cast<ReasonReader*>(self);
        if (reader->isIn) {
            reader->text.append(text, static_cast<std::size_t>(length));
        }
    }
};

}  // namespace

std::string Outcome::response() const {
    return Calls::responseIn(reply);
}

bool Outcome::acknowledged() const {
    bool flag = false;
    return reply.getBoolParameter("Acknowledge", flag) && flag;
}

std::string Outcome::reason() const {
    const std::string text = response();
    ReasonReader reader;
    XmlHandler handler(&reader, ReasonReader::start, ReasonReader::end, ReasonReader::characters);
    return handler.parseMessage(text.c_str(), static_cast<int>(text.size())) == 1 ? reader.text
                                                                                  : std::string();
}

Scene::Scene() : m_framework(std::make_unique<SceneFramework>()) {
    m_phone.context.services["LocalMgmtIfc"] = &m_management;
}

Scene::~Scene() = default;

void Scene::start() {
    m_phone.start();
}

void Scene::stop() {
    m_phone.stop();
}

Outcome Scene::call(const std::string& request) {
    return call(Calls::request(request));
}

Outcome Scene::call(const Method& method) {
    Outcome outcome;
    m_framework->request = &method;
    m_framework->reply = Method();
    try {
        DataAccessService* const service = m_phone.isRunning() ? &m_phone.service() : nullptr;
        m_framework->invoker.handleMessage(service, "m", 1, new SceneResponse(outcome.replied));
    } catch (const std::exception&) {
        outcome.threw = true;
        outcome.replied = false;
    }
    std::swap(outcome.reply, m_framework->reply);
    return outcome;
}

std::string Scene::sql(const std::string& statements) const {
    return connect(database()).run(statements);
}

Contents Scene::contents() const {
    const Sql db = connect(database());
    Contents all;
    for (const std::string& table :
         cells(db,
               "SELECT name FROM sqlite_master WHERE type = 'table' AND name <> "
               "'sqlite_sequence'")) {
        // Encrypted text differs each time that the same password is encrypted.
        static const std::regex encrypted("das1:[^']*");
        auto& rows = all[table];
        for (const std::string& row :
             cells(db, "SELECT " + rowExpression(db, table) + " FROM \"" + table + "\"")) {
            rows.insert(std::regex_replace(row, encrypted, "das1:"));
        }
    }
    return all;
}

std::string Scene::integrity() const {
    const auto lines = cells(connect(database()), "PRAGMA integrity_check");
    return lines.empty() ? "nothing" : lines.front();
}

std::string Scene::whatIsHeld() {
    DatabaseAdapter* const adapter = m_phone.service().getAdapter();
    if (adapter == nullptr) {
        return {};
    }
    auto other = std::async(std::launch::async, [adapter] { AdapterLock lock(*adapter); });
    if (other.wait_for(std::chrono::seconds(5)) != std::future_status::ready) {
        adapter->give_sema4();
        return "the lock of the adapter";
    }
    const Sql db = connect(database());
    if (!db.run("BEGIN EXCLUSIVE; ROLLBACK;").empty()) {
        return "the database";
    }
    return {};
}

Contents without(const Contents& whole, const Contents& part) {
    Contents left;
    for (const auto& [table, rows] : whole) {
        const auto found = part.find(table);
        std::multiset<std::string> rest;
        if (found == part.end()) {
            rest = rows;
        } else {
            std::set_difference(rows.begin(), rows.end(), found->second.begin(),
                                found->second.end(), std::inserter(rest, rest.end()));
        }
        if (!rest.empty()) {
            left[table] = std::move(rest);
        }
    }
    return left;
}

std::string sample(const Contents& rows) {
    std::string text;
    for (const auto& [table, lines] : rows) {
        text += table + " (" + std::to_string(lines.size()) + ") " + lines.begin()->substr(0, 120) +
                "; ";
    }
    return text;
}

Report isolated(const std::function<void(const std::function<void(const std::string&)>&)>& work,
                unsigned seconds) {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return {{}, "no pipe"};
    }
    (void)std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        alarm(seconds);
        (void)!std::freopen("/dev/null", "w", stdout);  // a start writes there
        const auto out = [&](const std::string& line) {
            const std::string text = line + "\n";
            (void)!write(ends[1], text.data(), text.size());
        };
        try {
            work(out);
            _exit(0);
        } catch (const std::exception& error) {
            out(std::string("F an exception outside of the service: ") + error.what());
        }
        _exit(3);
    }
    close(ends[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t count = 0; (count = read(ends[0], buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    Report report;
    for (std::size_t begin = 0, at = 0; (at = text.find('\n', begin)) != std::string::npos;
         begin = at + 1) {
        report.lines.push_back(text.substr(begin, at - begin));
    }
    if (WIFSIGNALED(status)) {
        report.end = WTERMSIG(status) == SIGALRM
                         ? "it hangs"
                         : "ended by signal " + std::to_string(WTERMSIG(status));
    } else if (WEXITSTATUS(status) != 0) {
        report.end = "ended with status " + std::to_string(WEXITSTATUS(status));
    }
    return report;
}
