// All remote methods from many threads at once, among them changes of profile, resets and listeners
// that call back; then random histories of one client, each answer held against a plain model.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <thread>

#include "Campaign.h"
#include "DASChangeListenerIfc.h"
#include "DASListenerIfc.h"
#include "GPALSleep.h"
#include "LocalMgmtIfc.h"
#include "Log.h"
#include "Proxy.h"
#include "RemoteCaller.h"
#include "ServiceModel.h"
#include "testkit/Messages.h"
#include "testkit/Phone.h"
#include "testkit/Place.h"
#include "testkit/QuietOutput.h"
#include "testkit/Sql.h"

#if defined(__SANITIZE_THREAD__)
// A report ends the process with a status of its own.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "detect_deadlocks=1:second_deadlock_stack=1:history_size=4";
}
#endif

namespace {

constexpr int Clients = 16;
constexpr long CallsOfPhase = 4000;
constexpr long OperationsOfHistory = 10000;
constexpr std::chrono::seconds LongestCall{120};
/// What a read of contacts raises when the version gate has taken the column that older software
/// does not know; such a read is answered "failure" until the next reset.
const std::string OlderPhoneBook = "(which is 19) >= this->size() (which is 19)";
std::atomic<long> readsOfOlder{0};

class Management : public Executable, public LocalMgmtIfc {
public:
    void init(Context&) override {}
    void shutdown() override {}
    bool deleteFile(int, const std::string&) override { return true; }
    void sendStatusToDLS(const ManageableData&) override { ++told; }
    void sendStatusToWBM(const ManageableData&) override { ++told; }
    void factoryReset(const std::string&, int) override { ++told; }

    std::atomic<long> told{0};
};

/// Hears of each change of profile; calls what a listener may at once, and sends a request from a
/// thread of its own, since the change that it hears of is not over.
class Listener : public Proxy, public DASListenerIfc {
public:
    explicit Listener(DataAccessService& service) : m_service(service) {
        m_sender = std::thread([this] { send(); });
    }
    ~Listener() override {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_isEnding = true;
        }
        m_hasHeard.notify_all();
        m_sender.join();
    }
    void initProxy(ProxyRequest&) override {}
    void profileChangedToBase() override { hear(); }
    void profileChangedToVisitor() override { hear(); }

    std::atomic<long> heard{0};
    std::atomic<long> sent{0};

private:
    void hear() {
        // It is told as often as clients have added it: once in a while is enough for the rest.
        if (heard++ % 16 != 0) {
            return;
        }
        DirectoryList list;
        (void)m_service.readDirectory("/data", true, true, true, &list, &list);
        (void)m_service.exportData("FeatureKeys", base, "/tmp/heard.csv");
        (void)m_service.getAdapter();
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_waiting = true;
        }
        m_hasHeard.notify_one();
    }

    void send() {
        std::unique_lock<std::mutex> lock(m_mutex);
        while (!m_isEnding) {
            m_hasHeard.wait(lock, [this] { return m_waiting || m_isEnding; });
            m_waiting = false;
            lock.unlock();
            (void)m_service.processRequest("getCurrentUser");
            (void)m_service.processRequest(
                xml::message("FeatureKeys", "read_request", "<Id>100</Id>"));
            ++sent;
            lock.lock();
        }
    }

    DataAccessService& m_service;
    std::mutex m_mutex;
    std::condition_variable m_hasHeard;
    bool m_waiting = false;
    bool m_isEnding = false;
    std::thread m_sender;
};

/// Hears of each committed change.
class ChangeListener : public DASChangeListenerIfc {
public:
    void changed(const DASChange& change) override { heard += change.reason.empty() ? 0 : 1; }

    std::atomic<long> heard{0};
};

using Random = std::mt19937;

template <typename List>
const auto& anyOf(Random& random, const List& list) {
    return list[random() % std::size(list)];
}

