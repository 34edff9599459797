#include "service/DataAccessService.h"

#include "database/DatabaseAdapter.h"
#include "testkit/ServiceTest.h"

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
};

const std::string ReadTrace = "getWhetherRequestContentShowableOnTheAurelTrace";
const std::string SetTrace = "setWhetherRequestContentShowableOnTheAurelTrace";
const std::string NoAdapter = "error, m_dbAdapter is not defined.";

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
    CaptureStdout();
    EXPECT_EQ(early.processRequest(update), xml::message("FeatureKeys", "failure"));
    EXPECT_EQ(
        GetCapturedStdout(),
        "DAS not yet initialised - returning failure\nnot processed message='" + update + "'\n");
    EXPECT_TRUE(m_log.has(5, "DAS not yet initialised  - returning failure"));
    EXPECT_EQ(cell("SELECT COUNT(*) FROM FEATURE_KEYS WHERE Label = 'x'"), "0");
    early.init(m_context);
    EXPECT_EQ(early.processRequest(update), xml::message("FeatureKeys", "update_response"));
}

TEST_F(DataAccessServiceTest, TheFirstWordSchemaDecides) {
    const std::pair<const char*, const char*> rows[] = {
        {"<Schema name=\"FixedKeys\"/>", "FixedKeys"},
        {"<A x=\"Schema\" name=\"y\"/><Schema name=\"FixedKeys\"/>", " name="},
        {"<Schema name='a'/>", ""},
        {"Schema\"\"", ""},
        {"", ""},
        {"<Schema name=\"FixedKeys'; DROP TABLE FEATURE_KEYS; --\"/>",
         "FixedKeys'; DROP TABLE FEATURE_KEYS; --"},
    };
    for (const auto& [message, schema] : rows) {
        EXPECT_EQ(send(message), xml::message(schema, "failure")) << message;
    }
}

TEST_F(DataAccessServiceTest, BadMessagesAreAnsweredAndTheNextIsServed) {
    const std::string million(1000000, '\'');
    std::string deep;
    for (int i = 0; i < 10000; ++i) {
        deep = "<a>" + deep + "</a>";
    }
    std::string entities = "<!ENTITY a0 'aaaaaaaaaa'>";
    for (char level = '1'; level <= '9'; ++level) {
        const std::string below = std::string("&a") + static_cast<char>(level - 1) + ";";
        entities += std::string("<!ENTITY a") + level + " '" + below + below + below + below + "'>";
    }
    const auto update = [](const std::string& body) {
        return xml::message("FeatureKeys", "update_request", body);
    };
    const auto read = [](const std::string& body) {
        return xml::message("FeatureKeys", "read_request", body);
    };
    struct {
        const char* name;
        std::string message;
        const char* reason;
        std::string label;  ///< of the key afterwards
    } const rows[] = {
        {"message in a message", update("<Schema name=\"x\">" + label("in") + "</Schema>"),
         "update_response", "in"},
        {"elements ten thousand deep", update(deep + label("deep")), "update_response", "deep"},
        {"two reasons", update(label("r") + "<ReasonForMessage>none</ReasonForMessage>"), "failure",
         ""},
        {"a million quotes", update(label(million)), "update_response", million},
        {"SQL as a value", update(label("x'); DROP TABLE FEATURE_KEYS; --")), "update_response",
         "x'); DROP TABLE FEATURE_KEYS; --"},
        {"no reason", "<Schema name=\"FeatureKeys\"/>", "failure", ""},
        {"unknown reason", xml::message("FeatureKeys", "delete_request", label("")), "failure", ""},
        {"cut off in the reason", read("").substr(0, read("").find("_request")), "failure", ""},
        {"cut off in a value", update(label("cut")).substr(0, update(label("cut")).find("t</L")),
         "failure", ""},
        {"no row", update(xml::element("Label", "x")), "failure", ""},
        {"SQL as a row", read("<Id>1; DROP TABLE FEATURE_KEYS</Id>"), "failure", ""},
        {"SQL as a column", read("<ResultCols>Id;--</ResultCols>"), "failure", ""},
        {"not UTF-8", update(label("\xff\xfe")), "failure", ""},
        {"entities in entities",
         "<!DOCTYPE b [" + entities + "]>" +
             update(label("&a9;")).substr(std::string(xml::Header).size()),
         "failure", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(send(row.message), xml::message("FeatureKeys", row.reason));
        EXPECT_EQ(cell("SELECT COUNT(*) FROM FEATURE_KEYS WHERE UserContext = 'base'"), "177");
        EXPECT_EQ(cell("SELECT Label FROM FEATURE_KEYS WHERE Id = '100' AND UserContext = 'base'"),
                  row.label);
        sql("UPDATE FEATURE_KEYS SET Label = ''");
    }
}
