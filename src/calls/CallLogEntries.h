#ifndef CALLLOGENTRIES_H
#define CALLLOGENTRIES_H

#include <array>
#include <iterator>
#include <string>
#include <vector>

#include "calls/CallLogColumns.h"

/**
 * The rows that a request to the call log brings: what was sent of each, and the cells that follow.
 *
 * A request may hold thousands of rows, each with few of the many fields that a row has, so only
 * what was sent takes memory. All texts are escaped for SQL.
 */
class CallLogEntries {
public:
    /// Columns of the row that a request can set.
    static constexpr CallLogColumns::RowColumn Columns[] = {
        CallLogColumns::UniqueId,  CallLogColumns::EntryId,     CallLogColumns::Surname,
        CallLogColumns::Firstname, CallLogColumns::PictureClip, CallLogColumns::Viewed,
        CallLogColumns::JSGroupBy};
    static constexpr std::size_t ColumnCount = std::size(Columns);

    /// The elements that are fields: of a row, of a call, and other names of the latter.
    static const std::vector<std::string>& elements();

    // The events of the parser.
    void startElement(const char* name);
    /// @p field is the place of the element among elements(), or ListRequest::NoField.
    void endElement(const char* name, int field, const std::string& text);

    [[nodiscard]] std::size_t size() const { return m_entries.size(); }
    /// What was sent of a row, by the order of Columns; blank for what was not.
    [[nodiscard]] const std::array<std::string, ColumnCount>& values(std::size_t entry) const {
        return m_entries[entry].values;
    }
    /// The number that each entry names; blank for one that names none.
    [[nodiscard]] std::vector<std::string> numbers() const;
    /// Whether an entry has more calls than a row.
    [[nodiscard]] bool hasTooManyCalls(std::size_t entry) const {
        return m_entries[entry].calls > CallLogColumns::Places;
    }

    /// The columns of a row with all of its calls, as nearly every entry has them; the number is
    /// the second one.
    static const std::vector<std::string>& columnsOfFullRow();
    /// Those of the first @p count of them, and of one call more for an entry with too many.
    [[nodiscard]] std::vector<std::string> columnsOf(std::size_t entry, std::size_t count) const;
    /// The cells of an entry in database form, in the order of the columns that it names. @p number
    /// is in database form, the others are not.
    [[nodiscard]] std::vector<std::string> cellsOf(std::size_t entry, const std::string& user,
                                                   const std::string& number,
                                                   const std::string& category) const;

private:
    /// A field of a call that was sent.
    struct CallField {
        std::string text;
        CallLogColumns::Field field;
        std::size_t call;  ///< place of its call in the row
    };

    struct Entry {
        std::array<std::string, ColumnCount> values;
        std::vector<CallField> fields;  ///< of the calls for which a row has a place
        std::size_t calls = 0;          ///< all that were sent
        bool namesAllPlaces = false;    ///< its list of calls ended, so the other places are blank
    };

    /// Sets a field of the call in progress; of one that is sent twice the later text counts.
    void setCallField(CallLogColumns::Field field, const std::string& text);
    /// Gives the call in progress the next place of its row. Beyond the last place it is only
    /// counted.
    void endCall();

    Entry m_entry;                  ///< in progress
    std::vector<CallField> m_call;  ///< in progress; a field that is sent again has one row
    std::vector<Entry> m_entries;
};

#endif
