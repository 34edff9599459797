#ifndef DATAFILEARGUMENTS_H
#define DATAFILEARGUMENTS_H

#include <optional>
#include <string>

#include "Method.h"
#include "schemas/KnownSchemas.h"

class Arguments;

/**
 * What import and export have in common: a schema, a user, and a file of the caller or of the
 * telephone.
 *
 * The command itself reads or writes a file of the caller and sends its contents with the call. For
 * a file of the telephone it sends only the path, and the host opens it below the device root. So
 * caller and host need no common folder.
 */
class DataFileArguments {
public:
    /// @p command is "import" or "export".
    explicit DataFileArguments(const char* command) : m_command(command) {}

    /// Reads the arguments. False, after a message on standard error, if they can't be used.
    [[nodiscard]] bool read(const Arguments& arguments);

    [[nodiscard]] const KnownSchemas::Entry& schema() const { return *m_schema; }
    [[nodiscard]] const std::string& user() const { return m_user; }  ///< blank without one
    [[nodiscard]] const std::string& file() const { return m_file; }  ///< as the user wrote it
    /// The path on the telephone; no value for a file of the caller.
    [[nodiscard]] const std::optional<std::string>& device() const { return m_device; }

    /// "import PhoneBook", for messages.
    [[nodiscard]] std::string what() const;

    /// A call of @p name for schema, user and the file of the telephone.
    [[nodiscard]] Method method(const char* name) const;

private:
    const char* m_command;
    const KnownSchemas::Entry* m_schema = nullptr;
    std::string m_user;
    std::string m_file;
    std::optional<std::string> m_device;
};

#endif
