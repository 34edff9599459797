// The rows of the demonstration: enough of each kind that tables, searches and pages have something
// to show, with names that need UTF-8 and escaping. They are the same in each run, so that the
// tutorial can print its answers.

#include "commands/DemoTelephone.h"

#include <cstdio>
#include <iterator>

#include "schemas/KnownSchemas.h"
#include "schemas/RequestText.h"

namespace {

using RequestText::Values;

const char* const Surnames[] = {"Abel",    "Baumann", "Castillo", "Dvořák", "Eriksson",
                                "Fiedler", "García",  "Hoffmann", "Ilves",  "Jansen",
                                "Køhler",  "Lindner", "Müller",   "Nowak",  "O'Hara",
                                "Petit",   "佐藤",    "Rossi",    "Şahin",  "Zhou & Söhne"};
const char* const Firstnames[] = {"Anna", "Bruno", "Chloé", "Dmitri", "Elif",
                                  "Finn", "Greta", "花子",  "Ivan",   "Zoë"};
const char* const Companies[] = {"Nordlicht", "Hafen & Co", "Atelier Süd", "", "Werkbank"};

struct Category {
    const char* schema;
    const char* viewed;  ///< blank if the calls have no such mark
    int rows;
};
const Category Categories[] = {{"CallLogDialledCalls", "", 15},
                               {"CallLogForwardedCalls", "", 5},
                               {"CallLogMissedCalls", "false", 10},
                               {"CallLogReceivedCalls", "", 10}};

struct Key {
    const char* id;
    const char* function;
    const char* label;
};
const Key Keys[] = {{"100", "1", "Line 1"}, {"101", "2", "Line 2"},   {"102", "14", "Mail"},
                    {"103", "9", "Home"},   {"104", "9", "Workshop"}, {"105", "31", "Night"}};

std::string formatted(const char* format, std::size_t number) {
    char text[64];
    // NOLINTNEXTLINE(clang-diagnostic-format-nonliteral): the formats stand in this file
    std::snprintf(text, sizeof text, format, static_cast<unsigned>(number));
    return text;
}

std::string request(const char* schema, const char* reason, const std::string& body) {
    return RequestText::request(schema, reason, "base", body);
}

std::string surnameOf(std::size_t contact) {
    return Surnames[contact % std::size(Surnames)];
}

std::string firstnameOf(std::size_t contact) {
    return Firstnames[contact / std::size(Surnames) % std::size(Firstnames)];
}

std::string officeOf(std::size_t contact) {
    return formatted("+4989100%04u", contact);
}

/// The number of the contact decides which columns are blank, so that tables have all kinds of
/// rows.
std::string contacts() {
    const KnownSchemas::Entry& schema = *KnownSchemas::find("PhoneBook");
    std::string body;
    for (std::size_t i = 0; i < DemoTelephone::ContactCount; ++i) {
        body +=
            RequestText::entry(schema, {{"Surname", surnameOf(i)},
                                        {"Firstname", firstnameOf(i)},
                                        {"Office", officeOf(i)},
                                        {"Mobile", i % 3 == 0 ? formatted("+49171200%04u", i) : ""},
                                        {"Private", i % 5 == 0 ? formatted("+4930300%04u", i) : ""},
                                        {"Email", formatted("contact%u@example.org", i)},
                                        {"Group", formatted("%u", i % 16 + 1)},
                                        {"DefaultNumber", "1"},
                                        {"Company", Companies[i % std::size(Companies)]}});
    }
    return request("PhoneBook", "write_request", body);
}

/// The rows of a category; each has one contact with up to three calls.
std::string calls(const Category& category, std::size_t first) {
    const KnownSchemas::Entry& schema = *KnownSchemas::find(category.schema);
    std::string body;
    for (std::size_t row = 0; row < static_cast<std::size_t>(category.rows); ++row) {
        const std::size_t contact = (first + row * 7) % DemoTelephone::ContactCount;
        Values values = {{"EntryId", formatted("%u", first + row)},
                         {"Surname", surnameOf(contact)},
                         {"Firstname", firstnameOf(contact)}};
        if (*category.viewed != 0) {
            values.emplace_back("Viewed", category.viewed);
        }
        for (std::size_t call = 0; call <= row % 3; ++call) {
            values.emplace_back("Number", officeOf(contact));
            values.emplace_back("TimeDate", formatted("2026-03-%02uT", row % 28 + 1) +
                                                formatted("%02u:15:00+01:00", 9 + call));
            values.emplace_back("Duration", formatted("%u", 20 + row * 13));
        }
        body += RequestText::entry(schema, values);
    }
    return request(category.schema, "write_request", body);
}

std::string keys() {
    std::string body;
    for (const Key& key : Keys) {
        body += "<Entry>" +
                RequestText::elements(
                    {{"Id", key.id}, {"Function", key.function}, {"Label", key.label}}) +
                "</Entry>";
    }
    return request("FeatureKeys", "update_request", body);
}

/// Settings of the telephone have no context, those of the user have one.
std::string settings(const char* schema, const Values& items, bool isOfUser) {
    const std::string body = RequestText::elements(items);
    return isOfUser ? request(schema, "update_request", body)
                    : RequestText::request(schema, "update_request", std::nullopt, body);
}

}  // namespace

std::vector<std::string> DemoTelephone::requests() {
    std::vector<std::string> all = {
        settings("MobilitySettings", {{"ActiveMobilityModeIsBasic", "false"}}, false),
        settings("Locale", {{"Language", "de"}, {"DateFormat", "0"}}, true),
        settings("AudioSettings", {{"Volume", "5"}, {"RingerMelody", "3"}}, true),
        keys(),
        contacts(),
    };
    std::size_t first = 0;
    for (const Category& category : Categories) {
        all.push_back(calls(category, first));
        first += static_cast<std::size_t>(category.rows);
    }
    return all;
}
