#ifndef CONTACTMATCH_H
#define CONTACTMATCH_H

#include <string>
#include <vector>

/// A search text for contacts, as people type it.
class ContactMatch {
public:
    /// Any text is allowed. With four digits or more (not counting marks between them) it is also a
    /// number; a shorter one would match half of all contacts.
    explicit ContactMatch(const std::string& text);

    /// Whether a value of the column @p column matches: a name, company or e-mail that contains the
    /// text in any case, or a number that ends with its digits.
    bool fits(const std::string& column, const std::string& value) const;

    /// The columns that are compared.
    static const std::vector<std::string>& columns();

private:
    std::string m_folded;  ///< the text in one case
    std::string m_digits;  ///< blank if the text is not a number
};

#endif
