// What listeners hear of committed changes.

#include <atomic>
#include <map>
#include <random>
#include <thread>

#include "DASListenerIfc.h"
#include "schemas/DAOFactory.h"
#include "testkit/RecordingAdapter.h"
#include "testkit/RecordingManagement.h"

namespace {

using xml::context;
using xml::entry;

/// Notes each change as "schema|context|reason|id".
class Hearing : public DASChangeListenerIfc, public DASListenerIfc {
public:
    void changed(const DASChange& change) override {
        note(change.schema + "|" + change.context + "|" + change.reason + "|" + change.id);
    }
    void profileChangedToBase() override { note("base"); }
    void profileChangedToVisitor() override { note("visitor"); }

    /// What was heard since the last call.
    std::vector<std::string> take() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_heard, {});
    }

private:
    void note(std::string text) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_heard.push_back(std::move(text));
    }

    std::mutex m_mutex;
    std::vector<std::string> m_heard;
};

using Heard = std::vector<std::string>;
const std::string Anything = "|||";

template <typename Base>
class ListeningTest : public Base {
protected:
    void SetUp() override {
        writeFile(this->onDevice("/Aurel_Deploy/DasGenConfigDeviceDataItems.csv"),
                  "TransportSettings\n");
        writeFile(this->onDevice("/Aurel_Deploy/DasTagMappings.csv"),
                  "#$VERSION=3\n#$COLUMNS=<DAStag>,<ACMStag>,<DASschema>\n"
                  "Melody,melody,AudioSettings\nLabel,key-,FeatureKeys\n");
        this->m_context.services["LocalMgmtIfc"] = &m_management;
        Base::SetUp();
        this->service().addChangeListener(&m_hearing);
    }

    RecordingManagement m_management;
    Hearing m_hearing;
};

using ChangesTest = ListeningTest<RecordedServiceTest>;
using ChangesOfManyTest = ListeningTest<ServiceTest>;

std::string contact(const std::string& surname) {
    return entry({{"Surname", surname}, {"Office", "1"}});
}

std::string select(const std::string& field, const std::string& value) {
    return xml::element("Select", xml::element(field, value));
}

}  // namespace

