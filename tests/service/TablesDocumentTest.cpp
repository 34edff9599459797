// docs/tables.md is written from the tables of the code; this keeps it so.

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "ClientUtils.h"
#include "Schemas.h"
#include "TableTest.h"

namespace {

const char* const Document = DAS_SOURCE_DIR "/docs/tables.md";

/// Numbers as ranges: "30, 32 to 35".
std::string inRanges(const std::vector<std::string>& ids) {
    std::string text;
    for (std::size_t first = 0; first < ids.size();) {
        std::size_t last = first;
        while (last + 1 < ids.size() && std::stoi(ids[last + 1]) == std::stoi(ids[last]) + 1) {
            ++last;
        }
        text += (text.empty() ? "" : ", ") + ids[first];
        text += last > first ? " to " + ids[last] : "";
        first = last + 1;
    }
    return text;
}

std::string code(const std::string& text) {
    return text.empty() ? "" : "`" + text + "`";
}

std::string joined(const std::vector<std::string>& texts) {
    std::string text;
    for (const std::string& each : texts) {
        text += (text.empty() ? "" : ", ") + code(each);
    }
    return text;
}

std::string defaultsOf(const DASUtils::ColumnInfo& column) {
    const auto& all = column.defaults;
    const bool areEqual = std::all_of(all.begin(), all.end(),
                                      [&](const std::string& each) { return each == all.front(); });
    return areEqual ? code(all.front()) : joined(all);
}

class TablesDocumentTest : public TableTest {
protected:
    /// What a class tells of its reasons when it is asked for one that nobody serves.
    std::vector<std::string> reasonsOf(const std::string& schema) {
        m_log.clear();
        send(schema, "unknown_request");
        const std::string words = "is none of ";
        for (const auto& entry : m_log.entries()) {
            const auto place = entry.message.find(words);
            if (place != std::string::npos) {
                return ClientUtils::tokenizeString(entry.message.substr(place + words.size()), ", ",
                                                   false, false);
            }
        }
        ADD_FAILURE() << schema << " tells no reasons";
        return {};
    }

    std::string usersOf(const DataAccessObject& object) {
        if (object.tableName() == DASUtilsStrings::GeneralConfigTableName) {
            return "base, visitor, and the telephone with a blank context";
        }
        const auto& all = object.columns();
        const bool hasUser = std::any_of(all.begin(), all.end(), [](const auto& column) {
            return column.name == DASUtilsStrings::UserContextTagName;
        });
        return hasUser ? "base and visitor" : "the telephone";
    }

    std::string keyOf(const std::string& table) {
        std::vector<std::string> names;
        for (const auto& row :
             sql("SELECT name FROM pragma_table_info('" + table + "') WHERE pk > 0 ORDER BY pk")) {
            names.push_back(row.at(0));
        }
        return names.empty() ? "none" : joined(names);
    }

    bool hasDataFile(const std::string& schema) {
        service().exportData(schema, eUserCategory(2), "/tmp/rows.csv");
        return std::filesystem::remove(onDevice("/tmp/rows.csv"));
    }

    std::string sectionOf(const std::vector<std::string>& schemas) {
        const auto object = dao(schemas.front());
        const auto& ids = object->defaultRowIds();
        send(schemas.front(), "read_request");  // makes the table
        const std::vector<std::string> reasons = reasonsOf(schemas.front());
        for (const std::string& schema : schemas) {
            EXPECT_EQ(reasonsOf(schema), reasons) << schema;
        }
        std::ostringstream text;
        text << "\n## " << object->tableName() << "\n\n- Schemas: " << joined(schemas)
             << "\n- Reasons: " << joined(reasons) << "\n- Rows of: " << usersOf(*object)
             << "\n- Key: " << keyOf(object->tableName())
             << "\n- Default rows: " << (ids.empty() ? "none" : inRanges(ids))
             << "\n- Data file: " << (hasDataFile(schemas.front()) ? "yes" : "no")
             << "\n\n| Column | Type | Default |\n|---|---|---|\n";
        for (const auto& column : object->columns()) {
            text << "| " << column.name << " | " << column.type << " | " << defaultsOf(column)
                 << " |\n";
        }
        return text.str();
    }

    std::string document() {
        std::vector<std::vector<std::string>> schemasOfTables;
        std::map<std::string, std::size_t> placeOfTable;
        for (const std::string& schema : allSchemas()) {
            const auto [place, isNew] =
                placeOfTable.emplace(dao(schema)->tableName(), schemasOfTables.size());
            if (isNew) {
                schemasOfTables.emplace_back();
            }
            schemasOfTables[place->second].push_back(schema);
        }
        std::string text = readFile(Document);
        text.resize(text.find("\n## "));  // what stands before the tables is written by hand
        for (const auto& schemas : schemasOfTables) {
            text += sectionOf(schemas);
        }
        return text;
    }
};

}  // namespace

TEST_F(TablesDocumentTest, TellsTheTablesAsTheyAre) {
    const std::string text = document();
    if (const char* path = std::getenv("DAS_TABLES_DOCUMENT")) {
        writeFile(path, text);
        return;
    }
    EXPECT_TRUE(readFile(Document) == text)
        << "docs/tables.md is out of date: run scripts/tables-doc";
}
