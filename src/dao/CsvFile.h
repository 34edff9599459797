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

    /// Appends such a row to @p text, without a line feed.
    static void appendRow(std::string& text, const std::vector<std::string>& values);

    /// Puts the file in its place and closes it. False when it could not be opened or not be
    /// written whole.
    [[nodiscard]] bool finish() { return m_file.finish(); }

private:
    DeviceFileWriter m_file;
    std::string m_row;  ///< in the form of the file; its memory serves the next one
};

/// A text that an import reads in place of a file, and what the import has counted.
struct TextImport {
    std::string_view text;    ///< must outlive the import
    std::size_t rows = 0;     ///< that the text has
    std::size_t refused = 0;  ///< those of them that were not stored
};

/// Reads the lines of a data file. Paths are those of the telephone; DeviceFile says what opens. A
/// line that is too long is logged at level 2 and counts as one that was not stored.
class CsvReader {
public:
    /// What a line that begins with "#" is.
    enum class Comments { AreData, AreSkipped };

    explicit CsvReader(const std::string& path, Comments comments = Comments::AreData);
    /// Reads @p text, which must outlive the object; @p name stands for it in the log.
    CsvReader(const std::string& name, std::string_view text);
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    [[nodiscard]] bool isOpen() const { return !m_file || m_file->isOpen(); }
    /// Whether it is not open because there is no such file.
    [[nodiscard]] bool isMissing() const { return m_file && m_file->isMissing(); }

    /// The next line as it stands, less a carriage return at its end. False at the end of the file
    /// and for a line that is too long.
    bool readLine(std::string& line);

    /// The fields of the next line that has any. False at the end of the file.
    bool readFields(std::vector<std::string>& fields);

    /**
     * Gives the fields of each further line that has any to @p store, which may change them and
     * returns 0 for success. A line that makes it throw std::out_of_range is logged at level 2 and
     * counts as a failure; the others go on. How much of an ordinary file is read is reported.
     *
     * @return how many lines were not stored
     */
    std::size_t forEachRow(const std::function<int(std::vector<std::string>&)>& store);

    /// How many lines forEachRow() found that have fields or were too long.
    [[nodiscard]] std::size_t rows() const { return m_rows + m_tooLong; }

private:
    /// A text that is there, as a stream reads it.
    class TextBuffer : public std::streambuf {
    public:
        explicit TextBuffer(std::string_view text) {
            char* const begin = const_cast<char*>(text.data());  // only ever read
            setg(begin, begin, begin + text.size());
        }
        [[nodiscard]] std::size_t size() const {
            return static_cast<std::size_t>(egptr() - eback());
        }
        [[nodiscard]] std::size_t position() const {
            return static_cast<std::size_t>(gptr() - eback());
        }
    };

    /// Reads the next line that is not too long, whatever it holds. False at the end.
    bool next(std::string& line);
    /// Reports how many bytes of the file have been read; nothing for a text.
    void reportProgress();

    const std::string m_path;
    const Comments m_comments;
    std::optional<DeviceFile> m_file;  ///< none for a text
    TextBuffer m_text;
    std::istream m_textStream;
    std::istream& m_stream;  ///< of the two
    std::size_t m_rows = 0;
    std::size_t m_line = 0;     ///< number of the line that was read last, from 1
    std::size_t m_tooLong = 0;  ///< lines that were
};

#endif
