// Work of all kinds with less and less room on the disk: the files of the database by a limit on
// their growth, and where a file system of its own may be mounted, every file.

#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "Campaign.h"
#include "FaultVfs.h"
#include "Log.h"
#include "Scene.h"
#include "SceneRequests.h"
#include "Schemas.h"
#include "service/DataAccessService.h"
#include "settings/GeneralConfigurationDAO.h"

using namespace SceneRequests;

namespace {

namespace fs = std::filesystem;
using Tell = std::function<void(const std::string&)>;

constexpr long long Step = 64 * 1024;
constexpr unsigned RunLimit = 120;  // seconds
constexpr int Steps = 33;           // from nothing to 2 MiB

/// What is done while there is little room.
struct Work {
    std::string name;
    std::string old;  ///< the database before, as statements; a filled one of today without
    std::function<void(Scene&, const Tell&)> run;
};

const std::string InFile = "/data/in.csv";
const std::string OutFile = "/data/out.csv";

std::string longText(const std::string& start) {
    return start + std::string(2000, 'x');
}

/// Rows of @p table that hold @p text.
long rowsWith(const Scene& scene, const std::string& table, const std::string& text) {
    const std::multiset<std::string> rows = scene.contents()[table];
    return std::count_if(rows.begin(), rows.end(), [&](const std::string& row) {
        return row.find(text) != std::string::npos;
    });
}

std::string markOf(int number) {
    return "Mark" + std::to_string(number) + "x";
}

/// Which of the first @p count marks stand in @p table.
std::vector<bool> marksIn(const Scene& scene, const std::string& table, int count) {
    const Contents all = scene.contents();
    const auto rows = all.find(table);
    std::string text;
    if (rows != all.end()) {
        for (const std::string& row : rows->second) {
            text += row;
        }
    }
    std::vector<bool> found;
    for (int i = 0; i < count; ++i) {
        found.push_back(text.find(markOf(i)) != std::string::npos);
    }
    return found;
}

/// Single requests, until some do not find room: each that is acknowledged must be there.
void writeOneByOne(Scene& scene, const Tell& tell, const std::string& schema,
                   const std::string& table, const std::string& reason,
                   const std::function<std::string(int)>& body, int count) {
    std::vector<int> acknowledged;
    for (int i = 0; i < count; ++i) {
        const Outcome outcome = scene.call(message(schema, reason, body(i)));
        const std::string answer = outcome.reason();
        if (answer == "failure") {
            tell("+ failures");
        } else if (answer == reason.substr(0, reason.find('_')) + "_response") {
            acknowledged.push_back(i);
            tell("+ successes");
        } else {
            tell("F the answer is '" + outcome.response() + "'");
        }
    }
    const std::vector<bool> found = marksIn(scene, table, count);
    for (const int number : acknowledged) {
        if (!found[static_cast<std::size_t>(number)]) {
            tell("F acknowledged and not there: " + markOf(number));
        }
    }
}

/// A batch. Its answer is that of the last entry; what SQLite rolled back before it is told.
void writeBatch(Scene& scene, const Tell& tell, const std::string& schema, const std::string& table,
                const std::string& reason, const std::function<std::string(int)>& entryOf,
                int count) {
    std::string entries;
    for (int i = 0; i < count; ++i) {
        entries += entryOf(i);
    }
    const Outcome outcome = scene.call(message(schema, reason, entries));
    const std::string answer = outcome.reason();
    const std::vector<bool> found = marksIn(scene, table, count);
    const auto stored = static_cast<int>(std::count(found.begin(), found.end(), true));
    const bool isLastThere = found.back();
    tell(answer == "failure" ? "+ failures" : "+ successes");
    if (answer.empty()) {
        tell("F the answer is '" + outcome.response() + "'");
    } else if (answer != "failure" && !isLastThere) {
        tell("F the last entry is acknowledged and not there");
    } else if (answer != "failure" && stored < count) {
        tell("+ batches acknowledged without earlier entries");
        tell("L " + std::to_string(count - stored) + " of " + std::to_string(count) + " entries");
    }
}

std::string contactEntry(int i) {
    return entry(element("Surname", markOf(i)) + element("Address", longText("Street ")));
}

std::string callEntry(int i) {
    return callRow("", markOf(i) + std::string(200, '1'));
}

std::string keyEntry(int i) {
    return key(std::to_string(i < 16 ? 100 + i : 184 + i), longText(markOf(i)));
}

std::string settingElement(int i) {
    return element("Item" + std::to_string(i), longText(markOf(i)));
}

void import(Scene& scene, const Tell& tell) {
    Method call("importDataForUser");
    call.addStringParameter("schemaName", "PhoneBook", Parameter::in);
    call.addIntParameter("userToImportFor", 0, Parameter::in);
    call.addStringParameter("filePathAndName", InFile, Parameter::in);
    const long before = rowsWith(scene, "PHONE_BOOK", "'base'");
    (void)scene.call(call);
    const long imported = rowsWith(scene, "PHONE_BOOK", "Imported");
    tell(imported == 600 ? "+ whole imports" : "+ no imports");
    if (imported != 0 && imported != 600) {
        tell("F an import in part: " + std::to_string(imported));
    }
    if (imported == 0 && rowsWith(scene, "PHONE_BOOK", "'base'") != before) {
        tell("F an import lost the rows before");
    }
}

/// Neither the older file nor the new one is half there.
void exportAll(Scene& scene, const Tell& tell) {
    const std::string older = readText(scene.onDevice(OutFile));
    Method call("exportData");
    call.addStringParameter("schemaName", "PhoneBook", Parameter::in);
    call.addIntParameter("userToExportFor", -3, Parameter::in);
    call.addStringParameter("filePathAndName", OutFile, Parameter::in);
    (void)scene.call(call);
    const std::string text = readText(scene.onDevice(OutFile));
    const bool isWhole =
        std::count(text.begin(), text.end(), '\n') == rowsWith(scene, "PHONE_BOOK", "'");
    tell(isWhole ? "+ whole exports" : "+ exports without room");
    if (!isWhole && text != older) {
        tell("F half an export");
    }
}

void changeProfiles(Scene& scene, const Tell& tell) {
    for (const char* const user : {"visitor", "base"}) {
        Method call("setProfile");
        call.addStringParameter("NewProfile", user, Parameter::in);
        const bool isChanged = scene.call(call).acknowledged();
        const std::string now = scene.call(Scene::messageOf("getCurrentUser")).response();
        if (isChanged ? now != user : now != "base") {
            tell("F after a change of profile the user is " + now);
        }
    }
    if (rowsWith(scene, "PHONE_BOOK", "Name") < 12 || rowsWith(scene, "CALL_LOG", "4989") < 12) {
        tell("F contacts or calls of base are gone");
    }
}

std::vector<Work> works() {
    std::vector<Work> all = {
        {"contacts one by one", "",
         [](Scene& scene, const Tell& tell) {
             writeOneByOne(scene, tell, "PhoneBook", "PHONE_BOOK", "write_request", contactEntry,
                           40);
         }},
        {"settings one by one", "",
         [](Scene& scene, const Tell& tell) {
             writeOneByOne(scene, tell, "AudioSettings", "GENERAL_CONFIG", "update_request",
                           settingElement, 40);
         }},
        {"calls one by one", "",
         [](Scene& scene, const Tell& tell) {
             writeOneByOne(scene, tell, "CallLogMissedCalls", "CALL_LOG", "write_request",
                           callEntry, 40);
         }},
        {"a batch of contacts", "",
         [](Scene& scene, const Tell& tell) {
             writeBatch(scene, tell, "PhoneBook", "PHONE_BOOK", "write_request", contactEntry, 600);
         }},
        {"a batch of calls", "",
         [](Scene& scene, const Tell& tell) {
             writeBatch(scene, tell, "CallLogMissedCalls", "CALL_LOG", "write_request", callEntry,
                        400);
         }},
        {"a batch of keys", "",
         [](Scene& scene, const Tell& tell) {
             writeBatch(scene, tell, "FeatureKeys", "FEATURE_KEYS", "update_request", keyEntry, 32);
         }},
        {"a batch of settings", "",
         [](Scene& scene, const Tell& tell) {
             writeBatch(scene, tell, "AudioSettings", "GENERAL_CONFIG", "update_request",
                        settingElement, 400);
         }},
        {"an import", "", import},
        {"an export", "", exportAll},
        {"changes of profile", "", changeProfiles},
    };
    all.push_back({"upgrade of the oldest", oldestDatabase(1500), nullptr});
    for (const auto& file : fs::directory_iterator(DAS_DATABASES_DIR)) {
        const std::string name = file.path().stem();
        if (name.find("settings") == 0 || name == "other_protocol") {
            all.push_back({"upgrade of " + name, oldDatabase(name), nullptr});
        } else {
            all.push_back({"upgrade of " + name,
                           oldDatabase("settings_of_today") + oldDatabase(name), nullptr});
        }
    }
    return all;
}

/// A start, and a request to each table: the first one fills it.
void startAndAsk(Scene& scene) {
    scene.start();
    for (const std::string& schema : allSchemas()) {
        (void)scene.call(message(schema, "read_request"));
    }
    scene.stop();
}

/// The room, by which of the two ways.
class Room {
public:
    explicit Room(fs::path mount) : m_mount(std::move(mount)) {}

