#ifndef QUOTEDCSV_H
#define QUOTEDCSV_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Reads the records of a CSV whose fields may stand in quotes, as das prints it: a quote in such a
/// field is doubled, and the field may hold commas and line ends. Blanks belong to the fields.
class QuotedCsv {
public:
    /// @p text must outlive the object.
    explicit QuotedCsv(std::string_view text) : m_rest(text) {}

    /// Reads the next record that is no empty line. A record has at most @p most fields; those
    /// beyond are counted alone. False at the end of the text and for a record that is not one.
    bool next(std::size_t most, std::vector<std::string>& fields);

    /// What is wrong with the record that was read last; blank for nothing.
    [[nodiscard]] const std::string& error() const { return m_error; }
    /// How many fields it has.
    [[nodiscard]] std::size_t count() const { return m_count; }
    /// The number of the line that it begins on, from 1 on.
    [[nodiscard]] std::size_t line() const { return m_line; }

private:
    /// Takes the next field off the text, whatever its form. False, with error(), for one in quotes
    /// that is not closed or that text follows.
    bool takeField(std::string& field);
    bool takeQuoted(std::string& field);
    /// Takes a field up to its comma or line end. A quote inside it is a character like any other.
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
