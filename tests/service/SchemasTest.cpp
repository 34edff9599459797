#include "testkit/Schemas.h"

#include <iostream>
#include <set>

#include "TableFacts.h"
#include "XmlHandler.h"
#include "schemas/DAOFactory.h"
#include "tables/PlainTables.h"
#include "testkit/TableTest.h"

namespace {

/// What may stand in a value that goes through a file.
const std::string OddText = "O'Brien, \"Ann\" <a\\b> & Zoë; --";

class SchemasTest : public TableTest {
protected:
    /// Columns of a table as "name type;", less constraints, which the database keeps elsewhere.
    std::string columnsOf(const std::string& table) const {
        std::string text;
        for (const auto& row : sql("PRAGMA table_info(" + table + ")")) {
            text += row.at(1) + " " + row.at(2) + ";";
        }
        return text;
    }
    static std::string columnsOf(const DataAccessObject& dao) {
        std::string text;
        for (const auto& column : dao.columns()) {
            text += column.name + " " + column.type.substr(0, column.type.find(' ')) + ";";
        }
        return text;
    }
    std::string countOf(const std::string& table) const {
        return cell("SELECT COUNT(*) FROM " + table);
    }
    /// Gives the last column of each row an odd text; a table without rows gets three first.
    void fill(const std::string& table) const {
        const Rows columns = sql("PRAGMA table_info(" + table + ")");
        if (countOf(table) == "0") {
            std::string values;
            for (const auto& column : columns) {
                const bool isUser = column.at(1) == "UserContext";
                values += (values.empty() ? "" : ", ") +
                          (isUser ? std::string("iif(i = 2, 'visitor', 'base')") : "i");
            }
            sql("INSERT INTO " + table + " SELECT " + values +
                " FROM (SELECT 1 i UNION SELECT 2 UNION SELECT 3)");
        }
        sql("UPDATE " + table + " SET " + columns.back().at(1) + " = " +
            DASUtils::escapeAndQuote(OddText) + " || rowid");
    }
    std::string sortedRows(const std::string& table) const {
        return rowsOf("SELECT * FROM " + table + " ORDER BY 1, 2");
    }
    /// Goes over to an empty database.
    void startAfresh() {
        stop();
        std::filesystem::remove(database());
        start();
    }
};

}  // namespace

TEST_F(SchemasTest, TheirTablesAreTheDocumentedOnes) {
    const auto joined = [](const std::vector<std::string>& texts, const std::string& quote) {
        std::string text;
        for (const std::string& each : texts) {
            text += (text.empty() ? "" : ", ") + (each.empty() ? "" : quote + each + quote);
        }
        return text;
    };
    const std::string page = readFile(DAS_SOURCE_DIR "/docs/tables.md");
    for (const auto& facts :
         collectFacts(DAOFactory::schemas(), *service().getDAOFactory(), *service().getAdapter())) {
        const std::size_t begin = page.find("\n## " + facts.table + "\n");
        ASSERT_NE(begin, std::string::npos) << facts.table;
        const std::string section = page.substr(begin, page.find("\n## ", begin + 1) - begin);
        std::string lines =
            "\n- Reasons: " + joined(facts.reasons, "`") + "\n- Rows of: " + facts.users;
        EXPECT_NE(section.find(lines), std::string::npos) << lines;
        lines = facts.defaultRows.empty() ? "none" : joined(facts.defaultRows, "");
        lines =
            "\n- Default rows: " + lines + "\n- Data file: " + (facts.hasDataFile ? "yes" : "no");
        EXPECT_NE(section.find(lines), std::string::npos) << lines;
        for (const auto& column : facts.columns) {
            lines = "\n| " + column.name + " | " + column.type + " | " +
                    joined(column.defaults, "`") + " | ";
            EXPECT_NE(section.find(lines), std::string::npos) << facts.table << lines;
        }
    }
}

