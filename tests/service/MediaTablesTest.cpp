#include "testkit/TableTest.h"

namespace {

const char* const Write = "write_request";
const char* const Update = "update_request";
const char* const Read = "read_request";
const char* const Delete = "delete_request";

const std::string CodecDefaults = "0|2|true|2;1|4|false|2;2|3|true|2;3|1|true|2;";
const std::string CodecColumns =
    "(CodecType TEXT PRIMARY KEY NOT NULL, CodecRank TEXT, CodecAllowed TEXT, CodecPacketSize "
    "TEXT)";

class MediaTablesTest : public TableTest {
protected:
    std::string codecs() const {
        return rowsOf("SELECT * FROM CODEC_SETTINGS ORDER BY 1 COLLATE BINARY");
    }
    std::string methods() const { return rowsOf("SELECT * FROM SRTP_ENCRYPTION_SETTINGS"); }
    void makeCodecs(const std::string& columns, const std::string& rows) {
        sql("DROP TABLE IF EXISTS CODEC_SETTINGS; CREATE TABLE CODEC_SETTINGS " + columns + ";" +
            (rows.empty() ? "" : "INSERT INTO CODEC_SETTINGS VALUES " + rows));
    }
};

std::string id(const std::string& key) {
    return xml::element("Id", key);
}

}  // namespace

TEST_F(MediaTablesTest, CodecTableIsRepairedByTheFirstRequestAndLeftByTheSecond) {
    struct Case {
        const char* name;
        std::string rows;
        std::string repaired;
        const char* logged;
    };
    const Case cases[] = {
        {"empty", "", CodecDefaults, ""},
        {"before OPUS", "('0','1','t','2'),('1','3','f','2'),('2','2','t','2')",
         "0|2|t|2;1|4|f|2;2|3|t|2;3|1|true|2;", "OPUS codec row added"},
        {"OPUS among three", "('1','4','f','2'),('2','3','t','2'),('3','1','f','1')",
         "1|4|f|2;2|3|t|2;3|1|f|1;", ""},
        {"ranks of words", "('0','first','t','2'),('1','','f','2'),('2','2','t','2')",
         "0|first|t|2;1||f|2;2|3|t|2;3|1|true|2;", "OPUS codec row added"},
        {"five rows",
         "('0','1','t','2'),('1','2','t','2'),('2','3','t','2'),('3','4','t','2'),"
         "('4','5','t','2')",
         CodecDefaults, "reset to default codec table"},
    };
    // A row that could not be added moved the ranks all the same, once more with each request.
    makeCodecs(CodecColumns, cases[1].rows);
    sql("CREATE TRIGGER Refused BEFORE INSERT ON CODEC_SETTINGS BEGIN SELECT RAISE(FAIL, ''); END");
    EXPECT_EQ(reasonOf("CodecSettings", Read), "read_response");
    EXPECT_EQ(codecs(), "0|1|t|2;1|3|f|2;2|2|t|2;");
    sql("DROP TABLE CODEC_SETTINGS");
    EXPECT_EQ(reasonOf("CodecSettings", "unknown_request"), "failure");
    EXPECT_EQ(codecs(), CodecDefaults) << "a missing table is made by a request of any reason";
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        makeCodecs(CodecColumns, each.rows);
        for (const int repairs : {1, 0}) {
            m_log.clear();
            EXPECT_EQ(reasonOf("CodecSettings", Read), "read_response");
            EXPECT_EQ(codecs(), each.repaired);
            if (*each.logged != '\0') {
                EXPECT_EQ(m_log.count(each.logged), repairs);
            }
        }
    }
}

TEST_F(MediaTablesTest, ReadsGiveRowsByRankWithTheColumnsAskedFor) {
    using xml::entry;
    const auto row = [](const char* key, const char* value, const char* rank) {
        return entry({{key, value}, {"Rank", rank}, {"Allowed", "true"}});
    };
    const std::string headsets =
        row("Type", "2", "1") + row("Type", "1", "2") + row("Type", "0", "3");
    EXPECT_EQ(dataOf("HeadsetPriorities"), headsets);
    EXPECT_EQ(dataOf("HeadsetPriorities", xml::context("visitor", "<Type>1</Type>")),
              xml::context("visitor", row("Type", "1", "2")));
    EXPECT_EQ(dataOf("CodecSettings", xml::element("ResultCols", "CodecRank CodecType") +
                                          "<CodecAllowed>false</CodecAllowed>"),
              entry({{"CodecRank", "4"}, {"CodecType", "1"}}));
    // Text order, as the column holds text.
    sql("UPDATE HEADSET_PRIORITIES SET Rank = '10' WHERE Type = '0'");
    EXPECT_EQ(dataOf("HeadsetPriorities", xml::element("ResultCols", "Rank")),
              entry({{"Rank", "1"}}) + entry({{"Rank", "10"}}) + entry({{"Rank", "2"}}));
    for (const char* columns : {"NoColumn", "(SELECT 1)"}) {
        EXPECT_EQ(reasonOf("HeadsetPriorities", Read, xml::element("ResultCols", columns)),
                  "failure");
    }
}

TEST_F(MediaTablesTest, RowsAreNamedByTheirKeyAndWrittenWhole) {
    using xml::element;
    using xml::entry;
    struct Case {
        const char* name;
        const char* reason;
        std::string body;
        std::string answer;
        std::string table;
    };
    const std::string defaults = "0|2|true;1|1|true;";
    const Case cases[] = {
        {"write by Id", Write, id("5") + "<Rank>3</Rank><Allowed>false</Allowed>", "write_response",
         defaults + "5|3|false;"},
        {"write by key, missing columns blank", Write, "<Method>0</Method>", "write_response",
         "1|1|true;0||;"},
        {"write without a key", Write, "<Rank>3</Rank>", "failure", defaults},
        {"SQL text as a key", Write, id("1'; DROP TABLE SRTP_ENCRYPTION_SETTINGS; --"),
         "write_response", defaults + "1'; DROP TABLE SRTP_ENCRYPTION_SETTINGS; --||;"},
        {"update keeps the key", Update,
         id("1") + "<Method>0</Method>" + id("1") + "<Rank>7</Rank>", "update_response",
         "0|2|true;1|7|true;"},
        {"entries, the last without a key", Update,
         entry({{"Id", "0"}, {"Rank", "9"}}) + entry({{"Rank", "8"}}), "failure",
         "0|9|true;1|1|true;"},
        {"delete of two", Delete, entry({{"Id", "0"}}) + entry({{"Method", "7"}}),
         "delete_response", "1|1|true;"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.name);
        sql("DROP TABLE IF EXISTS SRTP_ENCRYPTION_SETTINGS");
        EXPECT_EQ(reasonOf("SRTPEncryptionSettings", each.reason, each.body), each.answer);
        EXPECT_EQ(methods(), each.table);
    }
}
