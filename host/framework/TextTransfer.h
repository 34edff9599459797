#ifndef TEXTTRANSFER_H
#define TEXTTRANSFER_H

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

}  // namespace TextTransfer

#endif
