#ifndef DATABASEFILE_H
#define DATABASEFILE_H

#include <optional>
#include <string>
#include <vector>

struct sqlite3;

/// The file of a database, opened for examination: nothing is written to it or next to it, and no
/// interrupted commit is rolled back.
class DatabaseFile {
public:
    using Rows = std::vector<std::vector<std::string>>;
    using Cells = std::vector<std::optional<std::string>>;  ///< no value for NULL

    DatabaseFile() = default;
    ~DatabaseFile();
    DatabaseFile(const DatabaseFile&) = delete;
    DatabaseFile& operator=(const DatabaseFile&) = delete;

    /// The path of the service's database: in DB_PATH, or in the working directory.
    static std::string pathOfService();

    /**
     * Opens the file. To be called once.
     *
     * @param isAlone read the file as it is, and ignore other processes and a journal next to it
     * @return false with the reason in error()
     */
    [[nodiscard]] bool open(const std::string& path, bool isAlone);

    /// Runs a statement that reads. False, with SQLite's message in error(), on failure; @p rows
    /// then has the rows found before.
    [[nodiscard]] bool query(const std::string& sql, Rows& rows);

    /// The same, with NULLs distinct from blank texts.
    [[nodiscard]] bool query(const std::string& sql, std::vector<Cells>& rows);

    /// Opens the file to read all of it, in the state that other processes see. Waits up to five
    /// seconds for a commit of another process. False, with the reason in error(), on failure.
    [[nodiscard]] bool openToRead(const std::string& path);

    /// Writes the contents of the database at one moment to the file @p path, which is overwritten.
    /// False, with the reason in error(), on failure.
    [[nodiscard]] bool copyTo(const std::string& path);

    const std::string& error() const { return m_error; }

private:
    /// Null until one of the open functions has succeeded; queries fail before that.
    sqlite3* m_database = nullptr;
    std::string m_error;
};

#endif
