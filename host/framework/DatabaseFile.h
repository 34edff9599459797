#ifndef DATABASEFILE_H
#define DATABASEFILE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

class PrivateFolder;
struct sqlite3;

/// The file of a database, opened for examination: nothing is written to it or next to it. An
/// interrupted commit is rolled back in a copy, so that the file is seen as the next start will see
/// it.
class DatabaseFile {
public:
    using Rows = std::vector<std::vector<std::string>>;
    using Cells = std::vector<std::optional<std::string>>;  ///< no value for NULL

    DatabaseFile();
    ~DatabaseFile();
    DatabaseFile(const DatabaseFile&) = delete;
    DatabaseFile& operator=(const DatabaseFile&) = delete;

    /// The path of the service's database: in DB_PATH, or in the working directory.
    static std::string pathOfService();

    /// Opens the file to read it, in the state that other processes see. Waits up to five seconds
    /// for a commit of another process. To be called once. False, with the reason in error(), on
    /// failure.
    [[nodiscard]] bool open(const std::string& path);

    /// Runs a statement that reads. False, with SQLite's message in error(), on failure; @p rows
    /// then has the rows found before.
    [[nodiscard]] bool query(const std::string& sql, Rows& rows);

    /// The same, with NULLs distinct from blank texts.
    [[nodiscard]] bool query(const std::string& sql, std::vector<Cells>& rows);

    /// Writes the contents of the database at one moment to the file @p path, which is overwritten.
    /// False, with the reason in error(), on failure.
    [[nodiscard]] bool copyTo(const std::string& path);

    const std::string& error() const { return m_error; }

    /// What helps against error(); blank when the file itself has to be looked at.
    std::string advice() const;

    /// Whether something failed since another process holds a lock on the database.
    bool isBusy() const { return m_isBusy; }

private:
    /// Opens by a URI with @p options and reads the list of the tables.
    bool tryOpen(const std::string& path, const char* options, int flags);
    /// Copies the file with its journal and opens the copy, where SQLite may write.
    bool openCopy(const std::string& path);
    void close();
    /// Notes an error of SQLite; returns false.
    bool fail(int code, const std::string& words);

    /// Null until open() has succeeded; queries fail before that.
    sqlite3* m_database = nullptr;
    std::unique_ptr<PrivateFolder> m_copy;  ///< none as long as the file itself can be read
    std::string m_error;
    int m_code = 0;  ///< of SQLite, of the last error
    bool m_isBusy = false;
};

#endif
