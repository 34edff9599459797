// All remote methods from many threads at once, by clients with different rights, including changes
// of profile and resets, with all kinds of listeners; then random histories of one client, in which
// each answer is compared with a simple model.

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <thread>

#include "Calls.h"
#include "Campaign.h"
#include "DASListenerIfc.h"
#include "GPALSleep.h"
#include "Histories.h"
#include "Log.h"
#include "RaceCalls.h"
#include "RaceHost.h"
#include "RaceListener.h"
#include "testkit/Messages.h"
#include "testkit/Place.h"
#include "testkit/QuietOutput.h"
#include "testkit/Sql.h"

#if defined(__SANITIZE_THREAD__)
// A report of the thread sanitizer ends the process with its own exit status.
extern "C" const char* __tsan_default_options();
extern "C" const char* __tsan_default_options() {
    return "detect_deadlocks=1:second_deadlock_stack=1:history_size=4";
}
#endif

namespace {

constexpr int Clients = 16;
constexpr unsigned Listeners = 64;
constexpr long CallsOfPhase = 4000;
constexpr std::chrono::seconds LongestCall{120};
/// The exception of a read of contacts after the version gate has removed the column that older
/// software does not know. Until the next reset, such a read is answered with "failure".
const std::string OlderPhoneBook = "(which is 19) >= this->size() (which is 19)";
std::atomic<long> readsOfOlder{0};

/// Listens to changes of profile. It calls what a listener may call at once; it sends a request
/// from another thread, because the change is not over yet.
class Listener : public DASListenerIfc {
public:
    explicit Listener(DataAccessService& service) : m_service(service) {
        m_sender = std::thread([this] { send(); });
    }
    /// Stops sending.
    void end() {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_isEnding = true;
        }
        m_hasHeard.notify_all();
        m_sender.join();
    }
    void profileChangedToBase() override { hear(); }
    void profileChangedToVisitor() override { hear(); }

    std::atomic<long> heard{0};
    std::atomic<long> sent{0};

private:
    void hear() {
        // Not at every change.
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

/// Listens to committed changes in this process; is added and removed again and again.
class ChangeListener : public DASChangeListenerIfc {
public:
    void changed(const DASChange& change) override { heard += change.reason.empty() ? 0 : 1; }

    std::atomic<long> heard{0};
};

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

/// Ends the process if there is no progress, because a hang would never end.
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
        m_service.init(m_management);
        m_host.emplace(m_service, m_place.folder());
        m_service.addListener(&m_listener);
        m_service.addChangeListener(&m_changes);
    }
    ~Races() {
        m_service.removeChangeListener(&m_changes);
        m_listener.end();
        m_host.reset();
    }

    /// Makes @p calls from all clients while listeners run, then checks the results.
    void phase(long calls, unsigned seed) {
        writeLargeRows();
        std::atomic<bool> isEnding{false};
        std::vector<std::unique_ptr<RaceListener>> listeners;
        for (unsigned i = 0; i < Listeners; ++i) {
            static const std::size_t roles[] = {0, 1, 3, 1};
            // The last one to be ready; then the writers begin.
            const bool isSlow = i == Listeners - 1;
            const char* const user = i % 8 < 4 ? "base" : "visitor";
            listeners.push_back(std::make_unique<RaceListener>(
                *m_host, RaceListener::Kind{roles[i % 4], isSlow, user, seed + i}, isEnding));
        }
        std::vector<std::thread> clients;
        for (unsigned client = 0; client < Clients; ++client) {
            clients.emplace_back([=] {
                work(client % RaceCalls::roles().size(), calls / Clients, seed * 64 + client);
            });
        }
        for (std::thread& client : clients) {
            client.join();
        }
        while (!m_service.lookForOthers()) {
        }
        isEnding = true;
        for (const auto& listener : listeners) {
            listener->end();
            m_watchdog.moved();
        }
        for (const auto& listener : listeners) {
            checkListener(*listener);
            m_campaign.check(
                listener == listeners.back() || listener->order() == listeners.front()->order(),
                "two listeners were sent changes in different orders");
        }
        m_missed += listeners.front()->changes() - listeners.back()->changes();
        checkEnd();
    }