    /// Leaves @p bytes free.
    void leave(long long bytes) const {
        if (m_mount.empty()) {
            FaultVfs::limitRoom(bytes);
            return;
        }
        std::error_code error;
        const auto space = fs::space(m_mount, error);
        const auto filler = static_cast<long long>(space.available) - bytes;
        writeText(m_mount / "filler",
                  std::string(static_cast<std::size_t>(std::max(0LL, filler)), 'f'));
    }
    void giveBack() const {
        if (m_mount.empty()) {
            FaultVfs::unlimitRoom();
        } else {
            fs::remove(m_mount / "filler");
        }
    }

private:
    fs::path m_mount;  ///< empty: by the layer below SQLite
};

/// An upgrade with little room loses nothing: the next start, with room, ends as one that had it.
void upgrade(Scene& scene, const Work& work, const Room& room, long long bytes, const Tell& tell) {
    (void)scene.sql(work.old);
    const std::string before = readText(scene.database());
    startAndAsk(scene);
    const Contents expected = scene.contents();
    for (const char* const name : {"phone.db", "phone.db-journal", "dascrypt.key"}) {
        fs::remove(scene.database().parent_path() / name);
    }
    writeText(scene.database(), before);
    room.leave(bytes);
    scene.start();
    const Outcome outcome = scene.call(message("PhoneBook", "read_request"));
    if (outcome.reason() != "read_response" && outcome.reason() != "failure") {
        tell("F the answer is '" + outcome.response() + "'");
    }
    room.giveBack();
    scene.stop();
    startAndAsk(scene);
    const Contents now = scene.contents();
    const Contents missing = without(expected, now);
    const Contents strange = without(now, expected);
    if (!missing.empty() || !strange.empty()) {
        tell("F the next start ends elsewhere: missing " + sample(missing) + " strange " +
             sample(strange));
    }
    // Until that start a table that found no room for its new form does not know its new columns.
    scene.start();
    const std::string wrong = probe(scene);
    if (!wrong.empty()) {
        tell("F behind the next start: " + wrong);
    }
}

void tryWork(const Work& work, const Room& room, const fs::path& parent, const fs::path& filled,
             long long bytes, const Tell& tell) {
    Scene scene(parent);
    writeText(scene.onDevice(InFile), contactsFile(600, "Imported", 1000));
    for (const char* const name : {"DasGenConfigDeviceDataItems.csv", "DasTagMappings.csv"}) {
        fs::copy_file(fs::path(DAS_DEPLOY_DIR) / name,
                      scene.onDevice(std::string("/Aurel_Deploy/") + name));
    }
    if (work.run == nullptr) {
        upgrade(scene, work, room, bytes, tell);
    } else {
        fs::copy_file(filled, scene.database());
        scene.start();
        const Contents before = scene.contents();
        room.leave(bytes);
        work.run(scene, tell);
        const std::string held = scene.whatIsHeld();
        if (!held.empty()) {
            tell("F is still held: " + held);
        }
        room.giveBack();
        const std::string wrong = probe(scene);
        if (!wrong.empty()) {
            tell("F without a restart: " + wrong);
        }
    }
    if (scene.integrity() != "ok") {
        tell("F integrity: " + scene.integrity());
    }
    if (FaultVfs::refusedForRoom() > 0) {
        tell("+ runs that were short of room");
    }
}

/// A file system of 8 MiB of its own, where that is allowed.
class Mount {
public:
    explicit Mount(const fs::path& parent) {
        std::string name = (parent / "das-small-XXXXXX").string();
        const fs::path folder = mkdtemp(name.data());
        if (::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=12m") == 0) {
            m_folder = folder;
        } else {
            fs::remove(folder);
        }
    }
    ~Mount() {
        if (!m_folder.empty()) {
            ::umount(m_folder.c_str());
            fs::remove(m_folder);
        }
    }
    Mount(const Mount&) = delete;
    Mount& operator=(const Mount&) = delete;

