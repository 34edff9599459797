// A database file at start. The first byte of an input chooses a database, or that the rest of the
// input is the file; else each five bytes more are one damage: its kind, three bytes of place and a
// value.

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "Damage.h"
#include "FullDatabase.h"
#include "Stage.h"
#include "Target.h"

namespace {

constexpr std::size_t DamageSize = 5;
constexpr std::size_t MostDamages = 40;

std::vector<std::string> databases;
std::vector<std::string> requests;

std::string bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t byteAt(std::string_view input, std::size_t place) {
    return static_cast<unsigned char>(input[place]);
}

Damage damageAt(std::string_view input) {
    return {static_cast<Damage::Kind>(byteAt(input, 0) % Damage::Kinds),
            byteAt(input, 1) << 16U | byteAt(input, 2) << 8U | byteAt(input, 3),
            static_cast<std::uint8_t>(byteAt(input, 4))};
}

std::string fileOf(std::string_view input) {
    const std::size_t chosen = input.empty() ? 0 : byteAt(input, 0) % (databases.size() + 1);
    input.remove_prefix(std::min<std::size_t>(1, input.size()));
    if (chosen == 0) {
        return std::string(input);
    }
    std::string file = databases[chosen - 1];
    for (std::size_t i = 0; i < MostDamages && input.size() >= DamageSize; ++i) {
        damageAt(input).apply(file);
        input.remove_prefix(DamageSize);
    }
    return file;
}

void startAndAsk() {
    struct : Context {
        Executable* findService(const std::string&) override { return nullptr; }
    } context;
    DataAccessService service;
    service.init(context);
    for (const std::string& request : requests) {
        try {
            (void)service.processRequest(request);
        } catch (const std::exception&) {
            // As of any request: all is released, and the next one is served.
        }
    }
}

}  // namespace

void beginDatabase() {
    const std::string path = FuzzPlace::get().database();
    {
        const Stage full;
        databases.push_back(bytesOf(path));
    }
    for (const std::string& form : FullDatabase::forms()) {
        (void)std::filesystem::remove(path);
        FullDatabase::makeForm(path, form);
        databases.push_back(bytesOf(path));
    }
    for (const char* schema : {"PhoneBook", "CallLogMissedCalls", "CallLogAndPhoneBook",
                               "FeatureKeys", "StimulusKeySettings", "AudioSettings"}) {
        requests.push_back(FullDatabase::message(schema, "read_request"));
    }
    requests.push_back(FullDatabase::message("PhoneBook", "write_request",
                                             "<Entry><Surname>New</Surname></Entry>"));
    requests.emplace_back("saveContactsToCSV");
}

void takeDatabase(std::string_view input) {
    const std::string path = FuzzPlace::get().database();
    (void)std::filesystem::remove(path + "-journal");
    FuzzPlace::get().write(path, fileOf(input));
    startAndAsk();
    require(std::filesystem::exists(path), "the file of the database is gone");
    FuzzPlace::get().tidy();
}