std::string messageOf(Random& random) {
    static const char* const bodies[] = {
        "getCurrentUser",
        "getDefaultKeyData",
        "saveContactsToCSV",
        "PhoneBook write_request <Entry><Surname>a</Surname><Office>1</Office></Entry>",
        "PhoneBook write_request <Entry><Surname>b</Surname></Entry><Entry><Surname>c</Surname>"
        "</Entry>",
        "PhoneBook read_request <Entry><SurnameLike>a</SurnameLike></Entry>",
        "PhoneBook search_phone_number <Entry><Office>1</Office></Entry>",
        "PhoneBook rowcount_request ",
        "PhoneBook delete_request <Entry><Surname>b</Surname></Entry>",
        "CallLogMissedCalls write_request <Entry><EntryId>e</EntryId><LogList><Item><Number>1"
        "</Number><TimeDate>2014-03-07T09:15:30+01:00</TimeDate></Item></LogList></Entry>",
        "CallLogAndPhoneBook read_request ",
        "CallLog delete_request ",
        "Conversations write_request <Entry><PhonebookId>1</PhonebookId><CallLogId>1</CallLogId>"
        "</Entry>",
        "Conversations read_request <ResultCols>CALL_LOG.* PHONE_BOOK.*</ResultCols>",
        "FeatureKeys update_request <Entry><Id>100</Id><Label>a</Label></Entry><Entry><Id>101</Id>"
        "<Label>b</Label></Entry>",
        "FeatureKeys read_request ",
        "StimulusKeySettings read_request ",
        "CallGroup reset_request ",
        "CodecSettings update_request <CodecType>2</CodecType><CodecRank>1</CodecRank>",
        "CodecSettings read_request ",
        "Certificates write_request <Entry><Id>1</Id><Issuer>x</Issuer></Entry>",
        "AudioSettings update_request <Volume>5</Volume><Tone>3</Tone>",
        "AudioSettings write_request <Volume>4</Volume>",
        "AudioSettings read_request <ResultCols>Volume</ResultCols>",
        "AudioSettings readall_request ",
        "AudioSettings delete_request <Volume/>",
        "MobilitySettings update_request <MobilityCurrentUser>base</MobilityCurrentUser>",
        "NoSuchSchema read_request ",
    };
    static const char* const contexts[] = {"", "base", "visitor"};
    const std::string body = anyOf(random, bodies);
    const std::size_t first = body.find(' ');
    if (first == std::string::npos) {
        return body;
    }
    const std::size_t second = body.find(' ', first + 1);
    const std::string context = anyOf(random, contexts);
    const std::string rest = body.substr(second + 1);
    return xml::message(body.substr(0, first), body.substr(first + 1, second - first - 1),
                        context.empty() ? rest : xml::context(context, rest));
}

/// A remote method: its name and how often it comes; parameters as "s Name=value", where "|" parts
/// values of which one is taken.
struct Remote {
    const char* name;
    int weight;
    bool isOneWay;
    std::vector<const char*> parameters;
};

