#ifndef ANSWERRECORDS_H
#define ANSWERRECORDS_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/**
 * Neighbouring records of an answer, "<Entry>…</Entry><Entry>…</Entry>", cut by the columns that
 * each record has in a fixed order.
 */
class AnswerRecords {
public:
    using Cells = std::vector<std::pair<std::string, std::string_view>>;  ///< column and value
    using Columns = std::vector<std::string>;

    /// @p frame is the element around a record. The columns of a record are those of one of
    /// @p forms, which all begin and end with the same column. A column @p list takes all text up
    /// to the last place where the columns after it can begin, since it holds records of its own.
    AnswerRecords(std::string frame, std::vector<Columns> forms, std::string list = "");

    /// The columns of the first record of @p text, as far as they can be told from the text alone.
    static Columns columnsOf(const std::string& frame, std::string_view text);

    /// One record of the result. Its values point into the text that was read.
    struct Record {
        std::size_t form;
        Cells cells;
    };

    /// The records of @p text. False when none of the forms fits any of them.
    [[nodiscard]] bool read(std::string_view text, std::vector<Record>& records) const;

private:
    /// How the end of each column is found in the text: by the tag that ends it together with the
    /// one that begins the next, which a value seldom holds.
    struct Form {
        Columns columns;
        std::vector<std::string> ends;  ///< of each column but the last, with the next one's begin
        std::size_t firstAfterList;     ///< place in ends from which they are looked for backwards
    };
    using Progress = std::vector<std::size_t>;  ///< for each form, how many ends were found

    /// Counts in @p progress how far @p piece takes each form. Whether one of them is complete now.
    bool advance(std::string_view piece, Progress& progress) const;
    /// The text cut wherever a record could end and another begin; a value can make such places
    /// too.
    std::vector<std::string_view> piecesOf(std::string_view text) const;
    /// Takes a whole record apart by the first form that fits. False when none does.
    bool cut(std::string_view text, Record& record) const;
    static bool cut(std::string_view text, const Form& form, Cells& cells);

    std::vector<Form> m_forms;
    std::string m_begin;  ///< of a record and its first column
    std::string m_end;    ///< of the last column and its record
};

#endif
