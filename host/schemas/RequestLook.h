#ifndef REQUESTLOOK_H
#define REQUESTLOOK_H

#include <string>

/**
 * What a request will do, read as the service reads it: entities, comments and the number of its
 * bytes count as they do there. Nothing is carried out.
 */
struct RequestLook {
    /// What of() finds by the parser for each text; of() spares it for short usual messages.
    static RequestLook parsed(const std::string& text, int length);

    /// For the fuzz target, which holds the two ways of reading against each other.
    bool operator==(const RequestLook& other) const;

    /// What the text of a request is.
    enum class Kind {
        Harmless,      ///< a word that everybody may send
        SaveContacts,  ///< the word that writes the contacts to a file
        TraceSwitch,   ///< the word that switches what the trace shows
        Message        ///< a message in XML
    };

    /// @p text with the first @p length bytes counting, as processRequest gets it.
    static RequestLook of(const std::string& text, int length);

    Kind kind = Kind::Message;
    bool isParsed = false;
    /// Whether it names its reason and its schema at most once, and no other schema than that which
    /// chooses the table.
    bool isClear = true;
    std::string schema;  ///< that which chooses the table
    std::string reason;
    bool hasColumns = false;      ///< it has columns or items in ResultCols
    bool hasManyColumns = false;  ///< it may have more than one
    bool hasManyItems = false;    ///< it has more than one element besides those of the frame
    bool namesSecret = false;     ///< an element has the name of a secret
    bool writesMask = false;      ///< such an element holds the mask of secrets
};

#endif
