// Data files, read by each of their readers. The first byte of an input selects the reader.

#include <exception>
#include <fstream>
#include <functional>
#include <string>

#include "ClientUtils.h"
#include "Stage.h"
#include "Target.h"
#include "dao/CsvFile.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"

namespace {

const char* const File = "/tmp/input.csv";

std::unique_ptr<Stage> stage;

/// Splits a line, writes its fields and splits the result. The fields must be the same, unless the
/// format can't carry them.
void cutLines(const std::string& text) {
    std::vector<std::string> fields;
    ClientUtils::splitString(text, fields);
    const bool carried = text.find('\\') == std::string::npos &&
                         text.find('\r') == std::string::npos && !text.empty();
    if (carried) {
        require(ClientUtils::join(fields, ",") == text, "a line that loses characters");
    }
    std::string version;
    std::vector<std::string> columns;
    (void)DASUtils::getVersion(text, version);
    (void)DASUtils::getColumnNames(text, columns);
    (void)ClientUtils::tokenizeString(text, ",;", true, true);
}

void readHeads() {
    std::ifstream stream(FuzzPlace::get().onDevice(File), std::ios::binary);
    int version = 0;
    std::vector<int> positions;
    std::vector<std::string> fields;
    (void)ClientUtils::getVersion(stream, version);
    if (ClientUtils::getColumnPositions(stream, {"UserContext", "Surname"}, positions)) {
        require(positions.size() == 2 && positions[0] >= 0 && positions[1] >= 0,
                "a column without a place");
    }
    while (ClientUtils::readLineFromCsvFileAndParse(stream, fields)) {
    }
}

void readRows() {
    for (const auto comments : {CsvReader::Comments::AreData, CsvReader::Comments::AreSkipped}) {
        CsvReader reader(File, comments);
        (void)reader.forEachRow([](std::vector<std::string>& fields) {
            require(!fields.empty(), "a row without fields");
            return fields.at(fields.size() / 2).empty() ? 1 : 0;
        });
    }
}

DatabaseAdapter* adapter() {
    return stage->service().getAdapter();
}

void recreate(const char* table) {
    (void)DASUtils::recreateTableFromFile(adapter(), table, File);
}

void updateSettings() {
    (void)DASUtils::updateItemsInTableWithValuesFromFile(
        adapter(), "GENERAL_CONFIG", {"Schema", "UserContext", "Name", "Value"}, File);
}

void updateKeys() {
    (void)DASUtils::updateItemsInTableWithValuesFromFile(adapter(), "CANONICAL_LOOK_UP",
                                                         {"UserContext", "Id", "LocalCode"}, File);
}

void import(const char* schema) {
    (void)stage->service().importData(schema, File);
}

void importForUser(const char* schema) {
    (void)stage->service().importData(schema, visitor, File);
}

const std::function<void()> Readers[] = {
    readHeads,
    readRows,
    [] { recreate("PHONE_BOOK"); },
    [] { recreate("CANONICAL_LOOK_UP"); },
    updateSettings,
    updateKeys,
    [] { import("PhoneBook"); },
    [] { import("CallLog"); },
    [] { import("CallGroup"); },
    [] { import("Conversations"); },
    [] { import("FeatureKeys"); },
    [] { importForUser("PhoneBook"); },
    [] { importForUser("CallLog"); },
    [] { importForUser("CallGroup"); },
    [] { importForUser("FeatureKeys"); },
};

}  // namespace

void beginDataFiles() {
    stage = std::make_unique<Stage>();
}

void takeDataFile(std::string_view input) {
    if (input.empty()) {
        return;
    }
    const std::size_t chosen = static_cast<unsigned char>(input.front()) - std::size_t{'A'};
    const std::string text(input.substr(1));
    try {
        if (chosen < std::size(Readers)) {
            writeFile(FuzzPlace::get().onDevice(File), text);
            Readers[chosen]();
        } else {
            cutLines(text);
        }
    } catch (const std::exception&) {
        // An import may throw exceptions of the standard library, if everything is released.
    }
    stage->restore();
}
