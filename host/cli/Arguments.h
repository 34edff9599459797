#ifndef ARGUMENTS_H
#define ARGUMENTS_H

#include <map>
#include <optional>
#include <string>
#include <vector>

/**
 * What was given to a command: values by the names of its arguments and options in the table of
 * commands. A flag that was given has one value, which is empty.
 *
 * Commands look values up by name and get strings. The command itself checks a value, so that its
 * message can say what the value is for. A name that is not in the table has no value.
 */
class Arguments {
public:
    /// Appends a value to those of @p name.
    void add(const std::string& name, std::string value) {
        m_values[name].push_back(std::move(value));
    }

    /// Whether it was given at all, even without a value.
    bool has(const std::string& name) const { return m_values.count(name) > 0; }

    /// All values of @p name, in order; none if it was not given.
    const std::vector<std::string>& all(const std::string& name) const {
        static const std::vector<std::string> none;
        const auto found = m_values.find(name);
        return found == m_values.end() ? none : found->second;
    }

    /// The last value of @p name.
    std::optional<std::string> value(const std::string& name) const {
        return has(name) ? std::optional<std::string>(all(name).back()) : std::nullopt;
    }

    /// The same for an argument that is required, and empty for one that is missing.
    std::string text(const std::string& name) const { return value(name).value_or(""); }

private:
    std::map<std::string, std::vector<std::string>> m_values;
};

#endif
