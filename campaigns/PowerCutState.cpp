#include "PowerCutState.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <vector>

#include "testkit/Decryption.h"
#include "testkit/Place.h"
#include "testkit/Sql.h"
#include "testkit/SqliteVfs.h"

namespace fs = std::filesystem;

namespace {

using Lines = std::vector<std::string>;

/// The result rows of a query, a line each, sorted. SQLite's message for a failed query is one of
/// the lines.
Lines rowsOf(const Sql& db, const std::string& sql, const fs::path& key = {}) {
    Lines all;
    std::string error;
    for (const auto& row : db.rows(sql, &error, "NULL")) {
        std::string& line = all.emplace_back();
        for (const std::string& cell : row) {
            // An encrypted password differs each time.
            const bool isSecret = cell.rfind("das1:", 0) == 0;
            line += (isSecret ? "password " + decrypted(cell, key) : cell) + "|";
        }
    }
    if (!error.empty()) {
        all.push_back(sql + ": " + error);
    }
    std::sort(all.begin(), all.end());
    return all;
}

/// The lines of @p all that are not in @p known.
Lines linesBeyond(const Lines& all, const Lines& known) {
    Lines beyond;
    std::set_difference(all.begin(), all.end(), known.begin(), known.end(),
                        std::back_inserter(beyond));
    return beyond;
}

Lines linesOf(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::string countOf(const Lines& lines, const std::string& what) {
    return std::to_string(lines.size()) + " lines " + what +
           (lines.empty() ? "" : " as '" + lines.front().substr(0, 200) + "'");
}

}  // namespace

std::string PowerCutState::dump(const PhonePlace& place) {
    const Sql db(place.database(), SqliteVfs::PlainName);
    auto lines = rowsOf(db, "SELECT type, name, tbl_name, sql FROM sqlite_master");
    for (const std::string& table :
         rowsOf(db, "SELECT name FROM sqlite_master WHERE type = 'table'")) {
        const std::string name = table.substr(0, table.size() - 1);
        for (const std::string& row : rowsOf(db, "SELECT * FROM \"" + name + "\"", place.key())) {
            lines.push_back(name + ": " + row);
        }
    }
    for (const auto& entry : fs::recursive_directory_iterator(place.folder())) {
        const std::string name = entry.path().filename();
        // A journal without a header is ignored by SQLite. Temporary files may be left over: a
        // second name of the key, or an incomplete data file.
        if (name != "phone.db-journal" && name.rfind("dascrypt.key.", 0) != 0 &&
            name.find(".new-") == std::string::npos) {
            const std::string path = entry.path().lexically_relative(place.folder());
            lines.push_back("file " + path);
            if (entry.is_regular_file() && path.rfind("root/", 0) == 0) {
                lines.back() += ": " + readFile(entry.path());
            }
        }
    }
    std::sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

std::string PowerCutState::difference(const std::string& wanted, const std::string& found) {
    const Lines ours = linesOf(wanted);
    const Lines theirs = linesOf(found);
    return countOf(linesBeyond(ours, theirs), "missing") + ", " +
           countOf(linesBeyond(theirs, ours), "too many");
}

std::string PowerCutState::integrity(const fs::path& database) {
    const Lines lines = rowsOf(Sql(database, SqliteVfs::PlainName), "PRAGMA integrity_check");
    return lines == Lines{"ok|"} ? "" : "the database is " + lines.front();
}
