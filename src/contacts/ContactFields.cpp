// Plain values are quoted, so they can do no harm. Numbers and patterns become part of a statement
// unquoted, so their form is checked and anything else is refused.

#include "contacts/ContactFields.h"

#include "dao/DASUtils.h"

namespace {

/// Elements that follow those of the columns: a search for a part of a name, and the field that it
/// searches.
struct Pattern {
    const char* element;
    ContactFields::Place field;
};
constexpr Pattern Patterns[] = {{"SurnameLike", ContactFields::Surname},
                                {"FirstnameLike", ContactFields::Firstname}};

const std::string PatternWord = "LIKE";

}  // namespace

const std::vector<std::string>& ContactFields::elements() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all = ContactColumns::elements();
        for (const Pattern& pattern : Patterns) {
            all.emplace_back(pattern.element);
        }
        return all;
    }();
    return names;
}

void ContactFields::add(std::size_t element, const std::string& text, bool inEntry) {
    const bool isPattern = element >= Count;
    const std::size_t place = isPattern ? Patterns[element - Count].field : element;
    m_fields.push_back(
        {isPattern ? PatternWord + " " + DASUtils::convertToDBFormat("%" + text + "%") : text,
         static_cast<unsigned char>(place), isPattern, inEntry});
    m_selected += inEntry ? 0 : 1;
}

ContactFields::Fields ContactFields::fieldsOf(const Stretch& entry) const {
    static const Field none;
    Fields fields;
    fields.fill(&none);
    for (std::size_t i = entry.first; i < entry.second; ++i) {
        fields[m_fields[i].place] = &m_fields[i];
    }
    return fields;
}

bool ContactFields::appendConditions(PairList& params) const {
    if (m_contacts.empty()) {
        return true;
    }
    const Fields first = of(0);
    const Fields lastOnes = last();
    for (std::size_t place = 0; place < Count; ++place) {
        if (first[place]->text.empty()) {
            continue;
        }
        const Field& field = *lastOnes[place];
        const bool isNumber = place == Number;
        const bool isName = place == Surname || place == Firstname;
        // A bare name with this word would become part of the statement unquoted, so it is refused.
        const bool isBare =
            isNumber || (isName && field.text.find(PatternWord) != std::string::npos);
        if (isBare && !(isNumber ? DASUtils::isIdentifier(field.text)
                                 : field.isPattern && DASUtils::isPattern(field.text))) {
            return false;
        }
        params.emplace_back(*Columns[place].name,
                            isBare ? field.text : DASUtils::convertToDBFormat(field.text));
    }
    return true;
}

std::string ContactFields::updatedNumber() const {
    std::string number;
    bool isKept = true;
    for (const Field& field : m_fields) {
        if (field.place == Number && !field.inEntry) {
            isKept = isKept && number.empty();
            number = field.text;
        } else if (field.place == Number) {
            isKept = isKept && field.text == number;
        }
    }
    return isKept ? number : std::string();
}
