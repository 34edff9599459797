#ifndef CLIENTUTILS_H
#define CLIENTUTILS_H

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

/// Small operations on strings that all services of the telephone share. They throw no exceptions
/// of their own.
class ClientUtils {
public:
    static std::string itos(int value);
    static std::string int64tos(long long value);

    /// The number at the front of @p text, base 10, clamped to an int; 0 without a number.
    static int stoi(const std::string& text);

    /// True for "1" and for "true" in any case.
    static bool stob(const std::string& text);

    static std::string join(const std::vector<std::string>& parts, const std::string& separator);

    /**
     * Cuts @p text at every character of @p separators.
     *
     * @param keepEmpty true keeps pieces without characters; false drops them
     * @param trim      true removes blanks at both ends of each piece, before emptiness is tested
     * @return the pieces in order; none for empty text
     */
    static std::vector<std::string> tokenizeString(const std::string& text,
                                                   const std::string& separators, bool keepEmpty,
                                                   bool trim);

    /// Replaces the five characters that have named entities by these.
    static std::string escapeXMLString(const std::string& text);
    /// Replaces the five named entities by their characters, "&amp;" last; others stay as they are.
    static std::string unescapeXMLString(const std::string& text);

    /**
     * Splits one line of a CSV data file into @p fields, which is emptied first. It splits at
     * commas without a backslash in front. "\," becomes ",", and every other backslash stays.
     * Quotes have no meaning. One carriage return at the line's end is dropped. An empty line has
     * no fields; a comma at the end means one more, empty field.
     */
    static void splitString(const std::string& line, std::vector<std::string>& fields);

    /// The longest line that is read from a file, in bytes without its line feed. A longer line
    /// could fill the memory.
    static constexpr std::size_t LongestLine = 1024 * 1024;

    enum class Line { Read, TooLong, End };
    /// Reads one line from @p stream. A line that is too long is skipped, and @p line is blank.
    static Line readLine(std::istream& stream, std::string& line);

    /// Reads one line from @p stream and splits it like splitString. A line that is too long is
    /// logged at level 2 and has no fields. False at the end of the stream.
    static bool readLineFromCsvFileAndParse(std::istream& stream, std::vector<std::string>& fields);

    /// Reads the line "#$VERSION=N" into @p version. False when the line is not of that form.
    static bool getVersion(std::istream& stream, int& version);

    /**
     * Reads the line "#$COLUMNS=…" and returns for each of @p names its index in it, from 0.
     *
     * @return false when the line is not of that form or lacks one of the names.
     */
    static bool getColumnPositions(std::istream& stream, const std::vector<std::string>& names,
                                   std::vector<int>& positions);

    /// Whether @p name is a setting or a column that holds a known password. Exact comparison.
    static bool isKnownPasswordDAS(const std::string& name);
    /// The printable form of @p value: "*****" if @p name holds a secret, else the value.
    static std::string hidePasswordDAS(const std::string& name, const std::string& value);
};

#endif