const Remote Methods[] = {
    {"processRequest", 200, false, {}},
    {"setProfile", 12, false, {"s NewProfile=base|visitor|visitor|guest"}},
    {"factoryReset", 1, false, {}},
    {"invokeACMSFactoryReset", 3, false, {"b EnableCreateDb=true|true|false"}},
    {"exportData",
     8,
     false,
     {"s schemaName=PhoneBook|CallLog|FeatureKeys|CallGroup", "i userToExportFor=0|1|2",
      "s filePathAndName=/tmp/1.csv|/tmp/2.csv"}},
    {"importData",
     4,
     false,
     {"s schemaName=PhoneBook|CallGroup", "s filePathAndName=/tmp/1.csv|/tmp/2.csv"}},
    {"importDataForUser",
     4,
     false,
     {"s schemaName=PhoneBook|CallLog", "i userToImportFor=0|1|7",
      "s filePathAndName=/tmp/1.csv|/tmp/none"}},
    {"createPhonenumberIndices", 2, false, {}},
    {"migrateUserData", 3, false, {"s baseValues={\"ringer-melody\":\"3\"}|nothing"}},
    {"exportUserData",
     6,
     false,
     {"s newValues={\"ringer-melody\":\"\",\"key-label-100\":\"\"}", "b isBase=true|false"}},
    {"importUserData",
     6,
     false,
     {"s newValues={\"ringer-melody\":\"7\",\"key-label-100\":\"x\"}", "b isBase=true|false"}},
    {"checkDatabaseNeedsChange",
     2,
     false,
     {"i currentSwType=0|1|2", "i newSwType=0|1|2", "s newSwVersion=V1 R8.2.0|V9 R9.9.9"}},
    {"clearMobileUserdata", 2, true, {}},
    {"clearMobileUserDLSdata", 2, true, {}},
    {"copyBaseDataToVisitor", 2, true, {}},
    {"deleteVisitorUserPassword", 3, true, {}},
    {"deleteUcCredentials", 3, true, {}},
    {"AddListener", 1, false, {}},
    {"deleteFile", 3, false, {"s directory=/data/ringtones", "s name=a.mp3"}},
    {"renameFile", 3, false, {"s OldFileName=/tmp/1.csv", "s NewFileName=/tmp/2.csv"}},
    {"moveFile", 3, false, {"s OldFileName=/tmp/2.csv", "s NewFileName=/tmp/1.csv"}},
    {"readDirectory",
     5,
     false,
     {"s Directory=/data|/tmp|/", "b DirReading=true", "b FileReading=true|false",
      "b SubDirReading=true|false"}},
    {"readDirectoryTree",
     5,
     false,
     {"s Directory=/data|/tmp|/", "b DirReading=true", "b FileReading=true|false",
      "b SubDirReading=true|false"}},
};

const Remote& pick(Random& random) {
    int total = 0;
    for (const Remote& method : Methods) {
        total += method.weight;
    }
    int left = static_cast<int>(random() % static_cast<unsigned>(total));
    const Remote* picked = Methods;
    while (left >= picked->weight) {
        left -= picked->weight;
        ++picked;
    }
    return *picked;
}

Method make(const Remote& remote, Random& random) {
    Method method(remote.name);
    if (remote.parameters.empty() && std::string(remote.name) == "processRequest") {
        const std::string text = messageOf(random);
        method.addStringParameter("Request", text, Parameter::in);
        method.addIntParameter("RequestLength", static_cast<int>(text.size()), Parameter::in);
        return method;
    }
    for (const std::string parameter : remote.parameters) {
        const std::size_t sign = parameter.find('=');
        const std::string name = parameter.substr(2, sign - 2);
        std::vector<std::string> values;
        for (std::size_t at = sign; at != std::string::npos; at = parameter.find('|', at + 1)) {
            values.push_back(parameter.substr(at + 1, parameter.find('|', at + 1) - at - 1));
        }
        const std::string value = anyOf(random, values);
        switch (parameter[0]) {
            case 's':
                method.addStringParameter(name, value, Parameter::in);
                break;
            case 'i':
                method.addIntParameter(name, std::stoi(value), Parameter::in);
                break;
            default:
                method.addBoolParameter(name, value == "true", Parameter::in);
        }
    }
    return method;
}

bool isWellFormed(const std::string& answer) {
    if (answer.rfind(xml::Header, 0) != 0) {
        return answer == "base" || answer == "visitor" ||
               answer == "endOfSaveContactsToCSVRequest" || answer.find(':') != std::string::npos;
    }
    const std::string end = "</Schema>";
    return answer.rfind(std::string(xml::Header) + "<Schema name=\"", 0) == 0 &&
           answer.find("</ReasonForMessage>") != std::string::npos &&
           answer.rfind(end) == answer.size() - end.size();
}

/// Ends the process when nothing moves: a hang has no other end.
class Watchdog {
public:
    explicit Watchdog(Campaign& campaign) : m_campaign(campaign), m_thread([this] { watch(); }) {}
    ~Watchdog() {
        m_isEnding = true;
        m_thread.join();
    }
    void moved() { ++m_moves; }

private:
    void watch() {
        long seen = -1;
        auto since = std::chrono::steady_clock::now();
        while (!m_isEnding) {
            std::this_thread::sleep_for(std::chrono::milliseconds(200));
            const auto now = std::chrono::steady_clock::now();
            if (m_moves != seen) {
                seen = m_moves;
                since = now;
            } else if (now - since > LongestCall) {
                m_campaign.found("nothing moves any more");
                std::_Exit(1);
            }
        }
    }

