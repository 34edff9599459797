#ifndef SERVICEMODEL_H
#define SERVICEMODEL_H

#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

/**
 * A model of what the service promises, without a database: settings, contacts, calls, one table of
 * keys, and the effects of changes of profile on them. It generates random operations and predicts
 * the answer to each. It is written from docs/, not from the code.
 */
class ServiceModel {
public:
    explicit ServiceModel(std::uint32_t seed) : m_random(seed) {}

    /// An operation: a message, or the name of one of the service's own operations.
    struct Operation {
        std::string message;
        std::string call;
        std::string argument;
        std::string answer;  ///< as ModelTexts::canonical() returns it; for calls "true", "false" or ""
    };
    Operation next();

    /// The messages that bring a new service to the model's initial state.
    static std::vector<std::string> beginning();

private:
    using Row = std::map<std::string, std::string>;
    struct Owned {
        std::string user;
        std::string category;
        Row cells;
    };
    using Numbered = std::map<long, Owned>;
    using Item = std::tuple<std::string, std::string, std::string>;  ///< schema, user, name
    using Condition = std::function<bool(long, const Owned&)>;

    // Randomness.
    int upTo(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(m_random); }
    template <typename List>
    const auto& anyOf(const List& list) {
        return list[static_cast<std::size_t>(upTo(static_cast<int>(std::size(list))))];
    }
    std::string value();
    std::string sentContext();
    const std::string& inForce(const std::string& context) const;

    // Settings.
    Operation settings();
    void storeItems(bool overwrites, const std::string& schema, const std::string& context,
                    Operation& operation);
    void readItems(const std::string& schema, const std::string& context, Operation& operation);
    void readAllItems(const std::string& schema, Operation& operation);
    void deleteItems(const std::string& schema, const std::string& context, Operation& operation);
    int countOf(const Item& item);

    // Contacts and calls.
    Operation contacts();
    void writeContacts(const std::string& context, Operation& operation);
    void readContacts(const std::string& context, Operation& operation);
    void changeContacts(const std::string& context, Operation& operation);
    Operation calls();
    std::string pickCondition(const Numbered& rows, const std::string& key,
                              const std::vector<std::string>& names, Condition& condition);
    static std::vector<long> found(const Numbered& rows, const std::string& user,
                                   const Condition& condition);

    // Keys and profiles.
    Operation keys();
    Operation profile();
    void copyToVisitor();
    void wipeVisitor();
    void forget(std::initializer_list<const char*> names);

    std::mt19937 m_random;
    std::string m_user = "base";
    std::map<Item, std::string> m_items;
    std::map<Item, int> m_known;  ///< counts in the service's cache, right or not
    Numbered m_contacts;
    long m_lastContact = 0;
    Numbered m_calls;
    long m_lastCall = 0;
    std::map<std::pair<std::string, std::string>, Row> m_keys;  ///< by user and Id
    long m_serial = 0;
    bool m_begun = false;
};

#endif
