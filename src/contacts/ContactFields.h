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
 * The fields that a request to the phone book brings, of its contacts and of its conditions.
 *
 * A whole book of contacts may come in one request, so a field that was not sent takes no memory.
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
        unsigned char place = 0;  ///< of its column, among those but the user's
        bool isPattern = false;   ///< LIKE and a quoted pattern, from an element "…Like"
        bool inEntry = false;     ///< or in a Select
    };
    /// By place; an empty one where none was sent.
    using Fields = std::array<const Field*, Count>;

    /// The elements of requests: one for each column, and those that search for a part of a name.
    static const std::vector<std::string>& elements();

    /// The element at @p element of elements() ended, with @p text.
    void add(std::size_t element, const std::string& text, bool inEntry);
    /// The events of a contact. What is added outside of both belongs to the conditions of the
    /// request.
    void beginEntry() { m_entryBegin = m_fields.size(); }
    void endEntry() { m_contacts.emplace_back(m_entryBegin, m_fields.size()); }

    /// How many fields are conditions.
    [[nodiscard]] std::size_t selected() const { return m_selected; }
    /// How many entries ended.
    [[nodiscard]] std::size_t contacts() const { return m_contacts.size(); }
    /// All that were sent, in order.
    [[nodiscard]] const std::deque<Field>& all() const { return m_fields; }
    /// The fields of a contact; of one that was sent twice, the last.
    [[nodiscard]] Fields of(std::size_t contact) const { return fieldsOf(m_contacts[contact]); }
    /// Those of the last entry, and what follows it.
    [[nodiscard]] Fields last() const { return fieldsOf({m_entryBegin, m_fields.size()}); }

    /// Appends the conditions that the entries make. The test whether a field counts looks at the
    /// first entry, and the value is that of the last: kept on purpose, with one entry they agree.
    /// False when a text has not the form that it needs in a statement.
    [[nodiscard]] bool appendConditions(PairList& params) const;

    /// The number of the one contact that an update selects and does not renumber; blank when it
    /// names none or several.
    [[nodiscard]] std::string updatedNumber() const;

private:
    /// Where the fields of an entry begin and end.
    using Stretch = std::pair<std::size_t, std::size_t>;

    /// Later fields of the same place take the place of earlier ones.
    Fields fieldsOf(const Stretch& entry) const;

    std::deque<Field> m_fields;
    std::size_t m_selected = 0;
    std::size_t m_entryBegin = 0;     ///< of the entry in progress, or the last one
    std::vector<Stretch> m_contacts;  ///< the entries that ended
};

#endif
