#include "PowerCutState.h"

#include <sqlite3.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <vector>

#include "Decryption.h"

namespace fs = std::filesystem;

namespace {

using Lines = std::vector<std::string>;

/// A connection that reads; what SQLite says of a statement stands among its rows.
class Reader {
public:
    explicit Reader(const fs::path& path) {
        m_code = sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE, "unix");
    }
    ~Reader() { sqlite3_close(m_db); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// The rows, each a line, in an order of their own.
    Lines lines(const std::string& sql, const fs::path& key) {
        Lines all;
        sqlite3_stmt* statement = nullptr;
        int code = m_code != SQLITE_OK
                       ? m_code
                       : sqlite3_prepare_v2(m_db, sql.c_str(), -1, &statement, nullptr);
        while (code == SQLITE_OK && (code = sqlite3_step(statement)) == SQLITE_ROW) {
            all.push_back(lineOf(statement, key));
            code = SQLITE_OK;
        }
        if (code != SQLITE_DONE) {
            all.push_back(sql + ": " + sqlite3_errmsg(m_db));
        }
        sqlite3_finalize(statement);
        std::sort(all.begin(), all.end());
        return all;
    }

private:
    static std::string lineOf(sqlite3_stmt* statement, const fs::path& key) {
        std::string line;
        for (int i = 0; i < sqlite3_column_count(statement); ++i) {
            const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
            std::string cell = text != nullptr ? text : "NULL";
            // The same password never looks the same twice.
            if (cell.rfind("das1:", 0) == 0) {
                cell = "password " + decrypted(cell, key);
            }
            line += cell + "|";
        }
        return line;
    }

    sqlite3* m_db = nullptr;
    int m_code;
};

/// The lines that @p all has and @p known has not.
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

std::string PowerCutState::dump(const PowerCutPlace& place) {
    Reader reader(place.database());
    auto lines = reader.lines("SELECT type, name, tbl_name, sql FROM sqlite_master", {});
    for (const std::string& table :
         reader.lines("SELECT name FROM sqlite_master WHERE type = 'table'", {})) {
        const std::string name = table.substr(0, table.size() - 1);
        for (const std::string& row : reader.lines("SELECT * FROM \"" + name + "\"", place.key())) {
            lines.push_back(name + ": " + row);
        }
    }
    for (const auto& entry : fs::recursive_directory_iterator(place.folder())) {
        const std::string name = entry.path().filename();
        // Without a header a journal says nothing. What was being written under another name may be
        // left over: a second name of the key, or a data file that was not whole.
        if (name != "phone.db-journal" && name.rfind("dascrypt.key.", 0) != 0 &&
            name.find(".new-") == std::string::npos) {
            const std::string path = entry.path().lexically_relative(place.folder());
            lines.push_back("file " + path);
            if (entry.is_regular_file() && path.rfind("root/", 0) == 0) {
                lines.back() += ": " + textOfFile(entry.path());
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
    const Lines lines = Reader(database).lines("PRAGMA integrity_check", {});
    return lines == Lines{"ok|"} ? "" : "the database is " + lines.front();
}
