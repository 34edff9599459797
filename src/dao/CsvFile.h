#ifndef CSVFILE_H
#define CSVFILE_H

#include <cstddef>
#include <functional>
#include <istream>
#include <optional>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "DeviceFile.h"

/// Writes the lines of a data file. Paths are those of the telephone. DeviceFileWriter describes
/// how it replaces an existing file.
class CsvWriter {
public:
    explicit CsvWriter(const std::string& path) : m_file(path) {}

    [[nodiscard]] bool isOpen() const { return m_file.isOpen(); }

    /// Writes @p text as it stands, and a line feed.
    void writeLine(const std::string& text);
    /// Writes one row: a backslash in front of each comma of a value, commas between the values.
    void writeRow(const std::vector<std::string>& values);

    /// Appends such a row to @p text, without a line feed.
    static void appendRow(std::string& text, const std::vector<std::string>& values);

    /// Puts the finished file in its place and closes it. False if it could not be opened or not be
    /// written completely.
    [[nodiscard]] bool finish() { return m_file.finish(); }

private:
    DeviceFileWriter m_file;
    std::string m_row;  ///< the row in the form of the file; a member so that its memory is reused
};

/// A string that an import reads instead of a file, and the counters of that import.
struct TextImport {
    std::string_view text;    ///< must outlive the import
    std::size_t rows = 0;     ///< rows in the string
    std::size_t refused = 0;  ///< how many of them were not stored
};

/// Reads the lines of a data file. Paths are those of the telephone; DeviceFile decides which files
/// may be opened. A line that is too long is logged at level 2 and counts as one that was not
/// stored.
class CsvReader {
public:
    /// How a line that begins with "#" is treated.
    enum class Comments { AreData, AreSkipped };

    explicit CsvReader(const std::string& path, Comments comments = Comments::AreData);
    /// Reads @p text, which must outlive the object; the log shows @p name as its name.
    CsvReader(const std::string& name, std::string_view text);
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    [[nodiscard]] bool isOpen() const { return !m_file || m_file->isOpen(); }
    /// Whether opening failed because the file does not exist.
    [[nodiscard]] bool isMissing() const { return m_file && m_file->isMissing(); }

    /// Reads the next line unchanged, except for a carriage return at its end. False at the end of
    /// the file and for a line that is too long.
    bool readLine(std::string& line);

    /// Reads the fields of the next line that is not empty. False at the end of the file.
    bool readFields(std::vector<std::string>& fields);

    /**
     * Calls @p store with the fields of each further line that is not empty. @p store may change
     * the fields and returns 0 for success. If it throws std::out_of_range, the line is logged at
     * level 2 and counts as a failure, and reading continues. For an ordinary file, progress is
     * reported.
     *
     * @return how many lines were not stored
     */
    std::size_t forEachRow(const std::function<int(std::vector<std::string>&)>& store);

    /// How many lines forEachRow() found that were not empty or were too long.
    [[nodiscard]] std::size_t rows() const { return m_rows + m_tooLong; }

private:
    /// Lets a stream read an existing string without a copy.
    class TextBuffer : public std::streambuf {
    public:
        explicit TextBuffer(std::string_view text) {
            char* const begin = const_cast<char*>(text.data());  // the stream only reads it
            setg(begin, begin, begin + text.size());
        }
        [[nodiscard]] std::size_t size() const {
            return static_cast<std::size_t>(egptr() - eback());
        }
        [[nodiscard]] std::size_t position() const {
            return static_cast<std::size_t>(gptr() - eback());
        }
    };

    /// Reads the next line that is not too long, even an empty one. False at the end.
    bool next(std::string& line);
    /// Reports how many bytes of the file have been read; nothing for a string.
    void reportProgress();

    const std::string m_path;
    const Comments m_comments;
    std::optional<DeviceFile> m_file;  ///< not set when a string is read
    TextBuffer m_text;
    std::istream m_textStream;
    std::istream& m_stream;  ///< of m_file or of the string
    std::size_t m_rows = 0;
    std::size_t m_line = 0;     ///< number of the line that was read last, from 1
    std::size_t m_tooLong = 0;  ///< number of lines that were too long
};

#endif
