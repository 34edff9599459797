#include <condition_variable>
#include <future>
#include <thread>

#include "DASListenerIfc.h"
#include "dao/DASUtils.h"
#include "dao/DataAccessObject.h"
#include "database/DatabaseAdapter.h"
#include "database/DbFactory.h"
#include "schemas/DAOFactory.h"
#include "testkit/RecordingAdapter.h"
#include "testkit/RecordingManagement.h"

namespace {

class RecordingListener : public DASListenerIfc {
public:
    explicit RecordingListener(std::string name, std::vector<std::string>& heard)
        : m_name(std::move(name)), m_heard(heard) {}
    void profileChangedToBase() override { m_heard.push_back(m_name + " base"); }
    void profileChangedToVisitor() override { m_heard.push_back(m_name + " visitor"); }

private:
    std::string m_name;
    std::vector<std::string>& m_heard;
};

/// Returns the first adapter of a round late: after another reset has ended, if one ends.
class LateFactory : public DbFactory {
public:
    DatabaseAdapter* createDatabase() override {
        DatabaseAdapter* const made = DbFactory::createDatabase();
        std::unique_lock<std::mutex> lock(m_mutex);
        if (std::exchange(m_isFirst, false)) {
            m_changed.wait_for(lock, std::chrono::milliseconds(100), [this] { return m_hasEnded; });
        }
        return made;
    }
    void beginRound() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isFirst = true;
        m_hasEnded = false;
    }
    void endReset() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_hasEnded = true;
        m_changed.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isFirst = false;
    bool m_hasEnded = false;
};

class MobilityTest : public ServiceTest {
protected:
    static constexpr const char* MobilityRow =
        "INSERT OR REPLACE INTO GENERAL_CONFIG VALUES('MobilitySettings','','";

    void store(const std::string& item, const std::string& value) {
        sql(MobilityRow + item + "','" + value + "')");
    }
    std::string stored(const std::string& item) {
        return cell("SELECT Value FROM GENERAL_CONFIG WHERE Schema='MobilitySettings' AND Name='" +
                    item + "'");
    }
    std::string count(const std::string& table, const std::string& user) {
        return cell("SELECT COUNT(*) FROM " + table + " WHERE UserContext='" + user + "'");
    }
    std::string label(const std::string& user) {
        return cell("SELECT Label FROM FEATURE_KEYS WHERE Id='100' AND UserContext='" + user + "'");
    }
    void writeLabel(const std::string& user, const std::string& text) {
        send("FeatureKeys", "update_request",
             xml::context(user, xml::entry({{"Id", "100"}, {"Label", text}})));
    }
};

}  // namespace