// One after the other, on one database.
TEST_F(ChangesTest, EachRequestIsHeardAsWhatItHasChanged) {
    const std::string none;
    const std::string longKey(257, 'k');
    struct {
        const char* schema;
        const char* reason;
        std::string body;
        std::string heard;  ///< blank for nothing
    } const rows[] = {
        // Contacts; the first request makes the table.
        {"PhoneBook", "read_request", none, none},
        {"PhoneBook", "write_request", contact("a"), "PhoneBook|base|write_request|1"},
        {"PhoneBook", "write_request", contact("b") + contact("c"),
         "PhoneBook|base|write_request|"},
        {"PhoneBook", "write_request", context("visitor", contact("d")),
         "PhoneBook|visitor|write_request|4"},
        {"PhoneBook", "write_request", context("somebody", contact("e")),
         "PhoneBook||write_request|5"},
        // The last entry fails, the first one stays.
        {"PhoneBook", "write_request", contact("f") + entry({{"UniqueID", "x"}}),
         "PhoneBook|base|write_request|6"},
        {"PhoneBook", "write_request", entry({{"UniqueID", "x"}}), none},
        // An update reaches contacts of any user.
        {"PhoneBook", "update_request", select("UniqueID", "4") + contact("g"),
         "PhoneBook|visitor|update_request|4"},
        // A write takes the place of the visitor's contact.
        {"PhoneBook", "write_request", entry({{"UniqueID", "4"}, {"Surname", "g"}}),
         "PhoneBook||write_request|4"},
        {"PhoneBook", "update_request", select("Surname", "a") + contact("h"),
         "PhoneBook||update_request|"},
        {"PhoneBook", "update_request", select("UniqueID", "99") + contact("i"), none},
        {"PhoneBook", "delete_request", entry({{"UniqueID", "2"}}),
         "PhoneBook|base|delete_request|2"},
        {"PhoneBook", "delete_request", entry({{"UniqueID", "2"}}), none},
        {"PhoneBook", "delete_request", none, "PhoneBook|base|delete_request|"},
        {"PhoneBook", "search_phone_number", entry({{"Office", "1"}}), none},
        {"CallGroup", "update_request", select("CallGroup", "3") + entry({{"RingToneID", "7"}}),
         "CallGroup|base|update_request|3"},
        {"CallGroup", "reset_request", none, "CallGroup|base|reset_request|"},
        // Calls and conversations.
        {"CallLogMissedCalls", "write_request", entry({{"Surname", "a"}}),
         "CallLogMissedCalls|base|write_request|1"},
        {"CallLogDialledCalls", "delete_request", entry({{"UniqueId", "1"}}), none},
        {"CallLogAndPhoneBook", "write_request", entry({{"UniqueId", "7"}, {"Surname", "b"}}),
         "CallLogAndPhoneBook|base|write_request|7"},
        {"CallLog", "delete_request", none, "CallLog|base|delete_request|"},
        {"Conversations", "write_request", entry({{"PhonebookId", "1"}, {"CallLogId", "7"}}),
         "Conversations|base|write_request|1"},
        {"Conversations", "delete_request", entry({{"PhonebookId", "1"}}),
         "Conversations|base|delete_request|"},
        // Keys.
        {"FeatureKeys", "update_request", "<Id> 100 </Id><Label>a</Label>",
         "FeatureKeys|base|update_request|100"},
        {"FeatureKeys", "update_request",
         context("visitor",
                 entry({{"Id", "100"}, {"Label", "b"}}) + entry({{"Id", "101"}, {"Label", "c"}})),
         "FeatureKeys|visitor|update_request|"},
        {"FeatureKeys", "update_request", entry({{"Id", "100"}, {"Nope", "b"}}), none},
        {"FeatureKeys", "write_request", entry({{"Id", "100"}, {"Label", "b"}}), none},
        {"StimulusKeySettings", "update_request", entry({{"Id", "100"}, {"SendUrlPort", "1"}}),
         "StimulusKeySettings|base|update_request|100"},
        // Settings: the item, and whose it is.
        {"AudioSettings", "write_request", "<Melody>a</Melody>",
         "AudioSettings|base|write_request|Melody"},
        {"AudioSettings", "write_request", "<Melody>a</Melody>", none},
        {"AudioSettings", "write_request", "<Melody>b</Melody><Tone>a</Tone>",
         "AudioSettings|base|write_request|Tone"},
        {"AudioSettings", "update_request", "<Melody>c</Melody><Tone>b</Tone>",
         "AudioSettings|base|update_request|"},
        {"AudioSettings", "update_request",
         "<Melody>d</Melody><Context currentUser=\"visitor\"><Melody>e</Melody></Context>",
         "AudioSettings||update_request|Melody"},
        {"TransportSettings", "update_request", "<Port>1</Port>",
         "TransportSettings||update_request|Port"},
        {"AudioSettings", "delete_request", "<Name>Melody</Name>",
         "AudioSettings||delete_request|Melody"},
        {"AudioSettings", "delete_request", "<Tone/><Port/>", "||delete_request|"},
        // Rows of the telephone, by their key.
        {"Certificates", "write_request", entry({{"Id", "it's"}, {"Issuer", "x"}}),
         "Certificates||write_request|it's"},
        {"CertificateKeys", "write_request", entry({{"Id", longKey}}),
         "CertificateKeys||write_request|"},
        {"Certificates", "delete_request", entry({{"Issuer", "x"}}), none},
        {"DialPlanEntries", "write_request", entry({{"Action", "dial"}}),
         "DialPlanEntries||write_request|1"},
        {"DialPlanEntries", "delete_request", entry({{"Action", "dial"}}),
         "DialPlanEntries||delete_request|"},
        {"DialPlanEntries", "write_request", entry({{"Id", " +9 "}, {"Action", "dial"}}),
         "DialPlanEntries||write_request|9"},
        {"BluetoothTrusted", "write_request", context("visitor", entry({{"Id", "aa:bb"}})),
         "BluetoothTrusted|visitor|write_request|aa:bb"},
        {"CodecSettings", "update_request", entry({{"CodecType", "1"}, {"CodecRank", "1"}}),
         "CodecSettings||update_request|1"},
        {"Unknown", "write_request", contact("a"), none},
    };
    for (const auto& row : rows) {
        const std::string answer = send(row.schema, row.reason, row.body);
        EXPECT_EQ(m_hearing.take(), row.heard.empty() ? Heard() : Heard{row.heard})
            << row.schema << " " << row.body << "\n"
            << answer;
    }
    (void)send("<!-- Schema=\"AudioSettings\" --><Schema name=\"ClockSettings\">" +
               xml::element("ReasonForMessage", "write_request") + "<Zone>1</Zone></Schema>");
    EXPECT_EQ(m_hearing.take(), Heard{"|base|write_request|Zone"}) << "word and element differ";
}

