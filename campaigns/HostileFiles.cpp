#include "HostileFiles.h"

#include <algorithm>
#include <fstream>

#include "DASTypes.h"
#include "HostileTexts.h"
#include "Serializer.h"
#include "SqlJudge.h"

namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

const char* const importPath = "/tmp/hostile.csv";
const std::string secret = "SECRET";
const std::string canaryLine = "base,,SECRET,SECRET,1,2,3,,,,,,,,,,,,,\n";
/// Neither base nor visitor: an import or export for all users.
constexpr int Everybody = 2;

std::string cellOfFile(const std::string& text) {
    std::string cell;
    for (const char c : text) {
        cell += c == ',' ? "\\," : std::string(1, c);
    }
    return cell;
}

/// A line for @p subject's table that names the victim, with @p text in the column @p place.
std::string lineWith(const Subject& subject, const std::string& text, std::size_t place) {
    std::string line;
    for (std::size_t i = 0; i < subject.columns.size(); ++i) {
        const std::string& column = subject.columns[i];
        std::string cell = "x";
        if (i == place) {
            cell = cellOfFile(text);
        } else if (column == "UserContext") {
            cell = "base";
        } else if (column == subject.key) {
            cell = HostilePlace::victimKey(subject);
        }
        line += (i == 0 ? "" : ",") + cell;
    }
    return line + "\n";
}

std::string fileWith(const Subject& subject, const std::string& text, long round) {
    const auto place = static_cast<std::size_t>(round / 4) % subject.columns.size();
    const std::string line = lineWith(subject, text, place);
    switch (round % 4) {
        case 0:
            return text;
        case 1:
            return "#$VERSION=" + text + "\n#$COLUMNS=" + text + "," + subject.key + "\n" + line;
        case 2:
            return text + "," + subject.columns.back() + "\n" + line;
        default:
            return line + line;
    }
}

/// Everything below @p folder, with contents; links are not followed.
std::string treeOf(const fs::path& folder) {
    Texts lines;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const bool isFile = fs::is_regular_file(entry.symlink_status());
        lines.push_back(entry.path().string() + "=" + (isFile ? readFile(entry.path()) : ""));
    }
    std::sort(lines.begin(), lines.end());
    std::string tree;
    for (const std::string& line : lines) {
        tree += line + "\n";
    }
    return tree;
}

bool shows(const DirectoryList& list, const char* name) {
    return std::any_of(list.begin(), list.end(), [name](const auto& entry) {
        return std::any_of(
            entry.second.begin(), entry.second.end(),
            [name](const std::string& text) { return text.find(name) != std::string::npos; });
    });
}

/// Whether @p text contains the name of an XML entity, which is replaced when a value is read.
bool hasEntity(const std::string& text) {
    const std::size_t sign = text.find('&');
    return sign != std::string::npos && text.find(';', sign) != std::string::npos;
}

}  // namespace

void HostileFiles::importData(const std::vector<Subject>& subjects, const Texts& texts,
                              long rounds) {
    for (long round = 0; round < rounds; ++round) {
        const auto number = static_cast<std::size_t>(round);
        const Subject& subject = subjects[number * 31 % subjects.size()];
        const std::string& text = texts[number * 7 % texts.size()];
        importFile(subject, fileWith(subject, text, round), static_cast<int>(number % 3));
    }
}

void HostileFiles::importFile(const Subject& subject, const std::string& content, int category) {
    writeFile(m_place.root() / "tmp/hostile.csv", content);
    const long long before = m_campaign.findings();
    DataAccessService& service = m_place.service();
    SqlJudge::begin();
    if (category == Everybody) {
        (void)service.importData(subject.schema, importPath);
    } else {
        (void)service.importData(subject.schema, static_cast<eUserCategory>(category), importPath);
    }
    SqlJudge::end();
    std::set<std::string> tables = HostilePlace::tablesOf(subject);
    if (subject.table == "CallGroup") {
        tables.insert("GENERAL_CONFIG");  // it stores whether visitors are served
    }
    m_place.checkActs(m_campaign, tables);
    for (const std::string& table : SqlJudge::changedTables()) {
        // An import for one user replaces all rows of that user.
        const std::string wrong = category == visitor
                                      ? m_place.changeBeyond(table, "visitor")
                                      : m_place.wrongChange(subject, table, category == base);
        m_campaign.check(wrong.empty(), wrong);
    }
    if (!SqlJudge::changedTables().empty()) {
        ++m_takenImports;
        m_place.restore();
    }
    if (m_campaign.findings() != before) {
        m_campaign.found("... by an import of " + subject.schema + " for " +
                         std::to_string(category) + ": " + content.substr(0, 500));
    }
    ++m_imports;
}

void HostileFiles::passMaps(const Texts& texts, long rounds) {
    static const char* const tags[] = {"ringer-melody", "key-function-", "key-function-100", "x["};
    for (long round = 0; round < rounds; ++round) {
        const auto number = static_cast<std::size_t>(round);
        const std::string& text = texts[number * 11 % texts.size()];
        switch (round % 3) {
            case 0:
                passMap("ringer-melody", text);
                break;
            case 1:
                passMap(text, "x");
                break;
            default:
                passMap(tags[number / 3 % std::size(tags)] + text + "]", text);
        }
    }
}

