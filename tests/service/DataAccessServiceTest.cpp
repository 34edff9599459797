#include "DataAccessService.h"

#include <cstring>

#include "DAOFactory.h"
#include "DbFactory.h"
#include "RecordingAdapter.h"

using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStdout;

namespace {

class DataAccessServiceTest : public ServiceTest {
protected:
    ~DataAccessServiceTest() override {
        DatabaseAdapter::setWhetherRequestContentShowableOnTheAurelTrace(true);
    }
    static std::string label(const std::string& value) {
        return "<Id>100</Id>" + xml::element("Label", value);
    }
    /// Whether an ordinary request is served, and the table whole.
    bool isAlive() {
        return send("FeatureKeys", "read_request", "<ResultCols>Locked</ResultCols><Id>100</Id>") ==
                   xml::message("FeatureKeys", "read_response",
                                xml::entry({{"Locked", "false"}})) &&
               cell("SELECT COUNT(*) FROM FEATURE_KEYS") == "354";
    }
};

const std::string ReadTrace = "getWhetherRequestContentShowableOnTheAurelTrace";
const std::string SetTrace = "setWhetherRequestContentShowableOnTheAurelTrace";
const std::string NoAdapter = "error, m_dbAdapter is not defined.";

/// Tells when it is deleted.
class CountedFactory : public DbFactory {
public:
    explicit CountedFactory(int& deleted) : m_deleted(deleted) {}
    ~CountedFactory() override { ++m_deleted; }

private:
    int& m_deleted;
};

/// Makes nothing.
class EmptyFactory : public DbFactoryIfc {
public:
    DatabaseAdapterIfc* createDatabase() override { return nullptr; }
    void destroyDatabase() override {}
};

}  // namespace

TEST_F(DataAccessServiceTest, WordsAreAnsweredAsWholeTexts) {
    const std::pair<std::string, std::string> rows[] = {
        {"getCurrentUser", "base"},
        {"getDefaultKeyData", "30:65:;31:64:;"},
        {ReadTrace, "1"},
        // The number is read from the whole message, so any switches it off.
        {SetTrace + "1", SetTrace + " is sent"},
        {ReadTrace, "0"},
        {SetTrace, SetTrace + " is sent"},
        {ReadTrace, "0"},
        {"getCurrentUser ", xml::message("", "failure")},
        {ReadTrace + "1", xml::message("", "failure")},
    };
    for (const auto& [word, answer] : rows) {
        EXPECT_EQ(service().processRequest(word.c_str(), 0), answer) << "the length plays no part";
    }
    EXPECT_EQ(service().processRequest(nullptr, 5), "");
}

TEST_F(DataAccessServiceTest, BeforeInitRequestsAreRefusedByName) {
    const std::string update = xml::message("FeatureKeys", "update_request", label("x"));
    DataAccessService early;
    EXPECT_EQ(early.processRequest("getCurrentUser", 14), "base");
    EXPECT_EQ(early.processRequest(ReadTrace), NoAdapter);
    EXPECT_EQ(early.processRequest(SetTrace), NoAdapter);
    EXPECT_EQ(early.processRequest("getDefaultKeyData"), "");
    EXPECT_EQ(early.getAdapter(), nullptr);
    for (int round = 0; round < 2; ++round) {
        m_log.clear();
        CaptureStdout();
        EXPECT_EQ(early.processRequest(update), xml::message("FeatureKeys", "failure"));
        EXPECT_EQ(GetCapturedStdout(),
                  "DAS not yet initialised - returning failure\nnot processed "
                  "message='" +
                      update + "'\n");
        EXPECT_TRUE(m_log.has(5, "DAS not yet initialised  - returning failure"));
        EXPECT_TRUE(m_log.has(5, "not processed message='" + update + "'"));
        early.constructorActions();
    }
    EXPECT_EQ(cell("SELECT COUNT(*) FROM sqlite_master"), "0");
    CaptureStdout();
    early.init(m_context);
    EXPECT_EQ(GetCapturedStdout(), "DataAccessService::init setting m_currentUser = base\n");
    EXPECT_EQ(early.processRequest(update), xml::message("FeatureKeys", "update_response"));
}

TEST_F(DataAccessServiceTest, TheDataFolderIsOpenedForItsGroup) {
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(onDevice("/data")).permissions(),
              perms::owner_all | perms::group_all);
    std::filesystem::remove(onDevice("/data"));
    start();
    EXPECT_TRUE(m_log.has(2, "chmod() failed with error [No such file or directory]. \n"));
    (void)send("FeatureKeys", "read_request");
    EXPECT_TRUE(isAlive());
}

TEST_F(DataAccessServiceTest, TheFirstWordSchemaDecides) {
    const std::pair<const char*, const char*> rows[] = {
        {"<Schema name=\"FixedKeys\"/>", "FixedKeys"},
        {"<A x=\"Schema\" name=\"y\"/><Schema name=\"FixedKeys\"/>", " name="},
        {"<Schema name='a'/>", ""},
        {"<Schema name=\"a", ""},
        {"Schema\"\"", ""},
        {"<schema name=\"a\"/>", ""},
        {"", ""},
        {"<Schema name=\"FixedKeys'; DROP TABLE FEATURE_KEYS; --\"/>",
         "FixedKeys'; DROP TABLE FEATURE_KEYS; --"},
    };
    for (const auto& [message, schema] : rows) {
        EXPECT_EQ(send(message), xml::message(schema, "failure")) << message;
    }
}

