#ifndef REQUESTLOOK_H
#define REQUESTLOOK_H

#include <string>

/**
 * What a request will do, read in the same way as in the service, including entities, comments and
 * the number of bytes. The request is not executed.
 */
struct RequestLook {
    /// The result of the parser for any text. of() avoids the parser for short messages in the
    /// usual form.
    static RequestLook parsed(const std::string& text, int length);

    /// For the fuzz target, which compares both ways of reading.
    bool operator==(const RequestLook& other) const;

    /// The kind of a request's text.
    enum class Kind {
        Harmless,      ///< a word that every client may send
        SaveContacts,  ///< the word that writes the contacts to a file
        TraceSwitch,   ///< the word that switches what the trace contains
        Message        ///< a message in XML
    };

    /// Examines the first @p length bytes of @p text, as processRequest gets them.
    static RequestLook of(const std::string& text, int length);

    Kind kind = Kind::Message;
    bool isParsed = false;
    /// Whether it has at most one reason and one schema, and no schema other than the one that
    /// selects the table.
    bool isClear = true;
    std::string schema;  ///< the one that selects the table
    std::string reason;
    bool hasColumns = false;      ///< it has columns or items in ResultCols
    bool hasManyColumns = false;  ///< it may have more than one column
    bool hasManyItems = false;    ///< it has more than one element besides the elements of the
                                  ///< frame
    bool namesSecret = false;     ///< an element has the name of a secret
    bool writesMask = false;      ///< such an element holds the mask of secrets
};

#endif
