#ifndef REQUESTMUTATOR_H
#define REQUESTMUTATOR_H

#include <random>
#include <string>
#include <vector>

/**
 * Changes requests by their structure: schema, reason, elements, values, and the user of the
 * context. The result is mostly well-formed, so it gets further than a request with changed bytes.
 */
class RequestMutator {
public:
    /// Create it after the service was started, because the elements are the columns of its tables.
    RequestMutator();

    /// @p message with one to four changes, which depend on @p seed.
    std::string mutate(std::string message, unsigned seed);

private:
    /// Begin and end of a piece of text.
    struct Span {
        std::size_t begin;
        std::size_t end;
    };

    void changeSchema(std::string& message);
    void changeReason(std::string& message);
    void changeUser(std::string& message);
    void changeValue(std::string& message);
    void insertElement(std::string& message);
    void removeElement(std::string& message);
    void doubleElement(std::string& message);
    void splice(std::string& message);

    void replaceBetween(std::string& message, const std::string& begin, const std::string& end,
                        const std::string& text);
    bool findElement(const std::string& message, Span& element);
    std::size_t placeBehindTag(const std::string& message);
    std::string element();
    std::string number();
    const std::string& one(const std::vector<std::string>& texts);
    std::size_t below(std::size_t limit);

    std::minstd_rand m_random;
    std::vector<std::string> m_messages;
    std::vector<std::string> m_schemas;
    std::vector<std::string> m_reasons;
    std::vector<std::string> m_elements;
    std::vector<std::string> m_values;
};

#endif