/// Passes one map to all methods that have a map as a parameter.
void HostileFiles::passMap(const std::string& key, const std::string& value) {
    const long long before = m_campaign.findings();
    std::map<std::string, std::string> unread;
    (void)Serializer::deserialize(value, unread);
    DataAccessService& service = m_place.service();
    std::map<std::string, std::string> values = {{key, value}};
    SqlJudge::begin();
    (void)service.importUserData(values, true);
    const std::string stored =
        m_place.cell("SELECT Value FROM GENERAL_CONFIG WHERE Name='RingerMelody'");
    (void)service.migrateUserData(values);
    (void)service.exportUserData(values, true);
    (void)service.exportUserData(values, false);
    (void)service.setProfile("base");
    SqlJudge::end();
    m_place.checkActs(m_campaign, {"GENERAL_CONFIG", "FEATURE_KEYS"});
    for (const std::string& table : SqlJudge::changedTables()) {
        // The change to base deletes the visitor's password, but the campaign has stored none.
        const std::string wrong = m_place.changeBeyond(table, "no user");
        m_campaign.check(wrong.empty(), wrong);
    }
    if (key == "ringer-melody" && isCarriedByXml(value) && !hasEntity(value) &&
        value.find('\r') == std::string::npos) {
        m_campaign.check(stored == value, "the map's value is stored as '" + stored + "'");
    }
    m_place.restore();
    if (m_campaign.findings() != before) {
        m_campaign.found("... by a map of '" + key + "' to '" + value.substr(0, 500) + "'");
    }
    ++m_maps;
}

void HostileFiles::layTrees() {
    const fs::path data = m_place.root() / "data";
    fs::create_directories(data / "ringtones");
    fs::create_directories(m_place.root() / "tmp");
    writeFile(data / "own.csv", "base,,Own,,,,,,,,,,,,,,,,,\n");
    const std::pair<fs::path, fs::path> links[] = {
        {m_place.outside(), data / "link"},
        {m_place.outside() / "canary.csv", data / "filelink"},
        {"..", m_place.root() / "tmp/linkup"},
        {"../..", m_place.root() / "tmp/linkout"},
        {"loop", data / "loop"},
        {"link", data / "chain"},
    };
    for (const auto& [target, link] : links) {
        if (!fs::is_symlink(fs::symlink_status(link))) {
            fs::remove_all(link);
            fs::create_symlink(target, link);
        }
    }
}

void HostileFiles::walkPaths() {
    fs::create_directories(m_place.outside() / "sub");
    for (const char* name : {"canary.csv", "sub/canary.csv"}) {
        writeFile(m_place.outside() / name, canaryLine);
    }
    for (const std::string& path : hostilePaths(m_place.outside())) {
        layTrees();
        usePath(path);
        ++m_paths;
    }
}

void HostileFiles::usePath(const std::string& path) {
    DataAccessService& service = m_place.service();
    DirectoryList found;
    const std::size_t slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const auto each = static_cast<eUserCategory>(Everybody);
    const struct {
        const char* what;
        std::function<void()> call;
    } calls[] = {
        {"readDirectory",
         [&] { (void)service.readDirectory(path, true, true, true, &found, &found); }},
        {"readDirectoryTree",
         [&] { (void)service.readDirectoryTree(path, true, true, true, &found, &found); }},
        {"importData", [&] { (void)service.importData("PhoneBook", path); }},
        {"importDataForUser", [&] { (void)service.importData("PhoneBook", visitor, path); }},
        {"exportData", [&] { (void)service.exportData("PhoneBook", each, path); }},
        {"renameFile from", [&] { (void)service.renameFile(path, "/data/taken.csv"); }},
        {"renameFile to", [&] { (void)service.renameFile("/data/own.csv", path); }},
        {"moveFile from", [&] { (void)service.moveFile(path, "/data/moved.csv"); }},
        {"moveFile to", [&] { (void)service.moveFile("/data/own.csv", path); }},
        {"deleteFile", [&] { (void)service.deleteFile(folder, name); }},
        {"deleteFile in", [&] { (void)service.deleteFile(path, "canary.csv"); }},
        {"deleteFile of a path", [&] { (void)service.deleteFile("/data/ringtones", path); }},
    };
    for (const auto& row : calls) {
        layTrees();
        const std::string before = treeOf(m_place.outside());
        SqlJudge::begin();
        row.call();
        SqlJudge::end();
        const std::string how =
            std::string(" by ") + row.what + " of '" + path.substr(0, 300) + "'";
        m_place.checkActs(m_campaign, {"PHONE_BOOK", "DISTINCTIVE_RINGING"});
        m_campaign.check(treeOf(m_place.outside()) == before, "the outside changed" + how);
        m_campaign.check(!shows(found, "canary.csv"), "the outside was listed" + how);
        m_campaign.check(
            m_place.cell("SELECT COUNT(*) FROM PHONE_BOOK WHERE Surname='" + secret + "'") == "0",
            "the outside was read" + how);
        m_campaign.check(treeOf(m_place.root()).find("=" + canaryLine) == std::string::npos,
                         "the outside was taken" + how);
        if (!SqlJudge::changedTables().empty()) {
            m_place.restore();
        }
        ++m_pathCalls;
    }
}