    Campaign& m_campaign;
    std::atomic<long> m_moves{0};
    std::atomic<bool> m_isEnding{false};
    std::thread m_thread;
};

class Races {
public:
    Races(Campaign& campaign, Watchdog& watchdog) : m_campaign(campaign), m_watchdog(watchdog) {
        std::filesystem::copy(DAS_DEPLOY_DIR, m_place.onDevice("/Aurel_Deploy"),
                              std::filesystem::copy_options::recursive);
        m_context.services["LocalMgmtIfc"] = &m_management;
        m_service = std::make_unique<DataAccessService>();
        m_service->init(m_context);
        m_caller = std::make_unique<RemoteCaller>(*m_service);
        m_listener = std::make_unique<Listener>(*m_service);
        m_caller->listener = m_listener.get();
        m_service->addChangeListener(&m_changes);
    }
    ~Races() {
        m_service->removeChangeListener(&m_changes);
        m_listener->profileChangedToBase();
        // Nobody may tell it of a change any more.
        m_listener.reset();
    }

    /// @p calls from all clients, then a look at what is left.
    void phase(long calls, unsigned seed) {
        std::vector<std::thread> clients;
        for (int client = 0; client < Clients; ++client) {
            const auto own = seed * 64 + static_cast<unsigned>(client);
            clients.emplace_back([this, calls, own] {
                Random random(own);
                ChangeListener passing;
                for (long i = 0; i < calls / Clients; ++i) {
                    if (i % 8 == 0) {
                        m_service->addChangeListener(&passing);
                    }
                    callOne(random);
                    (void)m_service->lookForOthers();
                    if (i % 8 == 4) {
                        m_service->removeChangeListener(&passing);
                    }
                    m_watchdog.moved();
                }
                m_service->removeChangeListener(&passing);
            });
        }
        for (std::thread& client : clients) {
            client.join();
        }
        checkEnd();
    }

    void tell() {
        m_campaign.figure("changes heard", m_listener->heard);
        m_campaign.figure("changes of data heard", m_changes.heard);
        m_campaign.check(m_changes.heard > 0, "no change of data was heard");
        m_campaign.figure("requests of listeners", m_listener->sent);
        m_campaign.figure("calls of clients", m_calls);
        m_campaign.figure("reads of a phone book for older software", readsOfOlder);
    }

private:
    void callOne(Random& random) {
        const Remote& remote = pick(random);
        const Method request = make(remote, random);
        Method reply;
        const bool wasAnswered = m_caller->call(request, reply);
        ++m_calls;
        m_campaign.check(
            wasAnswered != remote.isOneWay,
            std::string(remote.name) + " was " + (wasAnswered ? "" : "not ") + "answered");
        std::string text;
        if (reply.getStringParameter("Response", text) && text == "failure") {
            ++m_failures;
        } else if (!text.empty()) {
            m_campaign.check(std::string(remote.name) == "processRequest" && isWellFormed(text),
                             std::string(remote.name) + " was answered '" + text + "'");
        }
    }

    void checkEnd() {
        m_campaign.check(m_failures <= readsOfOlder, "a failure of its own");
        const std::string database = m_place.database();
        if (std::filesystem::exists(database)) {
            const std::string integrity = Sql(database).cell("PRAGMA integrity_check");
            m_campaign.check(integrity == "ok", "the database: " + integrity);
        }
        m_campaign.check(m_service->invokeACMSFactoryReset(true), "no reset at the end");
        m_campaign.check(m_service->setProfile("base"), "no profile at the end");
        (void)m_service->processRequest(
            xml::message("PhoneBook", "write_request", "<Entry><Surname>last</Surname></Entry>"));
        const std::string answer =
            m_service->processRequest(xml::message("PhoneBook", "read_request"));
        m_campaign.check(answer.find("<Surname>last</Surname>") != std::string::npos,
                         "not usable at the end: " + answer);
    }