TEST_F(ChangesTest, EverySchemaOfKeysIsHeardByItsName) {
    int heard = 0;
    for (const std::string& schema : DAOFactory::schemas()) {
        const std::unique_ptr<DataAccessObject> dao(
            service().getDAOFactory()->createDAOInstance(schema));
        const auto& columns = dao->columns();
        if (dao->defaultRowIds().empty() || columns.size() < 3 || schema == "CallGroup") {
            continue;
        }
        ++heard;
        const bool isOfUser = columns[0].name == "UserContext";
        const std::string& key = columns[isOfUser ? 1 : 0].name;
        const std::string& id = dao->defaultRowIds().front();
        sql("DROP TABLE IF EXISTS " + dao->tableName());
        service().constructorActions();
        (void)send(schema, "read_request");
        EXPECT_EQ(m_hearing.take(), Heard{}) << "a read of " << schema << " makes the table";
        (void)send(schema, "update_request", entry({{key, id}, {columns[2].name, "1"}}));
        EXPECT_EQ(m_hearing.take(),
                  Heard{schema + "|" + (isOfUser ? "base" : "") + "|update_request|" + id});
    }
    EXPECT_GT(heard, 20);
}

TEST_F(ChangesOfManyTest, EachMethodIsHeardOnceAsAWhole) {
    const std::string path = "/tmp/keys.csv";
    constexpr auto software = static_cast<eSwType>(1);
    std::map<std::string, std::string> values = {{"melody", "a"}, {"key-100", "b"}};
    struct {
        std::function<void()> call;
        Heard heard;
    } const rows[] = {
        {[&] { service().importUserData(values, true); }, {"||importUserData|"}},
        {[&] { service().exportData("Analytics", base, path); }, {}},
        {[&] { service().importData("Analytics", path); }, {"Analytics||importData|"}},
        {[&] { service().importData("Analytics", visitor, path); },
         {"Analytics|visitor|importDataForUser|"}},
        {[&] { service().importData("Analytics", visitor, "/tmp/none.csv"); }, {}},
        {[&] { service().importData("CodecSettings", visitor, path); }, {}},
        {[&] {
             (void)send("CallLogMissedCalls", "write_request", entry({{"Surname", "a"}}));
             service().importData("XCallLogX", base, "/tmp/none.csv");
         },
         {"CallLogMissedCalls|base|write_request|1", "|base|importDataForUser|"}},
        {[&] {
             (void)send("CallLog", "write_request", entry({{"Surname", "a"}}));
             service().importData("CallLogMissedCalls", base, "/tmp/none.csv");
         },
         {"CallLog|base|write_request|2", "CallLogMissedCalls|base|importDataForUser|"}},
        {[&] { service().createPhonenumberIndices(); }, {}},
        {[&] { service().setProfile("guest"); }, {}},
        {[&] { service().setProfile("visitor"); }, {"visitor", "||setProfile|"}},
        {[&] { service().clearMobileUserdata(); }, {"||clearMobileUserdata|"}},
        {[&] { service().clearMobileUserDLSdata(); }, {}},
        {[&] { service().copyBaseDataToVisitor(); }, {"||copyBaseDataToVisitor|"}},
        {[&] { service().deleteUcCredentials(); }, {}},
        {[&] { service().setProfile("base"); }, {"base", "||setProfile|"}},
        {[&] { service().migrateUserData(values); }, {"||migrateUserData|"}},
        {[&] {
             (void)send("PhoneBook", "write_request", contact("a"));
             service().checkDatabaseNeedsChange(software, software, "V1 R8.2.125");
         },
         {"PhoneBook|visitor|write_request|1", "||checkDatabaseNeedsChange|"}},
        {[&] { service().invokeACMSFactoryReset(true); }, {"||invokeACMSFactoryReset|"}},
        {[&] { (void)send("PhoneBook", "write_request", contact("a")); },
         {"PhoneBook|visitor|write_request|1"}},
        {[&] { service().factoryReset(); }, {"||factoryReset|"}},
        {[&] { (void)send("PhoneBook", "write_request", contact("a")); }, {}},
    };
    service().addListener(&m_hearing);
    (void)send("PhoneBook", "read_request");
    (void)send("Analytics", "read_request");
    int place = 0;
    for (const auto& row : rows) {
        row.call();
        EXPECT_EQ(m_hearing.take(), row.heard) << "row " << place;
        ++place;
    }
}

