#ifndef MOBILITYMIGRATOR_H
#define MOBILITYMIGRATOR_H

#include <map>
#include <mutex>
#include <string>

class ACMSTagMapper;
class DataAccessService;

/**
 * Takes maps of management tag to value and turns each entry into an ordinary request against the
 * service, so that the data of a mobile user pass through the same checks as any other request. It
 * runs on the caller's thread. The calls with a map wait for one another, since each is for the
 * user that one of them named; the service's own locks come after that. A call that writes a map
 * keeps other requests waiting to its end.
 *
 * A tag is looked up as it is, then without the digits at its end, which are the index of a row,
 * then with empty brackets in place of an index in brackets. A setting has no rows, so its index is
 * dropped. A tag that is not found is logged and left alone; so is a value that XML can't carry.
 */
class MobilityMigrator {
public:
    /// @p service must outlive this object; not owned. Its tag mapper is asked for here.
    explicit MobilityMigrator(DataAccessService* service);

    /// Writes each value, plain text, to the user of the last call that named one; base at first.
    void importData(std::map<std::string, std::string>& values);
    /// Fills each value from that user's data: raw text of the item, empty without one. A
    /// value that is not empty goes into the request as a filter. False when the values together
    /// are more than an answer may have.
    [[nodiscard]] bool exportData(std::map<std::string, std::string>& values);
    /// The same for the base user or the visitor; later calls stay with him.
    void importUserData(std::map<std::string, std::string>& values, bool base);
    [[nodiscard]] bool exportUserData(std::map<std::string, std::string>& values, bool base);

    /// Makes the visitor the current user, and writes @p values to base data. The order is kept on
    /// purpose: what is imported is the owner's.
    void migrateBaseToVisitor(std::map<std::string, std::string>& values);

    /// Whether the item that the tag @p key leads to is a secret, whatever the tag is called.
    [[nodiscard]] bool leadsToSecret(const std::string& key) const;

    /// Whether a read of @p values would compare one of them with a secret: what is not blank counts
    /// as a condition.
    [[nodiscard]] bool comparesSecrets(const std::map<std::string, std::string>& values) const;

    // One item. With an index the item is a cell of the row of that identifier. @p out holds what
    // goes into the request and takes the result.
    void updateRequest(const std::string& schema, const std::string& tag, const std::string& value);
    void updateRequest(const std::string& schema, const std::string& tag, const std::string& index,
                       const std::string& value);
    void readRequest(const std::string& schema, const std::string& tag, std::string& out);
    void readRequest(const std::string& schema, const std::string& tag, const std::string& index,
                     std::string& out);
    /// Like readRequest, but an item of a user is not named: the whole row is read.
    void readRequest2(const std::string& schema, const std::string& tag, const std::string& index,
                      std::string& out);

    /// Reduces a response to the text after the first element @p tag, up to the next "<".
    void stripXml(std::string& text, std::string tag);

private:
    /// Where a management tag leads: schema and item, and the row when there is an index.
    struct Target {
        enum Form { Plain, DigitSuffix, Brackets } form = Plain;
        std::string schema;
        std::string tag;
        std::string index;
    };

    /// Looks a tag up in its three forms, in the order of the class. False leaves @p target as it
    /// was found last and of no use.
    bool findTarget(const std::string& key, Target& target) const;
    /// Logs a tag that leads nowhere.
    bool findKnownTarget(const std::string& key, Target& target) const;
    /// "tag12" is row 12 of "tag"; "tag[12]" is row 12 of "tag[]".
    bool findByDigitSuffix(const std::string& key, Target& target) const;
    bool findByBrackets(const std::string& key, Target& target) const;
    /// Both turn one item into one request. A failure of one is in the log, and the others go on.
    void importItem(const Target& target, const std::string& value);
    void exportItem(const Target& target, std::string& value);
    /// @p content in the element of the user that the call is for; without one for data of the
    /// telephone.
    std::string inContext(const std::string& schema, const std::string& tag,
                          const std::string& content) const;
    /// How a request is sent: answer() when the turn of requests is held.
    using Send = std::string (DataAccessService::*)(const std::string&);
    /// Writes @p value, plain text, by @p send. A value that XML can't carry is left out and
    /// logged.
    void sendUpdate(const Target& target, const std::string& value, Send send);
    /// Reads with the elements of @p content as filter; @p out takes the text of the first element
    /// @p tag of the answer.
    void sendRead(const std::string& schema, const std::string& tag, const std::string& content,
                  std::string& out);

    DataAccessService* m_service;  // not owned
    ACMSTagMapper* m_mapper;       // not owned
    std::recursive_mutex m_mutex;  ///< held over a call with a map
    bool m_base = true;
};

#endif