    const fs::path& folder() const { return m_folder; }

private:
    fs::path m_folder;
};

/// Tells the lines of a process to the campaign.
class Collector {
public:
    explicit Collector(Campaign& campaign) : m_campaign(campaign) {}

    void take(const Report& report, const std::string& where) {
        for (const std::string& line : report.lines) {
            if (line[0] == 'F') {
                m_campaign.found(where + line.substr(2));
            } else if (line[0] == '+') {
                m_campaign.figure(line.substr(2), ++m_figures[line.substr(2)]);
            } else if (line[0] == 'L') {
                m_largest = std::max(m_largest, std::stol(line.substr(2)));
                m_campaign.figure("most entries lost of one batch", m_largest);
            }
        }
        m_campaign.check(report.end.empty(), where + report.end);
    }

private:
    Campaign& m_campaign;
    std::map<std::string, long> m_figures;
    long m_largest = 0;
};

}  // namespace

int main(int argc, char** argv) {
    Campaign campaign("diskfull", "runs, each of one kind of work with some room", 2112, argc,
                      argv);
    FaultVfs::install();
    Log::setLevel(3);
    Log::setSink([](const Log::Entry&) {});
    const fs::path parent = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    const std::vector<Work> all = works();
    Collector collector(campaign);
    Scene filled(parent);
    collector.take(isolated([&](const Tell&) {
                       filled.start();
                       fill(filled);
                       filled.stop();
                   }),
                   "a filled database: ");
    const Mount mount(parent);
    campaign.figure("kinds of work", static_cast<long long>(all.size()));
    campaign.figure("file system of its own", mount.folder().empty() ? "no" : "yes");
    // Each kind with each room, in an order of its own; the second time on a real file system.
    std::vector<std::pair<std::size_t, int>> runs;
    for (std::size_t work = 0; work < all.size(); ++work) {
        for (int step = 0; step < Steps; ++step) {
            runs.emplace_back(work, step);
        }
    }
    std::mt19937 random(campaign.seed());
    std::shuffle(runs.begin(), runs.end(), random);
    for (long round = 0; round < campaign.rounds(); ++round) {
        const auto& [number, step] = runs[static_cast<std::size_t>(round) % runs.size()];
        const bool isReal =
            !mount.folder().empty() && (round + round / static_cast<long>(runs.size())) % 2 == 1;
        const Room room(isReal ? mount.folder() : fs::path());
        const long long bytes = step * Step;
        collector.take(isolated(
                           [&](const Tell& tell) {
                               tryWork(all[number], room, isReal ? mount.folder() : parent,
                                       filled.database(), bytes, tell);
                           },
                           RunLimit),
                       all[number].name + " with " + std::to_string(bytes / 1024) + " KiB" +
                           (isReal ? " of a file system: " : ": "));
        if (isReal) {
            for (const auto& left : fs::directory_iterator(mount.folder())) {
                fs::remove_all(left);
            }
        }
    }
    campaign.figure("runs", campaign.rounds());
    return campaign.end();
}
