#ifndef CSVFILE_H
#define CSVFILE_H

#include <cstddef>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

/**
 * Writes the lines of a data file. Paths are those of the telephone.
 *
 * The first failure is logged at level 2 and stays: what is written after it goes nowhere, and
 * finish() tells. Files in the deploy directory may hold settings and passwords on their way
 * through a migration, so they are readable for their owner alone.
 */
class CsvWriter {
public:
    /// What becomes of a file that is there already.
    enum class Target {
        Truncated,  ///< it is emptied at once, and each line is in the file when it is written
        Replaced    ///< it stays as it was until finish(), and for good when anything fails
    };

    /// Opens @p path. A target that is no ordinary file, a device or a link, is written in place.
    CsvWriter(const std::string& path, Target target);
    /// Without finish(), a target to be replaced stays as it was.
    ~CsvWriter();
    CsvWriter(const CsvWriter&) = delete;
    CsvWriter& operator=(const CsvWriter&) = delete;

    [[nodiscard]] bool isOpen() const { return m_file >= 0; }

    /// Writes @p text as it stands, and a line feed.
    void writeLine(const std::string& text);
    /// Writes one row: a backslash in front of each comma of a value, commas between the values.
    void writeRow(const std::vector<std::string>& values);

    /// Brings everything into the file and closes it. False when it could not be opened or not be
    /// written whole. A failure of the close alone is not told.
    [[nodiscard]] bool finish();

private:
    void open(const std::string& place);
    void endLine();
    void flush();
    bool replaceTarget();
    void fail(const char* action);
    void close();

    const std::string m_path;
    Target m_target;
    std::string m_temporary;  ///< beside the target, on this machine; empty when there is none
    std::string m_buffer;
    int m_file = -1;
    bool m_good = true;
};

/// Reads the lines of a data file. Paths are those of the telephone. A folder counts as a file that
/// can't be opened.
class CsvReader {
public:
    /// What a line that begins with "#" is.
    enum class Comments { AreData, AreSkipped };

    explicit CsvReader(const std::string& path, Comments comments = Comments::AreData);

    [[nodiscard]] bool isOpen() const { return m_open; }

    /// The next line as it stands, less a carriage return at its end. False at the end of the file.
    bool readLine(std::string& line);

    /// The fields of the next line that has any. False at the end of the file.
    bool readFields(std::vector<std::string>& fields);

    /**
     * Gives the fields of each further line that has any to @p store, which may change them and
     * returns 0 for success. A line that makes it raise std::out_of_range is logged at level 2 and
     * counts as a failure; the others go on. How much of an ordinary file is read is reported.
     *
     * @return how many lines were not stored
     */
    std::size_t forEachRow(const std::function<int(std::vector<std::string>&)>& store);

private:
    void reportProgress();

    const std::string m_path;
    const Comments m_comments;
    bool m_open;
    std::ifstream m_stream;
    std::size_t m_size = 0;  ///< in bytes, 0 when it is no ordinary file
    std::size_t m_line = 0;  ///< number of the line that was read last, from 1
};

#endif