TEST_F(SchemasTest, EachAnswersAReadFromATableThatIsMadeAsItsObjectTells) {
    const auto all = allSchemas();
    EXPECT_EQ(all.size(), 84U);
    EXPECT_EQ(DAOFactory::schemas().size(), all.size());
    for (const std::string& schema : all) {
        SCOPED_TRACE(schema);
        const std::string answer = send(schema, "read_request");
        EXPECT_EQ(
            answer.rfind(xml::message(schema, "read_response").substr(0, answer.find("</R")), 0),
            0U)
            << answer.substr(0, 200);
        EXPECT_NE(XmlHandler(
                      nullptr, [](void*, const char*, const char**) {}, [](void*, const char*) {},
                      [](void*, const char*, int) {})
                      .parseMessage(answer.c_str(), static_cast<int>(answer.size())),
                  0);
        const auto object = dao(schema);
        ASSERT_FALSE(object->tableName().empty());
        EXPECT_EQ(columnsOf(*object), columnsOf(object->tableName()));
        const bool isOfUsers = columnsOf(*object).find("UserContext") == 0;
        if (!object->defaultRowIds().empty()) {
            EXPECT_EQ(countOf(object->tableName()),
                      std::to_string(object->defaultRowIds().size() * (isOfUsers ? 2 : 1)));
        }
    }
}

TEST_F(SchemasTest, DamagedRequestsAreRefusedAndLoggedByClass) {
    const std::pair<std::string, std::string> rows[] = {
        {"CodecSettings", "Parsing a CodecSettingsDAO 'REQUEST' request failed."},
        {"SRTPEncryptionSettings", "Parsing a SRTPEncryptionSettingsDAO 'REQUEST' request failed."},
        {"HeadsetPriorities", "Parsing a HeadsetPrioritiesDAO 'REQUEST' request failed."},
        {"StimulusKeySettings", "Parsing a StimulusKeySettingsDAO 'REQUEST' request failed."},
        {"AudioSettings", "Parsing a GeneralConfigurationDAO request 'REQUEST' failed."},
    };
    for (const auto& [schema, text] : rows) {
        std::string request = xml::message(schema, "write_request", "<Id>9</Id>");
        request.resize(request.size() - 9);
        EXPECT_EQ(send(request), xml::message(schema, "failure"));
        std::string logged = text;
        EXPECT_TRUE(m_log.has(2, logged.replace(logged.find("REQUEST"), 7, request))) << logged;
    }
    EXPECT_EQ(cell("SELECT COUNT(*) FROM GENERAL_CONFIG WHERE Schema = 'AudioSettings'"), "0");
}

TEST_F(SchemasTest, RowsOfTablesWithDataFilesComeBackFromThem) {
    // Tables whose rows stay in the database: keys and settings are moved by other ways.
    std::set<std::string> without = {"CodecSettings", "HeadsetPriorities", "SRTPEncryptionSettings",
                                     "StimulusKeySettings"};
    for (const std::string& schema : PlainTables::schemas()) {
        without.insert(schema);
    }
    std::set<std::string> tables = {DASUtilsStrings::GeneralConfigTableName};
    std::map<std::string, std::string> rowsOfSchemas;
    for (const std::string& schema : allSchemas()) {
        const std::string table = dao(schema)->tableName();
        if (tables.insert(table).second) {
            send(schema, "read_request");
            fill(table);
            EXPECT_TRUE(service().exportData(schema, eUserCategory(2), "/tmp/" + table));
            const bool hasFile = std::filesystem::exists(onDevice("/tmp/" + table));
            EXPECT_EQ(hasFile, without.count(schema) == 0) << schema;
            std::cout << table << (hasFile ? ": rows come back from a file\n" : ": no data file\n");
            if (hasFile) {
                rowsOfSchemas[schema] = sortedRows(table);
            }
        }
    }
    startAfresh();
    for (const auto& [schema, rows] : rowsOfSchemas) {
        const std::string table = dao(schema)->tableName();
        EXPECT_TRUE(service().importData(schema, "/tmp/" + table));
        EXPECT_EQ(sortedRows(table), rows) << schema;
    }
}
