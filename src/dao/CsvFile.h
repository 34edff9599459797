#ifndef CSVFILE_H
#define CSVFILE_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "DeviceFile.h"

/// Writes the lines of a data file. Paths are those of the telephone; DeviceFileWriter says how an
/// older file is replaced.
class CsvWriter {
public:
    explicit CsvWriter(const std::string& path) : m_file(path) {}

    [[nodiscard]] bool isOpen() const { return m_file.isOpen(); }

    /// Writes @p text as it stands, and a line feed.
    void writeLine(const std::string& text);
    /// Writes one row: a backslash in front of each comma of a value, commas between the values.
    void writeRow(const std::vector<std::string>& values);

    /// Puts the file in its place and closes it. False when it could not be opened or not be
    /// written whole.
    [[nodiscard]] bool finish() { return m_file.finish(); }

private:
    DeviceFileWriter m_file;
};

/// Reads the lines of a data file. Paths are those of the telephone; DeviceFile says what opens. A
/// line that is too long is logged at level 2 and counts as one that was not stored.
class CsvReader {
public:
    /// What a line that begins with "#" is.
    enum class Comments { AreData, AreSkipped };

    explicit CsvReader(const std::string& path, Comments comments = Comments::AreData);

    [[nodiscard]] bool isOpen() const { return m_stream.isOpen(); }
    /// Whether it is not open because there is no such file.
    [[nodiscard]] bool isMissing() const { return m_stream.isMissing(); }

    /// The next line as it stands, less a carriage return at its end. False at the end of the file
    /// and for a line that is too long.
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
    bool next(std::string& line);
    void reportProgress();

    const std::string m_path;
    const Comments m_comments;
    DeviceFile m_stream;
    std::size_t m_line = 0;     ///< number of the line that was read last, from 1
    std::size_t m_tooLong = 0;  ///< lines that were
};

#endif
