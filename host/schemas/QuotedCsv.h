#ifndef QUOTEDCSV_H
#define QUOTEDCSV_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Reads the records of a CSV file with optional quotes, as das prints it: in a quoted field a
/// quote is doubled, and commas and line ends are allowed. Blanks belong to the fields.
class QuotedCsv {
public:
    /// @p text must outlive the object.
    explicit QuotedCsv(std::string_view text) : m_rest(text) {}

    /// Reads the next record, skipping empty lines. At most @p most fields are stored; further ones
    /// are only counted. False at the end of the text and for an invalid record.
    bool next(std::size_t most, std::vector<std::string>& fields);

    /// What is wrong with the record that was read last; blank if it is valid.
    [[nodiscard]] const std::string& error() const { return m_error; }
    /// How many fields it has.
    [[nodiscard]] std::size_t count() const { return m_count; }
    /// The number of the line that it begins on, from 1 on.
    [[nodiscard]] std::size_t line() const { return m_line; }

private:
    /// Reads the next field in any form. False, with error(), if a quoted field is not closed or
    /// text follows its closing quote.
    bool takeField(std::string& field);
    bool takeQuoted(std::string& field);
    /// Reads a field up to its comma or line end. A quote inside it is an ordinary character.
    void takePlain(std::string& field);
    [[nodiscard]] bool isAtLineEnd() const;
    /// Goes to the begin of the next line and counts it.
    void skipLineEnd();

    std::string_view m_rest;
    std::string m_error;
    std::size_t m_count = 0;
    std::size_t m_line = 0;
    std::size_t m_nextLine = 1;
};

#endif
