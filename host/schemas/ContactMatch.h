#ifndef CONTACTMATCH_H
#define CONTACTMATCH_H

#include <string>
#include <vector>

/// A text that contacts are searched for, as people type it.
class ContactMatch {
public:
    /// Any text will do. From four digits on, marks between them left out, it is a number too;
    /// shorter ones would find half of all contacts.
    explicit ContactMatch(const std::string& text);

    /// Whether a value of the column @p column is a match: a name, company or e-mail that holds the
    /// text in any case, or a number that ends with its digits.
    bool fits(const std::string& column, const std::string& value) const;

    /// The columns that are looked at.
    static const std::vector<std::string>& columns();

private:
    std::string m_folded;  ///< the text in one case
    std::string m_digits;  ///< blank for a text that is no number
};

#endif
