// A database file at a start. The first byte of an input selects a database, or says that the rest
// of the input is the file. Otherwise each further five bytes are one change: its kind, three bytes
// of position, and a value. A change may also leave a journal or an upgrade's copy next to the
// database.

#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "Damage.h"
#include "OddStatements.h"
#include "Stage.h"
#include "Target.h"
#include "database/DatabaseAdapter.h"
#include "testkit/FullDatabase.h"
#include "testkit/LogCapture.h"
#include "testkit/Messages.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t ChangeSize = 5;
constexpr std::size_t MostChanges = 40;
constexpr int FailureLevel = 2;

/// The numbers of the kinds of changes: first damage, then statements, then these files next to the
/// database.
enum Companion : std::uint8_t { Journal, Copy, CompanionKinds };
constexpr std::size_t FirstStatement = Damage::Kinds;
constexpr std::size_t FirstCompanion = FirstStatement + OddStatement::Kinds;
constexpr std::size_t ChangeKinds = FirstCompanion + CompanionKinds;

struct Base {
    std::string bytes;
    std::string journal;  ///< of a transaction that did not end
};

std::vector<Base> bases;
std::vector<std::string> requests;

std::string databasePath() {
    return FuzzPlace::get().database();
}

std::string journalPath() {
    return databasePath() + "-journal";
}

std::string copyPath() {
    return databasePath() + ".before-upgrade";
}

std::size_t byteAt(std::string_view input, std::size_t place) {
    return static_cast<unsigned char>(input[place]);
}

/// The cache has only a few pages, so pages are written to the file, and to the journal first,
/// before the transaction ends.
std::string journalOf(const std::string& path) {
    const Sql db(path);
    db.mustRun("PRAGMA cache_size = 2; BEGIN");
    for (const std::string& table :
         db.texts("SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sq%'")) {
        db.mustRun("DELETE FROM " + table);
    }
    std::string left = readFile(path + "-journal");
    db.mustRun("ROLLBACK");
    return left;
}

void keepBase() {
    std::string bytes = readFile(databasePath());
    bases.push_back({std::move(bytes), journalOf(databasePath())});
}

void placeCompanion(std::size_t kind, std::size_t place) {
    if (kind == Journal) {
        writeFile(journalPath(), bases[place % bases.size()].journal);
    } else {
        writeFile(copyPath(), readFile(databasePath()));
    }
}

void change(std::string_view input) {
    const std::size_t kind = byteAt(input, 0) % ChangeKinds;
    const std::size_t place = byteAt(input, 1) << 16U | byteAt(input, 2) << 8U | byteAt(input, 3);
    const auto value = static_cast<std::uint8_t>(byteAt(input, 4));
    if (kind < FirstStatement) {
        std::string bytes = readFile(databasePath());
        Damage{static_cast<Damage::Kind>(kind), place, value}.apply(bytes);
        writeFile(databasePath(), bytes);
    } else if (kind < FirstCompanion) {
        OddStatement{static_cast<OddStatement::Kind>(kind - FirstStatement), place, value}.apply(
            databasePath());
    } else {
        placeCompanion(kind - FirstCompanion, place);
    }
}

void makeFiles(std::string_view input) {
    const std::size_t chosen = input.empty() ? 0 : byteAt(input, 0) % (bases.size() + 1);
    input.remove_prefix(std::min<std::size_t>(1, input.size()));
    writeFile(databasePath(), chosen == 0 ? input : std::string_view(bases[chosen - 1].bytes));
    for (std::size_t i = 0; chosen > 0 && i < MostChanges && input.size() >= ChangeSize; ++i) {
        change(input);
        input.remove_prefix(ChangeSize);
    }
}

bool isWhole(const std::string& request, const std::string& answer) {
    const std::string end = "</Schema>";
    return request.find('<') == std::string::npos ||
           (answer.find("<Schema name=\"") != std::string::npos && answer.size() > end.size() &&
            answer.compare(answer.size() - end.size(), end.size(), end) == 0);
}

void startAndAsk() {
    Phone phone;
    phone.start();
    for (const std::string& request : requests) {
        try {
            require(isWhole(request, phone.service().processRequest(request)),
                    "the answer is not whole");
        } catch (const std::exception&) {
            // As in any request, everything is released, and the next one is served.
        }
    }
}

unsigned long inodeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

}  // namespace

void beginDatabase() {
    {
        const Stage full;
        keepBase();
    }
    for (const std::string& form : FullDatabase::forms()) {
        (void)fs::remove(databasePath());
        FullDatabase::makeForm(databasePath(), form);
        keepBase();
    }
    for (const char* schema : {"PhoneBook", "CallLogMissedCalls", "CallLogAndPhoneBook",
                               "FeatureKeys", "StimulusKeySettings", "AudioSettings"}) {
        requests.push_back(xml::message(schema, "read_request"));
    }
    requests.push_back(
        xml::message("PhoneBook", "write_request", "<Entry><Surname>New</Surname></Entry>"));
    requests.emplace_back("saveContactsToCSV");
}

/// The file is never removed; only an upgrade's copy may replace it. If one of the two was sound
/// before, the database is sound afterwards.
void takeDatabase(std::string_view input) {
    for (const std::string& path : {databasePath(), journalPath(), copyPath()}) {
        (void)fs::remove(path);
    }
    makeFiles(input);
    const bool hasCopy = fs::exists(copyPath());
    const bool isOneSound = hasCopy && (DatabaseAdapter::isSound(copyPath()) ||
                                        DatabaseAdapter::isSound(databasePath()));
    const unsigned long inode = inodeOf(databasePath());
    const LogCapture log(3);
    startAndAsk();
    const unsigned long now = inodeOf(databasePath());
    require(now != 0 && (now == inode || hasCopy), "the file is gone, or is another one");
    require(!isOneSound || DatabaseAdapter::isSound(databasePath()),
            "neither the database nor its copy is whole afterwards");
    const bool isDamaged = log.has("malformed") || log.has("file is not a database");
    require(!isDamaged || log.has(FailureLevel, databasePath() + " is damaged"),
            "the log does not name the damaged file");
    FuzzPlace::get().tidy();
}
