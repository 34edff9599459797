// docs/tables.md is written from the tables of the code; this keeps it so.

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "TableFacts.h"
#include "testkit/Schemas.h"
#include "testkit/TableTest.h"

namespace {

const char* const Document = DAS_SOURCE_DIR "/docs/tables.md";

std::string code(const std::string& text) {
    return text.empty() ? "" : "`" + text + "`";
}

std::string joined(const std::vector<std::string>& texts, std::string (*form)(const std::string&)) {
    std::string text;
    for (const std::string& each : texts) {
        text += (text.empty() ? "" : ", ") + form(each);
    }
    return text;
}

std::string plain(const std::string& text) {
    return text;
}

std::string orNone(const std::string& text) {
    return text.empty() ? "none" : text;
}

/// The section of a table that serves @p schemas.
std::string sectionOf(const SchemaFacts& facts, const std::vector<std::string>& schemas) {
    std::ostringstream text;
    text << "\n## " << facts.table << "\n\n- Schemas: " << joined(schemas, code)
         << "\n- Reasons: " << joined(facts.reasons, code) << "\n- Rows of: " << facts.users
         << "\n- Key: " << orNone(joined(facts.key, code))
         << "\n- Default rows: " << orNone(joined(facts.defaultRows, plain))
         << "\n- Data file: " << (facts.hasDataFile ? "yes" : "no")
         << "\n\n| Column | Type | Default |\n|---|---|---|\n";
    for (const ColumnFacts& column : facts.columns) {
        text << "| " << column.name << " | " << column.type << " | "
             << joined(column.defaults, code) << " |\n";
    }
    return text.str();
}

class TablesDocumentTest : public TableTest {
protected:
    std::string document() {
        const auto all =
            collectFacts(allSchemas(), *service().getDAOFactory(), *service().getAdapter());
        std::string text = readFile(Document);
        text.resize(text.find("\n## "));  // what stands before the tables is written by hand
        std::vector<std::string> tables;
        for (const SchemaFacts& facts : all) {
            if (std::find(tables.begin(), tables.end(), facts.table) == tables.end()) {
                tables.push_back(facts.table);
                text += sectionOf(facts, schemasOf(all, facts));
            }
        }
        return text;
    }

private:
    /// The schemas of the table of @p first, which all have the same reasons.
    static std::vector<std::string> schemasOf(const std::vector<SchemaFacts>& all,
                                              const SchemaFacts& first) {
        std::vector<std::string> schemas;
        for (const SchemaFacts& facts : all) {
            if (facts.table == first.table) {
                schemas.push_back(facts.name);
                EXPECT_EQ(facts.reasons, first.reasons) << facts.name;
                EXPECT_FALSE(facts.reasons.empty()) << facts.name;
            }
        }
        return schemas;
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

TEST_F(TablesDocumentTest, EverySchemaThatHasANameIsServed) {
    auto named = allSchemas();
    auto served = DAOFactory::schemas();
    std::sort(named.begin(), named.end());
    std::sort(served.begin(), served.end());
    EXPECT_EQ(served, named);
}
