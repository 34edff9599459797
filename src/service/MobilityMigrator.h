#ifndef MOBILITYMIGRATOR_H
#define MOBILITYMIGRATOR_H

#include <map>
#include <mutex>
#include <string>

class ACMSTagMapper;
class DataAccessService;

/**
 * Turns each entry of a map from management tag to value into an ordinary request to the service,
 * so that data of a mobile user pass the same checks as any other request. It runs on the caller's
 * thread. Calls with a map wait for one another, because each works for the user that one of them
 * has named; the service's own locks come after that lock. A call that writes a map makes other
 * requests wait until its end.
 *
 * A tag is looked up first as it is, then without the digits at its end (the index of a row), then
 * with empty brackets instead of an index in brackets. A setting has no rows, so its index is
 * dropped. If a tag is not found, or XML does not allow the value, this is logged and the entry is
 * skipped.
 */
class MobilityMigrator {
public:
    /// @p service must outlive this object; not owned. Its tag mapper is read here.
    explicit MobilityMigrator(DataAccessService* service);

    /// Writes each value (an unescaped string) for the user whom the last call named; base at
    /// first.
    void importData(std::map<std::string, std::string>& values);
    /// Fills each value from that user's data: the raw content of the item, empty if it has none. A
    /// value that is not empty is used as a filter of the request. False if the values together
    /// exceed the limit of an answer.
    [[nodiscard]] bool exportData(std::map<std::string, std::string>& values);
    /// The same for the base user or the visitor. Later calls without a user use the same one.
    void importUserData(std::map<std::string, std::string>& values, bool base);
    [[nodiscard]] bool exportUserData(std::map<std::string, std::string>& values, bool base);

    /// Makes the visitor the current user, and writes @p values to base data. The order is kept on
    /// purpose: the imported values belong to the owner.
    void migrateBaseToVisitor(std::map<std::string, std::string>& values);

    /// Whether the item that the tag @p key leads to is a secret, whatever the tag is called.
    [[nodiscard]] bool leadsToSecret(const std::string& key) const;

    /// Whether a read of @p values would compare one of them with a secret: a value that is not
    /// blank is a condition of the read.
    [[nodiscard]] bool comparesSecrets(const std::map<std::string, std::string>& values) const;

    // Writes one item. With an index the item is a cell of the row with that identifier. @p out
    // holds the value for the request and receives the result.
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
    /// What a management tag names: schema and item, and the row if there is an index.
    struct Target {
        enum Form { Plain, DigitSuffix, Brackets } form = Plain;
        std::string schema;
        std::string tag;
        std::string index;
    };

    /// Looks a tag up in its three forms, in the order that the class describes. If it returns
    /// false, @p target is not usable.
    bool findTarget(const std::string& key, Target& target) const;
    /// The same; logs a tag that is not found.
    bool findKnownTarget(const std::string& key, Target& target) const;
    /// "tag12" is row 12 of "tag"; "tag[12]" is row 12 of "tag[]".
    bool findByDigitSuffix(const std::string& key, Target& target) const;
    bool findByBrackets(const std::string& key, Target& target) const;
    /// Both make one request for one item. If one fails, this is logged, and the others continue.
    void importItem(const Target& target, const std::string& value);
    void exportItem(const Target& target, std::string& value);
    /// Puts @p content into the Context element of the call's user; without a Context for data of
    /// the telephone.
    std::string inContext(const std::string& schema, const std::string& tag,
                          const std::string& content) const;
    /// How a request is sent: by answer() if the turn of requests is held.
    using Send = std::string (DataAccessService::*)(const std::string&);
    /// Writes @p value (an unescaped string) by @p send. If XML does not allow the value, it is
    /// left out and logged.
    void sendUpdate(const Target& target, const std::string& value, Send send);
    /// Reads with the elements of @p content as filter. @p out receives the content of the first
    /// element @p tag of the answer.
    void sendRead(const std::string& schema, const std::string& tag, const std::string& content,
                  std::string& out);

    DataAccessService* m_service;  // not owned
    ACMSTagMapper* m_mapper;       // not owned
    std::recursive_mutex m_mutex;  ///< held during a call with a map
    bool m_base = true;
};

#endif
