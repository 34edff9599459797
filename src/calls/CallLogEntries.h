#ifndef CALLLOGENTRIES_H
#define CALLLOGENTRIES_H

#include <array>
#include <iterator>
#include <string>
#include <vector>

#include "calls/CallLogColumns.h"

/**
 * The rows in a request to the call log: the values that were sent for each row, and the cells made
 * from them.
 */
class CallLogEntries {
public:
    /// Columns of the row that a request can set.
    static constexpr CallLogColumns::RowColumn Columns[] = {
        CallLogColumns::UniqueId,  CallLogColumns::EntryId,     CallLogColumns::Surname,
        CallLogColumns::Firstname, CallLogColumns::PictureClip, CallLogColumns::Viewed,
        CallLogColumns::JSGroupBy};
    static constexpr std::size_t ColumnCount = std::size(Columns);

    /// The names of all field elements: those of a row, those of a call, and the other names of the
    /// latter.
    static const std::vector<std::string>& elements();

    // The events of the parser.
    void startElement(const char* name);
    /// @p field is the index of the element in elements(), or ListRequest::NoField.
    void endElement(const char* name, int field, const std::string& text);

    [[nodiscard]] std::size_t size() const { return m_entries.size(); }
    /// The values that were sent for a row, in the order of Columns; blank if not sent.
    [[nodiscard]] const std::array<std::string, ColumnCount>& values(std::size_t entry) const {
        return m_entries[entry].values;
    }
    /// The number that each entry names; blank if it names none.
    [[nodiscard]] std::vector<std::string> numbers() const;
    /// Whether an entry has more calls than a row.
    [[nodiscard]] bool hasTooManyCalls(std::size_t entry) const {
        return m_entries[entry].calls > CallLogColumns::Places;
    }

    /// The columns of a row with ten calls, as nearly every entry needs them. The number is the
    /// second one.
    static const std::vector<std::string>& columnsOfFullRow();
    /// The first @p count of them; for an entry with too many calls, also those of one more call.
    [[nodiscard]] std::vector<std::string> columnsOf(std::size_t entry, std::size_t count) const;
    /// The cells of an entry in database form, in the order of its columns. @p number is already in
    /// database form; the kept values are not.
    [[nodiscard]] std::vector<std::string> cellsOf(std::size_t entry, const std::string& user,
                                                   const std::string& number,
                                                   const std::string& category) const;

private:
    /// A field of a call that was sent.
    struct CallField {
        std::string text;
        CallLogColumns::Field field;
        std::size_t call;  ///< index of its call in the row
    };

    struct Entry {
        std::array<std::string, ColumnCount> values;
        std::vector<CallField> fields;  ///< fields of the calls for which a row has space
        std::size_t calls = 0;          ///< all that were sent
        bool namesAllPlaces = false;    ///< the list of calls has ended, so the unused calls of the
                                        ///< row are blank
    };

    /// Sets a field of the current call. If it is sent twice, the later value counts.
    void setCallField(CallLogColumns::Field field, const std::string& text);
    /// Adds the current call to its row. If the row is full, the call is only counted.
    void endCall();

    Entry m_entry;                  ///< the current entry
    std::vector<CallField> m_call;  ///< the current call; a field that is sent again replaces its
                                    ///< value
    std::vector<Entry> m_entries;
};

#endif
