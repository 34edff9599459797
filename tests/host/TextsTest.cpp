// What das makes of texts: no process and no terminal is needed for it.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "schemas/ContactMatch.h"
#include "schemas/ImportFile.h"
#include "terminal/TableText.h"
#include "terminal/TerminalText.h"

namespace {

/// @p text with "\n" and "\xNN" as the bytes that they stand for.
std::string decoded(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
        } else if (text[++i] == 'n') {
            bytes += '\n';
        } else {
            bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
    }
    return bytes;
}

}  // namespace

TEST(ImportFileTest, WhatIsWrongIsSaidWithItsLine) {
    std::ifstream rows(DAS_SOURCE_DIR "/tests/host/refused_imports.txt");
    int count = 0;
    for (std::string schema, text, refusals; std::getline(rows, schema, '\t');) {
        ASSERT_TRUE(std::getline(rows, text, '\t') && std::getline(rows, refusals)) << schema;
        const auto* const known = KnownSchemas::find(schema);
        ASSERT_NE(known, nullptr) << schema;
        const std::string file = decoded(text);
        const ImportFile import(*known, "", file);
        std::string found;
        for (const auto& refusal : import.refusals()) {
            found += (found.empty() ? "" : "; ") + refusal.text();
        }
        EXPECT_EQ(found, refusals) << text;
        ++count;
    }
    EXPECT_GT(count, 15);
}

TEST(ContactMatchTest, APartOfANameOrTheEndOfANumberFindsAContact) {
    const struct {
        const char* column;
        const char* value;
        std::vector<std::string> found;
        std::vector<std::string> notFound;
    } rows[] = {
        {"Surname", "Straße", {"STRAßE", "STRAẞE", "raß", ""}, {"strasse", "%"}},
        {"Surname", "ΣΊΣΥΦΟΣ", {"σίσυφος", "σίσυφοσ"}, {"sisyphos"}},
        {"Company", "ŠKODA", {"škoda"}, {"skoda"}},
        {"Firstname", "İnci", {"İNCI"}, {"ıNCI"}},
        {"Email", "Inci@Example.ORG", {"inci@", "e.org"}, {"@org"}},
        {"Office",
         "+49 (89) 123-4567",
         {"089 123 45 67", "+4989-1234567", "4567"},
         {"567", "(0)567", "4567x", "1234"}},
        {"Mobile", "0049/171.5550", {"0049 171 5550", "0171 5550"}, {"0172 5550"}},
        {"Office2", "089 / 777 88", {"089/77788"}, {"77789"}},
        {"Private", "*12345", {"2345"}, {"1234"}},
        {"Address", "Straße", {}, {"Straße"}},
    };
    for (const auto& row : rows) {
        for (const auto* texts : {&row.found, &row.notFound}) {
            for (const std::string& text : *texts) {
                EXPECT_EQ(ContactMatch(text).fits(row.column, row.value), texts == &row.found)
                    << row.value << ": " << text;
            }
        }
    }
}

TEST(TableTextTest, ATerminalOfAnyWidthGetsLinesThatFitAndWholeNumbers) {
    Sheet sheet{{"Surname", "Firstname", "Office", "Mobile", "Company"}, {}};
    for (const char* const name : {"Køhler", "佐藤", "A\x1b[31m", "von der Müller-Lüdenscheidt"}) {
        sheet.rows.push_back({name, "Zoë", "+498910001234", "+4917120005678", "Nordlicht"});
    }
    for (std::size_t columns = 1; columns <= 120; ++columns) {
        const std::string text = TableText::fitting(sheet, columns, false);
        std::set<std::size_t> places;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            EXPECT_LE(TerminalText::width(line), std::max<std::size_t>(columns, 20)) << text;
            const std::size_t number = line.find("+4989");
            if (number != std::string::npos) {
                places.insert(TerminalText::width(line.substr(0, number)));
            }
        }
        EXPECT_EQ(places.size(), 1U) << "numbers stand below each other:\n" << text;
        for (const char* const number : {"+498910001234", "+4917120005678"}) {
            EXPECT_NE(text.find(number), std::string::npos) << text;
        }
        EXPECT_EQ(text.find('\x1b'), std::string::npos);
    }
    EXPECT_NE(TableText::fitting(sheet, 70, false).find("…"), std::string::npos);
    EXPECT_EQ(TableText::fitting(sheet, 70, true).find("\x1b[1m"), 0U);
}