TEST_F(MobilityTest, TheStartTakesTheStoredUserAsItsRulesSay) {
    const struct {
        const char* name;
        const char* user;
        const char* basic;
        const char* valid;
        const char* current;
        const char* storedAfterwards;
    } rows[] = {
        {"visitor with his data", "visitor", "false", "true", "visitor", "visitor"},
        {"download not ended", "visitor", "false", "false", "base", "base"},
        {"basic mode", "visitor", "true", "true", "base", "visitor"},
        {"base", "base", "false", "false", "base", "base"},
        {"blank", "", "false", "true", "base", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        store("MobilityCurrentUser", row.user);
        store("ActiveMobilityModeIsBasic", row.basic);
        store("VisitorUserDataValid", row.valid);
        start();
        EXPECT_EQ(send("getCurrentUser"), row.current);
        EXPECT_EQ(stored("MobilityCurrentUser"), row.storedAfterwards);
    }
}

TEST_F(MobilityTest, MissingRowsMeanAValidVisitorOutsideBasicMode) {
    sql("DELETE FROM GENERAL_CONFIG");
    store("MobilityCurrentUser", "visitor");
    start();
    EXPECT_EQ(send("getCurrentUser"), "visitor");
    sql("DROP TABLE GENERAL_CONFIG");
    DatabaseAdapter& adapter = *service().getAdapter();
    EXPECT_TRUE(DASUtils::isActiveMobilityModeIsBasic(&adapter)) << "an unreadable table is basic";
    EXPECT_TRUE(DASUtils::isMobilityVisitorUserDataValid(&adapter));
    EXPECT_EQ(DASUtils::readMobilityCurrentUserValue(&adapter), "");
}

TEST_F(MobilityTest, AVisitorGetsCopiesAndChangesLeaveTheOwnerAlone) {
    writeLabel("base", "mine");
    EXPECT_TRUE(service().setProfile("visitor"));
    EXPECT_EQ(label("visitor"), "mine");
    writeLabel("visitor", "his");
    EXPECT_TRUE(service().setProfile("base"));
    EXPECT_EQ(label("base"), "mine");
    EXPECT_EQ(label("visitor"), "his") << "a change to base deletes the password alone";
    start();
    EXPECT_EQ(count("FEATURE_KEYS", "visitor"), "0") << "each start in base wipes the visitor";
    EXPECT_EQ(count("FEATURE_KEYS", "base"), "177");
}

// The change succeeded, and the guest saw what an earlier guest had left.
TEST_F(MobilityTest, AGuestWhoseDataCannotBeMadeIsRefused) {
    std::vector<std::string> heard;
    RecordingListener listener("1", heard);
    service().addListener(&listener);
    writeLabel("base", "owner");
    writeLabel("visitor", "earlier guest");
    waitForNobody(*service().getAdapter());
    for (const char* locks : {"BEGIN IMMEDIATE", "BEGIN EXCLUSIVE"}) {
        Blocker blocker(database(), locks);
        EXPECT_FALSE(service().setProfile("visitor")) << locks;
        EXPECT_EQ(send("getCurrentUser"), "base") << locks;
        EXPECT_EQ(m_log.count("Failed to begin transaction"), 1) << "the walk ends there";
        m_log.clear();
    }
    EXPECT_EQ(label("visitor"), "earlier guest");
    EXPECT_TRUE(service().setProfile("visitor"));
    EXPECT_EQ(label("visitor"), "owner");
    EXPECT_EQ(heard, std::vector<std::string>{"1 visitor"});
}

// What the client wrote between the deletion and the copies was all that the guest got.
TEST_F(MobilityTest, AGuestGetsAllKeysWhileAClientWrites) {
    writeLabel("base", "owner");
    std::atomic<bool> ended{false};
    auto client = std::async(std::launch::async, [&] {
        while (!ended) {
            writeLabel("visitor", "his");
        }
    });
    const std::unique_ptr<DataAccessObject> keys(
        service().getDAOFactory()->createDAOInstance("FeatureKeys"));
    for (int i = 0; i < 60; ++i) {
        EXPECT_EQ(keys->copyBaseDataToVisitor(), 0);
        EXPECT_EQ(count("FEATURE_KEYS", "visitor"), "177");
    }
    ended = true;
}

TEST_F(MobilityTest, ChangesOfProfileAreToldInOrderAndAVisitorAgainToo) {
    std::vector<std::string> heard;
    RecordingListener first("1", heard);
    RecordingListener second("2", heard);
    for (DASListenerIfc* listener :
         {static_cast<DASListenerIfc*>(&first), static_cast<DASListenerIfc*>(nullptr),
          static_cast<DASListenerIfc*>(&second)}) {
        service().addListener(listener);
    }
    const struct {
        const char* profile;
        bool valid;
        std::vector<std::string> heard;
    } rows[] = {
        {"base", true, {}},
        {"visitor", true, {"1 visitor", "2 visitor"}},
        {"visitor", true, {"1 visitor", "2 visitor"}},
        {"", false, {}},
        {"base", true, {"1 base", "2 base"}},
        {"base", true, {}},
    };
    for (const auto& row : rows) {
        heard.clear();
        EXPECT_EQ(service().setProfile(row.profile), row.valid) << row.profile;
        EXPECT_EQ(heard, row.heard) << row.profile;
    }
    EXPECT_TRUE(m_log.has(2, "Invalid m_current user visitor"));
}

TEST_F(MobilityTest, TheVisitorsPasswordsGoAndTheOwnersStay) {
    for (const char* user : {"base", "visitor"}) {
        for (const char* item : {"UserHashedPwd", "UserStatus", "UserChangedBy", "UserMD5Hash",
                                 "UserPassword", "WSIUsername", "WSIPassword", "Theme"}) {
            sql("INSERT INTO GENERAL_CONFIG VALUES('Passwords','" + std::string(user) + "','" +
                item + "','v')");
        }
    }
    service().deleteVisitorUserPassword();
    EXPECT_EQ(count("GENERAL_CONFIG", "visitor"), "3");
    service().deleteUcCredentials();
    EXPECT_EQ(cell("SELECT Name FROM GENERAL_CONFIG WHERE UserContext = 'visitor'"), "Theme");
    EXPECT_EQ(count("GENERAL_CONFIG", "base"), "8");
}

TEST_F(MobilityTest, AResetClosesTheServiceUntilAProfileOpensIt) {
    RecordingManagement management;
    send("FeatureKeys", "read_request");
    EXPECT_FALSE(service().invokeACMSFactoryReset(true)) << "without the management service";
    m_context.services["LocalMgmtIfc"] = &management;
    EXPECT_FALSE(service().invokeACMSFactoryReset(false));
    EXPECT_EQ(management.resets, 1);
    EXPECT_FALSE(std::filesystem::exists(database()));
    EXPECT_EQ(send("getCurrentUser"), "base");
    EXPECT_EQ(xml::reasonOf(send("FeatureKeys", "read_request")), "failure");
    EXPECT_FALSE(service().exportData("FeatureKeys", base, "/tmp/x.csv"));
    EXPECT_TRUE(service().setProfile("base"));
    EXPECT_EQ(xml::reasonOf(send("FeatureKeys", "read_request")), "failure")
        << "open again, but nothing reaches the closed database";
    EXPECT_TRUE(service().invokeACMSFactoryReset(true));
    EXPECT_EQ(management.resets, 1);
    EXPECT_EQ(xml::reasonOf(send("FeatureKeys", "read_request")), "read_response");
}

TEST_F(MobilityTest, ResetsUnderRequestsAnswerEachOfThem) {
    RecordingManagement management;
    m_context.services["LocalMgmtIfc"] = &management;
    auto* const factory = new LateFactory;
    service().setDbFactory(factory);
    service().constructorActions();
    std::atomic<bool> ended{false};
    std::vector<std::thread> clients;
    std::atomic<int> unanswered{0};
    for (int i = 0; i < 4; ++i) {
        clients.emplace_back([&] {
            while (!ended) {
                const std::string answer = send("FixedKeys", "read_request");
                unanswered += answer.find("</Schema>") == std::string::npos ? 1 : 0;
            }
        });
    }
    const auto reset = [&] {
        EXPECT_TRUE(service().factoryReset());
        EXPECT_TRUE(service().invokeACMSFactoryReset(true));
        factory->endReset();
    };
    for (int i = 0; i < 5; ++i) {
        // The second reset removed the new file of the first: all requests failed until a restart.
        factory->beginRound();
        auto other = std::async(std::launch::async, reset);
        reset();
        other.get();
        EXPECT_TRUE(service().setProfile(i % 2 == 0 ? "visitor" : "base"));
        EXPECT_EQ(xml::reasonOf(send("FixedKeys", "read_request")), "read_response");
    }
    ended = true;
    for (auto& client : clients) {
        client.join();
    }
    EXPECT_EQ(unanswered, 0);
}
