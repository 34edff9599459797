#ifndef IMPORTFILE_H
#define IMPORTFILE_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "DASTypes.h"
#include "schemas/KnownSchemas.h"

/// A text that is to be imported into the table of a schema, checked as a whole.
/// There are two forms. A text whose first line names columns is read by those names, in any order,
/// and its rows are handed over by name. A text without names has the columns of the table in their
/// order, as exports write them, and is handed over as it is.
class ImportFile {
public:
    static constexpr std::size_t MostRows = 10000;  ///< of a text with column names
    static constexpr std::size_t MostRefusals = 5;  ///< that are kept

    /// What is wrong with a line.
    struct Refusal {
        std::size_t line;  ///< from 1 on
        std::string reason;

        [[nodiscard]] std::string text() const;  ///< "line N: REASON"
    };

    /// Checks @p text, which is for the rows of @p user, or blank. @p schema has data files.
    ImportFile(const KnownSchemas::Entry& schema, const std::string& user, std::string_view text);

    /// The first lines that are wrong, in order; none when the text may be imported.
    [[nodiscard]] const std::vector<Refusal>& refusals() const { return m_refusals; }

    /// Whether the first line names columns; else the text has the form of docs/csv.md.
    [[nodiscard]] bool hasNames() const { return !m_columns.empty(); }

    /// How many rows the text has.
    [[nodiscard]] std::size_t rowCount() const { return m_rowCount; }

    /// The text for the service, without a byte order mark and comments. For a text without names.
    [[nodiscard]] const std::string& text() const { return m_text; }

    // For a text with names.
    [[nodiscard]] const std::vector<std::string>& columns() const { return m_columns; }
    [[nodiscard]] const Rows& rows() const { return m_rows; }
    [[nodiscard]] std::size_t lineOf(std::size_t row) const { return m_lines[row]; }

    /// Why the rows of @p schema can't be imported for @p user, as a sentence; blank when they can.
    static std::string refusalOf(const KnownSchemas::Entry& schema, const std::string& user);

private:
    /// What the lines of the form of docs/csv.md are to be like.
    struct LineForm;

    /// Refuses a list of contacts of other programs, by what it begins with. Whether it did.
    [[nodiscard]] bool isOfOtherProgram(std::string_view text);
    /// Refuses each line that is not UTF-8: the service would store bytes that no answer can carry.
    void checkEncoding(std::string_view text);
    /// Refuses a file whose columns have names, and semicolons or tabs between them.
    [[nodiscard]] bool hasOtherSeparator(std::string_view text);
    /// Refuses a file of several lines, all of which end with a carriage return alone: to both
    /// forms it would be one row.
    [[nodiscard]] bool hasOtherLineEnds(std::string_view text);
    /// Whether @p fields, of the first line, are names of columns and no row.
    [[nodiscard]] bool hasNameInFront(const std::vector<std::string>& fields) const;
    /// Settles the columns of the rows by @p names; refuses names that the schema does not have or
    /// that stand twice, and the schemas of calls and keys altogether.
    void takeNames(const std::vector<std::string>& names);
    /// Takes the rows after the line of names, up to MostRows and to the limit of refusals.
    void readNamedRows(std::string_view text);
    /// What is wrong with a row of @p count fields, of which @p cells are those that were kept;
    /// blank for nothing.
    [[nodiscard]] std::string wrongWithNamed(const std::vector<std::string>& cells,
                                             std::size_t count) const;
    /// What is wrong with the row of @p cells on @p line if an earlier one has its number; blank
    /// for nothing. The later row would replace the earlier one.
    [[nodiscard]] std::string wrongWithRepeated(const std::vector<std::string>& cells,
                                                std::size_t line);
    /// Checks a text without names, line by line, and keeps its rows as text. With @p isForUser
    /// calls may have the form of older software.
    void readLines(std::string_view text, bool isForUser);
    /// What is wrong with one line, as a reason; blank for nothing.
    [[nodiscard]] std::string wrongWithLine(const std::string& line, const LineForm& form) const;
    /// Keeps the first reason for @p line; later ones mostly follow from it.
    void refuse(std::size_t line, const std::string& reason);

    const KnownSchemas::Entry& m_schema;
    std::vector<Refusal> m_refusals;
    std::vector<std::string> m_columns;  ///< of the table
    std::size_t m_keyPlace = 0;          ///< among them; their number when the key is not there
    Rows m_rows;
    std::vector<std::size_t> m_lines;
    std::map<std::string, std::size_t> m_lineOfKey;  ///< of the rows with names
    std::size_t m_rowCount = 0;
    std::string m_text;
};

#endif