    Campaign& m_campaign;
    Watchdog& m_watchdog;
    const ScratchPlace m_place;
    Management m_management;
    TestContext m_context;
    ChangeListener m_changes;
    std::unique_ptr<DataAccessService> m_service;
    std::unique_ptr<RemoteCaller> m_caller;
    std::unique_ptr<Listener> m_listener;
    std::atomic<long> m_calls{0};
    std::atomic<long> m_failures{0};
};

// ---- Histories

std::string runCall(DataAccessService& service, const ServiceModel::Operation& operation) {
    if (operation.call == "setProfile") {
        return service.setProfile(operation.argument) ? "true" : "false";
    }
    const struct {
        const char* name;
        void (DataAccessService::*call)();
    } calls[] = {
        {"clearMobileUserdata", &DataAccessService::clearMobileUserdata},
        {"clearMobileUserDLSdata", &DataAccessService::clearMobileUserDLSdata},
        {"copyBaseDataToVisitor", &DataAccessService::copyBaseDataToVisitor},
        {"deleteVisitorUserPassword", &DataAccessService::deleteVisitorUserPassword},
        {"deleteUcCredentials", &DataAccessService::deleteUcCredentials},
    };
    for (const auto& row : calls) {
        if (operation.call == row.name) {
            (service.*row.call)();
            return "";
        }
    }
    return "no such call";
}

/// One random history; gives how many operations were answered as the model says.
long runHistory(Campaign& campaign, Watchdog& watchdog, std::uint32_t seed) {
    const ScratchPlace place;
    Management management;
    TestContext services;
    services.services["LocalMgmtIfc"] = &management;
    DataAccessService service;
    service.init(services);
    for (const std::string& message : ServiceModel::beginning()) {
        (void)service.processRequest(message);
    }
    service.clearMobileUserdata();
    ServiceModel model(seed);
    for (long i = 0; i < OperationsOfHistory; ++i) {
        const ServiceModel::Operation operation = model.next();
        const std::string answer =
            operation.call.empty()
                ? ServiceModel::canonical(service.processRequest(operation.message))
                : runCall(service, operation);
        watchdog.moved();
        if (answer != operation.answer) {
            campaign.found("history " + std::to_string(seed) + ", operation " + std::to_string(i) +
                           ": " + operation.call + operation.message + "\n  was answered " +
                           answer + "\n  and not          " + operation.answer);
            return i;
        }
    }
    return OperationsOfHistory;
}

}  // namespace

int main(int argc, char** argv) {
    Campaign campaign("races", "calls the clients make; each 20000 bring a history too", 20000,
                      argc, argv);
    Log::setLevel(2);
    Log::setSink([&campaign](const Log::Entry& entry) {
        if (entry.message.find(OlderPhoneBook) != std::string::npos) {
            ++readsOfOlder;
        } else if (entry.message.find("exception") != std::string::npos) {
            campaign.found(entry.message);
        }
    });
    GPALSleep::setSleeper([](unsigned) {});
    auto quiet = std::make_unique<QuietOutput>();
    Watchdog watchdog(campaign);
    {
        Races races(campaign, watchdog);
        for (long made = 0; made < campaign.rounds(); made += CallsOfPhase) {
            races.phase(std::min(CallsOfPhase, campaign.rounds() - made),
                        campaign.seed() + static_cast<unsigned>(made));
        }
        races.tell();
    }
    long operations = 0;
    long histories = 0;
    for (; histories * 20000 < campaign.rounds() || histories == 0; ++histories) {
        operations +=
            runHistory(campaign, watchdog, campaign.seed() + static_cast<unsigned>(histories));
    }
    quiet.reset();
    campaign.figure("clients", Clients);
    campaign.figure("histories", histories);
    campaign.figure("operations answered as the model says", operations);
    return campaign.end();
}
