#ifndef IMPORTFILE_H
#define IMPORTFILE_H

#include <string>
#include <string_view>
#include <vector>

#include "DASTypes.h"
#include "schemas/KnownSchemas.h"

/// A text for an import into the table of a schema, checked as a whole. It has one of two forms. If
/// the first line names columns, the columns may be in any order, and the rows are passed on by
/// name. A text without names has the table's columns in their order, as exports write them, and is
/// passed on unchanged.
class ImportFile {
public:
    static constexpr std::size_t MostRows = 10000;  ///< in a text with column names
    static constexpr std::size_t MostRefusals = 5;  ///< how many are stored

    /// What is wrong with a line.
    struct Refusal {
        std::size_t line;  ///< from 1 on
        std::string reason;

        [[nodiscard]] std::string text() const;  ///< "line N: REASON"
    };

    /// Checks @p text. @p user is whose rows it is for, or blank. @p schema must have data files.
    ImportFile(const KnownSchemas::Entry& schema, const std::string& user, std::string_view text);

    /// The first wrong lines, in order; empty if the text may be imported.
    [[nodiscard]] const std::vector<Refusal>& refusals() const { return m_refusals; }

    /// Whether the first line names columns; otherwise the text has the form of docs/csv.md.
    [[nodiscard]] bool hasNames() const { return !m_columns.empty(); }

    /// How many rows the text has.
    [[nodiscard]] std::size_t rowCount() const { return m_rowCount; }

    /// The text for the service, without byte order mark and comments. Only for a text without
    /// names.
    [[nodiscard]] const std::string& text() const { return m_text; }

    // Only for a text with names.
    [[nodiscard]] const std::vector<std::string>& columns() const { return m_columns; }
    [[nodiscard]] const Rows& rows() const { return m_rows; }
    [[nodiscard]] std::size_t lineOf(std::size_t row) const { return m_lines[row]; }

    /// Why the rows of @p schema can't be imported for @p user, as a sentence; blank if they can.
    static std::string refusalOf(const KnownSchemas::Entry& schema, const std::string& user);

private:
    /// The required form of lines in the form of docs/csv.md.
    struct LineForm;

    /// Refuses a list of contacts from other programs, which it recognises by its beginning.
    /// Returns whether it did.
    [[nodiscard]] bool isOfOtherProgram(std::string_view text);
    /// Refuses each line that is not valid UTF-8: the service would store bytes that no answer can
    /// carry.
    void checkEncoding(std::string_view text);
    /// Refuses a file with column names that have semicolons or tabs between them.
    [[nodiscard]] bool hasOtherSeparator(std::string_view text);
    /// Whether @p fields, those of the first line, are column names and not a row.
    [[nodiscard]] bool hasNameInFront(const std::vector<std::string>& fields) const;
    /// Stores the columns in @p names. Refuses names that the schema does not have or that occur
    /// twice, and any names for the schemas of calls and keys.
    void takeNames(const std::vector<std::string>& names);
    /// Reads the rows after the line of names, up to MostRows and to the limit of refusals.
    void readNamedRows(std::string_view text);
    /// What is wrong with a row of @p count fields, of which @p cells were stored; blank if it is
    /// valid.
    [[nodiscard]] std::string wrongWithNamed(const std::vector<std::string>& cells,
                                             std::size_t count) const;
    /// Checks a text without names, line by line, and stores its rows as text. With @p isForUser,
    /// calls may have the form of older software.
    void readLines(std::string_view text, bool isForUser);
    /// The reason why a line is wrong; blank if it is valid.
    [[nodiscard]] std::string wrongWithLine(const std::string& line, const LineForm& form) const;
    /// Stores the first reason for @p line; later ones mostly result from it.
    void refuse(std::size_t line, const std::string& reason);

    const KnownSchemas::Entry& m_schema;
    std::vector<Refusal> m_refusals;
    std::vector<std::string> m_columns;  ///< names of the text's columns
    std::size_t m_keyPlace = 0;          ///< index of the key in them; their number if the key is
                                         ///< missing
    Rows m_rows;
    std::vector<std::size_t> m_lines;
    std::size_t m_rowCount = 0;
    std::string m_text;
};

#endif
