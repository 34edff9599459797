#ifndef CONTACTFIELDS_H
#define CONTACTFIELDS_H

#include <array>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "DASTypes.h"
#include "contacts/ContactColumns.h"

/**
 * The fields that a request to the phone book contains: those of its contacts and those of its
 * conditions. One request may contain thousands of contacts, so a field that was not sent takes no
 * memory.
 */
class ContactFields {
public:
    static constexpr std::size_t Count = ContactColumns::Count - 1;  ///< all columns but the user's
    /// The columns that a request may name, by the places of their fields.
    static constexpr const ContactColumns::Column* Columns =
        ContactColumns::All + ContactColumns::NumberPlace;
    /// Places of fields, one less than those of their columns.
    enum Place : std::size_t {
        Number = ContactColumns::NumberPlace - 1,
        Surname = ContactColumns::SurnamePlace - 1,
        Firstname = ContactColumns::FirstnamePlace - 1
    };

    struct Field {
        std::string text;         ///< escaped for SQL
        unsigned char place = 0;  ///< position of its column, without the user's column
        bool isPattern = false;   ///< LIKE and a quoted pattern, from an element "…Like"
        bool inEntry = false;     ///< it stands in an Entry; otherwise in a Select
    };
    /// By position; null for a field that was not sent.
    using Fields = std::array<const Field*, Count>;

    /// The elements of requests: one for each column, and those that search for a part of a name.
    static const std::vector<std::string>& elements();

    /// The element at @p element of elements() ended, with @p text.
    void add(std::size_t element, const std::string& text, bool inEntry);
    /// The begin and the end of a contact. Fields outside of both belong to the conditions of the
    /// request.
    void beginEntry() { m_entryBegin = m_fields.size(); }
    void endEntry() { m_contacts.emplace_back(m_entryBegin, m_fields.size()); }

    /// How many fields are conditions.
    [[nodiscard]] std::size_t selected() const { return m_selected; }
    /// How many entries ended.
    [[nodiscard]] std::size_t contacts() const { return m_contacts.size(); }
    /// All that were sent, in order.
    [[nodiscard]] const std::deque<Field>& all() const { return m_fields; }
    /// The fields of a contact. If a field was sent twice, the last one counts.
    [[nodiscard]] Fields of(std::size_t contact) const { return fieldsOf(m_contacts[contact]); }
    /// The fields of the last entry, and those after it.
    [[nodiscard]] Fields last() const { return fieldsOf({m_entryBegin, m_fields.size()}); }

    /// Appends the conditions that the entries make. Whether a field is used depends on the first
    /// entry, but its value is that of the last one: kept on purpose, with one entry both are the
    /// same. False if a value does not have the form that it needs in a statement.
    [[nodiscard]] bool appendConditions(PairList& params) const;

    /// The number of the single contact that an update selects and does not renumber; blank if it
    /// selects none or several.
    [[nodiscard]] std::string updatedNumber() const;

private:
    /// Where the fields of an entry begin and end.
    using Stretch = std::pair<std::size_t, std::size_t>;

    /// Of several fields with the same position, the last one counts.
    Fields fieldsOf(const Stretch& entry) const;

    std::deque<Field> m_fields;
    std::size_t m_selected = 0;
    std::size_t m_entryBegin = 0;     ///< of the entry in progress, or the last one
    std::vector<Stretch> m_contacts;  ///< the entries that ended
};

#endif
