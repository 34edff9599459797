#ifndef DATABASEFILE_H
#define DATABASEFILE_H

#include <optional>
#include <string>
#include <vector>

struct sqlite3;

/// The file of a database, opened to be looked at: nothing is written, neither into it nor next to
/// it, and no commit that was cut off is rolled back.
class DatabaseFile {
public:
    using Rows = std::vector<std::vector<std::string>>;
    using Cells = std::vector<std::optional<std::string>>;  ///< none for a NULL

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
     *                to a journal next to it
     * @return false with the reason in error()
     */
    [[nodiscard]] bool open(const std::string& path, bool isAlone);

    /// Runs a statement that reads. False with SQLite's words in error(); rows that were found
    /// before that are in @p rows.
    [[nodiscard]] bool query(const std::string& sql, Rows& rows);

    /// The same, with NULLs distinct from blank texts.
    [[nodiscard]] bool query(const std::string& sql, std::vector<Cells>& rows);

    /// Opens the file to read all of it: as the other processes see it, waiting up to five seconds
    /// for a commit of theirs. False with the reason in error().
    [[nodiscard]] bool openToRead(const std::string& path);

    /// Writes what the database holds at one moment over the file @p path. False with the reason in
    /// error().
    [[nodiscard]] bool copyTo(const std::string& path);

    const std::string& error() const { return m_error; }

private:
    /// Null until one of the open functions has succeeded; a query fails then.
    sqlite3* m_database = nullptr;
    std::string m_error;
};

#endif
