#ifndef LISTREQUEST_H
#define LISTREQUEST_H

#include <string>
#include <vector>

#include "DASTypes.h"
#include "dao/RequestLimits.h"

/**
 * What requests to the phone book, the call groups, the call log and the conversations have in
 * common: the frame around their fields, and the texts of their answers. A data access object has
 * one ListRequest, forwards each parser event to it, and gets back which of its fields has ended.
 *
 * Elements of the frame are Schema, Context, ReasonForMessage, ResultCols, Offset, RowLimit, Entry
 * and Select. An element sets a state that its end tag looks at, so a value belongs to the element
 * that began last; other elements leave the state as it is. Nesting is not checked.
 */
class ListRequest {
public:
    static constexpr int NoField = -1;

    /**
     * @param fields  names of the elements that are fields of a row; not owned
     * @param schema  takes the name of the schema, as it was sent; not owned
     * @param context takes the context, escaped for SQL; not owned
     * @param reason  takes the reason; not owned
     * @param limits  counts what the request holds; not owned
     */
    ListRequest(const std::vector<std::string>& fields, std::string& schema, std::string& context,
                std::string& reason, RequestLimits& limits);
    ListRequest(const ListRequest&) = delete;
    ListRequest& operator=(const ListRequest&) = delete;

    /// Whether @p name is the element that holds one row.
    static bool isEntry(const char* name);

    // The events of the parser.
    void startElement(const char* name, const char** attributes);
    void addCharacters(const char* text, int length);
    /// The index of the field that ended; its content is then in text(). NoField for any other
    /// element.
    int endElement(const char* name);

    /// Text of the field that ended last, escaped for SQL. Valid until the next event.
    const std::string& text() const { return m_text; }

    /// Whether a field that ends now belongs to an Entry. This is also true outside of Entry and
    /// Select, until a Select begins.
    bool isInEntry() const { return m_inEntry; }

    /// Adds a value in database form to the pairs of the element that is open: Select or Entry.
    void addPair(const std::string& column, const std::string& value);
    const PairList& selectPairs() const { return m_selectPairs; }
    const PairList& entryPairs() const { return m_entryPairs; }

    /**
     * The words of ResultCols, split at every blank; empty without the element. A blank at the end
     * yields an empty last word, which is not a column: kept on purpose, such a read has always
     * failed.
     */
    std::vector<std::string> resultColumns() const;

    /**
     * Checks the paging if both Offset and RowLimit were sent. Both become plain numbers, or both
     * become empty if the limit is below 1 or the offset below 0. If only one was sent, it does not
     * change.
     */
    void settlePaging();
    /// Whether Offset and RowLimit may enter a statement. They do so only together.
    bool hasSafePaging() const;
    const std::string& offset() const { return m_offset; }
    const std::string& rowLimit() const { return m_rowLimit; }

    /// The body that answers a count: "<count>…</count>".
    static std::string countAnswer(const std::string& count);
    /// The body that names a row just written: an Entry with @p number in the element @p tag.
    static std::string numberAnswer(const std::string& tag, long long number);

private:
    /// Members of the data access object, which this class sets while the request is parsed.
    const std::vector<std::string>& m_fields;
    std::string& m_schema;
    std::string& m_context;
    std::string& m_reason;
    RequestLimits& m_limits;
    std::string m_resultCols;
    std::string m_offset;
    std::string m_rowLimit;
    PairList m_selectPairs;
    PairList m_entryPairs;
    std::string m_text;
    int m_state = 0;  ///< 0 idle, then the elements of the frame with a text, then the fields
    bool m_inEntry = true;
};

#endif
