#ifndef ROWARGUMENTS_H
#define ROWARGUMENTS_H

#include <optional>
#include <string>
#include <vector>

#include "schemas/KnownSchemas.h"
#include "schemas/RequestText.h"

class Arguments;

/**
 * The arguments that commands on rows have in common: the schema, the user, and which rows. Each
 * check reports on standard error what is wrong, and what may have been meant.
 *
 * The service itself is tolerant: it ignores an unknown element and a blank condition, so that a
 * deletion would delete every row. Programs must know this, but a person who mistypes a column must
 * not lose a phone book. So everything is checked here, by the tables of the schemas, before
 * anything is sent.
 */
class RowArguments {
public:
    /// Checks SCHEMA, --context, --id, --where and the values of NAME=VALUE. False if one of them
    /// can't be used in a request of @p reason by the command @p command.
    [[nodiscard]] bool read(const Arguments& arguments, const std::string& command,
                            const std::string& reason);

    /// Valid after read(), like all functions below.
    const KnownSchemas::Entry& schema() const { return *m_schema; }
    RequestText::Form form() const { return RequestText::formOf(*m_schema); }
    /// The user of --context; none for the current user.
    const std::optional<std::string>& context() const { return m_context; }

    /// The conditions of --id and --where, by elements.
    const RequestText::Values& conditions() const { return m_conditions; }

    /// The values of NAME=VALUE; for NAME=@FILE the contents of the file.
    const RequestText::Values& values() const { return m_values; }

    /// "read PhoneBook", for messages.
    const std::string& what() const { return m_what; }

    /// Whether a value is to be read from standard input.
    static bool takesStandardInput(const Arguments& arguments);

    /// Whether @p name may be an element of a request; if not, this is reported.
    [[nodiscard]] bool checkName(const std::string& name) const;

    /// Checks the schema alone, and that @p user is one.
    static const KnownSchemas::Entry* findSchema(const std::string& name);
    [[nodiscard]] static bool checkUser(const std::optional<std::string>& user);

    /// Whether @p text is a whole number, of any size.
    static bool isNumber(const std::string& text);

    /// Reads a whole number that is not negative from the option @p name into @p number, which does
    /// not change if the option was not given. False if it is no such number, which has been
    /// reported.
    [[nodiscard]] static bool readNumber(const Arguments& arguments, const std::string& name,
                                         std::size_t& number);

    /// Whether no two arguments of a pair in @p pairs are given together; if they are, this is
    /// reported.
    static bool checkApart(const std::string& command, const Arguments& arguments,
                           const std::vector<std::pair<const char*, const char*>>& pairs);

private:
    /// Splits NAME=VALUE and checks both parts; @p names are the names that may stand there.
    bool readPair(const std::string& text, const std::vector<std::string>& names,
                  RequestText::Values& pairs) const;
    /// Checks NAME=VALUE, and reads the values that are in files.
    bool readValues(const Arguments& arguments);
    /// Whether a request can carry @p value.
    static bool checkValue(const std::string& name, const std::string& value);
    /// Whether the last of @p values has a new name, or is an element of a call.
    bool checkRepeated(const RequestText::Values& values) const;
    /// Looks at --id and --where.
    bool readConditions(const Arguments& arguments, const std::string& reason);
    /// Looks at one of them.
    bool readCondition(const std::string& text, const std::string& reason);
    bool checkName(const std::string& name, const std::vector<std::string>& names) const;
    /// A suggestion instead of the column @p name, which requests do not have.
    std::string columnAdvice(const std::string& name, const std::vector<std::string>& names) const;
    /// Whether the schema takes requests of @p reason.
    bool checkReason(const std::string& command, const std::string& reason) const;

    const KnownSchemas::Entry* m_schema = nullptr;
    std::optional<std::string> m_context;
    RequestText::Values m_conditions;
    RequestText::Values m_values;
    std::string m_what;
};

#endif
