#ifndef DATABASEFILE_H
#define DATABASEFILE_H

#include <string>
#include <vector>

struct sqlite3;

/// The file of a database, opened to be looked at: nothing is written, neither into it nor beside
/// it, and no commit that was cut off is taken back.
class DatabaseFile {
public:
    using Rows = std::vector<std::vector<std::string>>;

    DatabaseFile() = default;
    ~DatabaseFile();
    DatabaseFile(const DatabaseFile&) = delete;
    DatabaseFile& operator=(const DatabaseFile&) = delete;

    /// The place of the service's database by DB_PATH, or in the working directory.
    static std::string pathOfService();

    /**
     * Opens the file. To be called once.
     *
     * @param isAlone the state of the file is taken as it is, without regard to other processes or
     *                to a journal beside it
     * @return false with the reason in error()
     */
    [[nodiscard]] bool open(const std::string& path, bool isAlone);

    /// Runs a statement that reads. False with SQLite's words in error(); rows that were found
    /// before that are in @p rows.
    [[nodiscard]] bool query(const std::string& sql, Rows& rows);

    const std::string& error() const { return m_error; }

private:
    sqlite3* m_database = nullptr;
    std::string m_error;
};

#endif