TEST_F(ChangesTest, WhatIsRolledBackIsNotHeard) {
    (void)send("FeatureKeys", "read_request");
    (void)send("PhoneBook", "read_request");
    const std::string two =
        entry({{"Id", "100"}, {"Label", "a"}}) + entry({{"Id", "101"}, {"Label", "b"}});
    m_adapter->intercept = failing("END", 1, SQLITE_FULL);
    (void)send("FeatureKeys", "update_request", two);
    EXPECT_EQ(m_hearing.take(), Heard{}) << "a commit that failed";
    m_adapter->intercept = failing("UPDATE", 2, SQLITE_FULL);
    (void)send("FeatureKeys", "update_request", two);
    EXPECT_EQ(m_hearing.take(), Heard{"FeatureKeys|base|update_request|100"});
    m_adapter->intercept = nullptr;
    sql("CREATE TRIGGER refuse BEFORE INSERT ON PHONE_BOOK WHEN NEW.Surname = 'bad' "
        "BEGIN SELECT RAISE(ROLLBACK, 'no'); END;");
    (void)send("PhoneBook", "write_request", contact("a") + contact("bad"));
    EXPECT_EQ(m_hearing.take(), Heard{Anything}) << "the trigger is another's change";
    (void)send("PhoneBook", "write_request", contact("a") + contact("bad") + contact("c"));
    EXPECT_EQ(m_hearing.take(), Heard{"PhoneBook|base|write_request|"});
    EXPECT_EQ(cell("SELECT group_concat(Surname) FROM PHONE_BOOK"), "c");
    EXPECT_TRUE(lockIsFree(*m_adapter));
}

TEST_F(ChangesTest, AnotherProcessIsHeardInItsPlace) {
    (void)send("PhoneBook", "write_request", contact("own"));
    sql("INSERT INTO PHONE_BOOK(UserContext, Surname) VALUES('base', 'other');");
    (void)send("PhoneBook", "write_request", contact("own"));
    EXPECT_EQ(m_hearing.take(), (Heard{"PhoneBook|base|write_request|1", Anything,
                                       "PhoneBook|base|write_request|3"}));
    EXPECT_TRUE(service().lookForOthers());
    EXPECT_EQ(m_hearing.take(), Heard{}) << "own commits are no other's";
    sql("UPDATE PHONE_BOOK SET Surname = 'new';");
    service().clearMobileUserdata();
    EXPECT_EQ(m_hearing.take(), (Heard{Anything, "||clearMobileUserdata|"}))
        << "each transaction looks too";
    sql("DELETE FROM PHONE_BOOK;");
    EXPECT_TRUE(service().lookForOthers());
    EXPECT_TRUE(service().lookForOthers());
    EXPECT_EQ(m_hearing.take(), Heard{Anything});
    {
        const Blocker blocker(database());
        EXPECT_FALSE(service().lookForOthers()) << "a look does not wait";
        service().removeChangeListener(&m_hearing);
        service().constructorActions();
        service().addChangeListener(&m_hearing);
    }
    sql("UPDATE PHONE_BOOK SET Surname = 'other';");
    EXPECT_TRUE(service().lookForOthers());
    EXPECT_EQ(m_hearing.take(), Heard{Anything}) << "its first look could not read";
    std::filesystem::rename(database(), place() / "moved.db");
    EXPECT_TRUE(service().lookForOthers());
    EXPECT_TRUE(service().lookForOthers());
    EXPECT_EQ(m_hearing.take(), Heard{Anything}) << "another's reset took the file away";
}

TEST_F(ChangesTest, WithoutAListenerNothingIsAsked) {
    (void)send("PhoneBook", "read_request");
    service().removeChangeListener(&m_hearing);
    const auto steps = [&] {
        m_adapter->statements.clear();
        (void)send("PhoneBook", "write_request", contact("a"));
        return m_adapter->statements.size();
    };
    const std::size_t unheard = steps();
    EXPECT_EQ(m_hearing.take(), Heard{});
    service().addChangeListener(&m_hearing);
    EXPECT_EQ(steps(), unheard);
    EXPECT_EQ(m_hearing.take(), Heard{"PhoneBook|base|write_request|2"});
    service().addChangeListener(nullptr);
}

// While a change is not heard yet, no reader sees it.
TEST_F(ChangesOfManyTest, NoReaderSeesAChangeBeforeItIsHeard) {
    class Count : public DASChangeListenerIfc {
    public:
        void changed(const DASChange& change) override { heard += change.id == "Melody" ? 1 : 0; }
        std::atomic<int> heard{0};
    } count;
    (void)send("AudioSettings", "write_request", "<Melody>0</Melody>");
    service().addChangeListener(&count);
    std::atomic<bool> isDone{false};
    std::thread reader([&] {
        while (!isDone) {
            Rows rows;
            const int status = service().getAdapter()->executeSQLQuery(
                "SELECT Value FROM GENERAL_CONFIG WHERE Name = 'Melody'", rows);
            const int heard = count.heard;
            ASSERT_EQ(status, 0);
            ASSERT_LE(std::stoi(rows.at(0).at(0)), heard);
            std::this_thread::yield();
        }
    });
    for (int i = 1; i <= 300; ++i) {
        (void)send("AudioSettings", "update_request", xml::element("Melody", std::to_string(i)));
    }
    isDone = true;
    reader.join();
    service().removeChangeListener(&count);
}