TEST_F(DataAccessServiceTest, AVisitorAgainIsAChangeAndBaseAgainIsNot) {
    struct {
        const char* profile;
        bool changed;
        const char* user;
    } const rows[] = {
        {"base", false, "base"},       {"visitor", true, "visitor"}, {"visitor", true, "visitor"},
        {"Visitor", false, "visitor"}, {"", false, "visitor"},       {"base", true, "base"},
        {"base", false, "base"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(service().setCurrentUser(row.profile), row.changed) << row.profile;
        EXPECT_EQ(send("getCurrentUser"), row.user);
    }
    EXPECT_TRUE(m_log.has(2, "Invalid new profile 'Visitor'"));
    EXPECT_TRUE(
        m_log.has(5, "DAS: setting m_currentUser from 'visitor' to new profile = 'visitor'"));
    service().setCurrentUser("visitor");
    (void)send("FeatureKeys", "update_request", label("guest's"));
    EXPECT_EQ(sql("SELECT UserContext FROM FEATURE_KEYS WHERE Label <> ''"), (Rows{{"visitor"}}));
}

TEST_F(DataAccessServiceTest, BadMessagesAreAnsweredAndTheNextIsServed) {
    const std::string million(1000000, 'x');
    std::string deep;
    for (int i = 0; i < 10000; ++i) {
        deep = "<a>" + deep + "</a>";
    }
    const auto update = [](const std::string& body) {
        return xml::message("FeatureKeys", "update_request", body);
    };
    const std::string whole = update(label("cut"));
    struct {
        const char* name;
        std::string message;
        const char* reason;
        std::string label;  ///< of the key afterwards
    } const rows[] = {
        {"no schema", "<Request/>", nullptr, ""},
        {"cut off in a value", whole.substr(0, whole.find("ut</Label>")), "failure", ""},
        {"cut off behind the values", whole.substr(0, whole.find("</Schema>")), "update_response",
         "cut"},
        {"message in a message", update("<Schema name=\"x\">" + label("in") + "</Schema>"),
         "update_response", "in"},
        {"elements ten thousand deep", update(deep + label("deep")), "update_response", "deep"},
        {"two reasons", update(label("r") + "<ReasonForMessage>none</ReasonForMessage>"), "failure",
         ""},
        {"a million characters", update(label(million)), "update_response", million},
        {"a million quotes", update(label(std::string(million.size(), '\''))), "update_response",
         std::string(million.size(), '\'')},
        {"not UTF-8", update(label("\xff\xfe")), "failure", ""},
        {"entity bomb",
         xml::Header + ("<!DOCTYPE x [<!ENTITY a 'ha'><!ENTITY b '&a;&a;'>]>" +
                        update(label("&b;")).substr(std::strlen(xml::Header))),
         "failure", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(send(row.message), row.reason != nullptr ? xml::message("FeatureKeys", row.reason)
                                                           : xml::message("", "failure"));
        EXPECT_TRUE(isAlive());
        EXPECT_EQ(cell("SELECT Label FROM FEATURE_KEYS WHERE Id = '100' AND UserContext = 'base'"),
                  row.label);
        sql("UPDATE FEATURE_KEYS SET Label = ''");
    }
}

TEST_F(DataAccessServiceTest, AnotherFactoryTakesThePlaceOfTheFirst) {
    int deleted = 0;
    auto* factory = new CountedFactory(deleted);
    service().setDbFactory(factory);
    EXPECT_EQ(service().getAdapter(), nullptr) << "gone with its factory";
    EXPECT_EQ(send("FeatureKeys", "read_request"), xml::message("FeatureKeys", "failure"));
    service().constructorActions();
    service().setDbFactory(factory);
    EXPECT_EQ(deleted, 0);
    (void)send("FeatureKeys", "read_request");
    EXPECT_TRUE(isAlive());
    for (DbFactoryIfc* other : {static_cast<DbFactoryIfc*>(new EmptyFactory), {}}) {
        service().setDbFactory(other);
        service().constructorActions();
        EXPECT_EQ(deleted, 1);
        EXPECT_EQ(send(ReadTrace), NoAdapter);
        EXPECT_EQ(send("FeatureKeys", "read_request"), xml::message("FeatureKeys", "failure"));
        EXPECT_FALSE(service().createPhonenumberIndices() && other == nullptr);
    }
    EXPECT_TRUE(m_log.has(2, "constructorActions: no database factory"));
}

TEST_F(DataAccessServiceTest, WhatAResetReplacesStaysUsable) {
    DatabaseAdapter* const adapter = service().getAdapter();
    DAOFactory* const factory = service().getDAOFactory();
    service().constructorActions();
    EXPECT_NE(service().getAdapter(), adapter);
    EXPECT_NE(service().getDAOFactory(), factory);
    const std::string read = xml::message("FeatureKeys", "read_request");
    for (const char* reason : {"read_response", "failure"}) {
        const std::unique_ptr<DataAccessObject> dao(factory->createDAOInstance("FeatureKeys"));
        dao->setCurrentUser("base");
        dao->handleRequest(read.c_str(), static_cast<int>(read.size()));
        EXPECT_EQ(dao->responseReason(), reason);
        adapter->removeDbFile();
    }
    DbFactory own;
    own.destroyDatabase();
    EXPECT_NE(own.createDatabase(), own.createDatabase());
    own.destroyDatabase();
}
