#ifndef ANSWERRECORDS_H
#define ANSWERRECORDS_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/**
 * Reads a series of records in an answer, "<Entry>…</Entry><Entry>…</Entry>". Each record has its
 * columns in a fixed order, by which the text is split.
 */
class AnswerRecords {
public:
    using Cells = std::vector<std::pair<std::string, std::string_view>>;  ///< column and value
    using Columns = std::vector<std::string>;

    /// @p frame is the element around a record. A record has the columns of one of @p forms, which
    /// all begin and end with the same column. The column @p list contains records of its own, so
    /// its text reaches to the last position where the columns after it can begin.
    AnswerRecords(std::string frame, std::vector<Columns> forms, std::string list = "");

    /// The columns of the first record of @p text, as far as the text alone shows them.
    static Columns columnsOf(const std::string& frame, std::string_view text);

    /// One record of the result. Its values point into the text that was read.
    struct Record {
        std::size_t form;
        Cells cells;
    };

    /// Reads the records of @p text. False if no form matches any of them.
    [[nodiscard]] bool read(std::string_view text, std::vector<Record>& records) const;

private:
    /// How the end of each column is found: by its end tag together with the start tag of the next
    /// column, which values seldom contain.
    struct Form {
        Columns columns;
        std::vector<std::string> ends;  ///< for each column but the last: its end tag and the next
                                        ///< start tag
        std::size_t firstAfterList;     ///< index in ends from which the search goes backwards
    };
    using Progress = std::vector<std::size_t>;  ///< for each form, how many ends were found

    /// Counts in @p progress how far @p piece completes each form. Returns whether one of them is
    /// complete now.
    bool advance(std::string_view piece, Progress& progress) const;
    /// Splits the text wherever one record could end and another begin. Values can contain such
    /// positions too.
    std::vector<std::string_view> piecesOf(std::string_view text) const;
    /// Splits a complete record by the first form that matches. False if none matches.
    bool cut(std::string_view text, Record& record) const;
    static bool cut(std::string_view text, const Form& form, Cells& cells);

    std::vector<Form> m_forms;
    std::string m_begin;  ///< start tags of a record and its first column
    std::string m_end;    ///< end tags of the last column and of its record
};

#endif
