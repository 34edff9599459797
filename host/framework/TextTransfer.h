#ifndef TEXTTRANSFER_H
#define TEXTTRANSFER_H

#include <string>

class Method;
struct HostCall;

/**
 * The host's methods ImportText and ExportText: tables as text, for callers whose files the host
 * can't open. Their parameters are described in the table of methods.
 *
 * Any thread may call. Failures that the service logs are stored for the client of the call.
 */
namespace TextTransfer {

/// Checks the text of @p call and imports it into the service as one transaction.
void importText(const HostCall& call, Method& answer);

/// Exports the rows of a schema.
void exportText(const HostCall& call, Method& answer);

/// What an export answers if a file can't be written and nothing is heard of why.
constexpr const char* NotWritten = "the file can't be written";

/// Reads the file of the telephone @p path. False with the reason in @p wrong, which is blank when
/// it is in the log.
[[nodiscard]] bool readFile(const std::string& path, std::string& text, std::string& wrong);

}  // namespace TextTransfer

#endif