    void report() {
        m_campaign.figure("clients", Clients);
        m_campaign.figure("calls of clients", m_calls);
        m_campaign.figure("calls that a rule refuses", m_refused);
        m_campaign.figure("listeners to changes of data", Listeners);
        m_campaign.figure("changes that they were sent", m_sent);
        m_campaign.figure("changes that a slow one missed", m_missed);
        m_campaign.figure("changes of profile heard", m_listener.heard);
        m_campaign.figure("requests of listeners to them", m_listener.sent);
        m_campaign.figure("reads of a phone book for older software", readsOfOlder);
        m_campaign.check(m_changes.heard > 0, "no change of data was heard");
        m_campaign.check(m_missed > 0, "no listener has missed changes");
        m_campaign.check(m_host->refused() == m_refused,
                         "the host has refused " + std::to_string(m_host->refused()) +
                             " calls and not " + std::to_string(m_refused));
    }

private:
    /// More than may wait for a client with changes: 8 MiB. Another connection writes the rows, and
    /// the service must notice this before there are listeners.
    void writeLargeRows() {
        (void)m_service.processRequest(xml::message("Certificates", "read_request"));
        const std::string wrong =
            Sql(m_place.database())
                .run(
                    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10) "
                    "INSERT OR REPLACE INTO CERTIFICATES (Id, Issuer) "
                    "SELECT 'large' || i, hex(zeroblob(500000)) FROM n;");
        m_campaign.check(wrong.empty(), "large rows: " + wrong);
        m_campaign.check(m_service.lookForOthers(), "the service can't look for others' changes");
    }

    /// A write of another process. It may fail, because a reset may have removed the table.
    void writeAsAnother(long number) {
        (void)Sql(m_place.database())
            .run("UPDATE PHONE_BOOK SET Company = " + std::to_string(number) +
                 " WHERE UniqueID % 3 = 0");
    }

    /// One client.
    void work(std::size_t role, long calls, unsigned seed) {
        std::mt19937 random(seed);
        ChangeListener passing;
        const auto client = m_host->makeClient(role);
        for (long i = 0; i < calls; ++i) {
            if (i % 8 == 0) {
                m_service.addChangeListener(&passing);
            }
            callOne(client, role, RaceCalls::next(random));
            if (i % 32 == 16) {
                writeAsAnother(i);
            }
            (void)m_service.lookForOthers();
            if (i % 8 == 4) {
                m_service.removeChangeListener(&passing);
            }
            m_watchdog.moved();
        }
        m_service.removeChangeListener(&passing);
    }

    void callOne(const std::shared_ptr<Client>& client, std::size_t role,
                 const RaceCalls::Call& call) {
        std::string wrong;
        const auto answer = m_host->call(client, role, call, wrong);
        ++m_calls;
        m_refused += RaceCalls::roles()[role].may(call.rights, call.schema) ? 0 : 1;
        m_campaign.check(wrong.empty(), wrong);
        const std::string text = answer ? Calls::responseIn(*answer) : "";
        if (text == "failure") {
            ++m_failures;
        } else {
            m_campaign.check(text.empty() || isWellFormed(text),
                             call.method.getName() + " was answered '" + text + "'");
        }
    }

    void checkListener(RaceListener& listener) {
        m_campaign.check(listener.wrong().empty(), listener.wrong());
        m_campaign.check(listener.picture() == listener.truth(),
                         "a listener's picture is old:\n  " + listener.picture() +
                             "\n  and not\n  " + listener.truth());
        m_sent += listener.changes();
        m_refused += listener.refusals();
        m_allowed[listener.role()] += listener.allowed();
    }

    void checkEnd() {
        m_campaign.check(m_failures <= readsOfOlder, "a failure of its own");
        for (std::size_t role = 0; role < RaceCalls::roles().size(); ++role) {
            const long reached = m_host->reachedBySocket(role);
            m_campaign.check(reached == m_allowed[role],
                             std::to_string(reached) +
                                 " messages of listeners reached the service, " +
                                 std::to_string(m_allowed[role]) + " are allowed");
        }
        const std::string database = m_place.database();
        if (std::filesystem::exists(database)) {
            const std::string integrity = Sql(database).cell("PRAGMA integrity_check");
            m_campaign.check(integrity == "ok", "the database: " + integrity);
        }
        m_campaign.check(m_service.invokeACMSFactoryReset(true), "no reset at the end");
        m_campaign.check(m_service.setProfile("base"), "no profile at the end");
        (void)m_service.processRequest(
            xml::message("PhoneBook", "write_request", "<Entry><Surname>last</Surname></Entry>"));
        const std::string answer =
            m_service.processRequest(xml::message("PhoneBook", "read_request"));
        m_campaign.check(answer.find("<Surname>last</Surname>") != std::string::npos,
                         "not usable at the end: " + answer);
    }

    Campaign& m_campaign;
    Watchdog& m_watchdog;
    const ScratchPlace m_place;
    RaceManagement m_management;
    ChangeListener m_changes;
    DataAccessService m_service;
    Listener m_listener{m_service};
    std::optional<RaceHost> m_host;
    std::atomic<long> m_calls{0};
    std::atomic<long> m_failures{0};
    std::atomic<long> m_refused{0};
    long m_sent = 0;
    long m_missed = 0;
    std::map<std::size_t, long>
        m_allowed;  ///< messages of listeners that may reach the service, by role
};

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
        races.report();
    }
    long histories = 0;
    do {
        runHistory(campaign, campaign.seed() + static_cast<unsigned>(histories),
                   [&] { watchdog.moved(); });
        ++histories;
    } while (histories * 20000 < campaign.rounds());
    quiet.reset();
    campaign.figure("histories", histories);
    return campaign.end();
}
