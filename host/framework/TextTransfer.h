#ifndef TEXTTRANSFER_H
#define TEXTTRANSFER_H

class Client;
class Executable;
class Method;

/**
 * The host's methods ImportText and ExportText: tables as text, for callers whose files the host
 * does not see. What they take and answer stands in the table of methods.
 *
 * Any thread may call. What the service logs of failures is kept for @p client.
 */
namespace TextTransfer {

/// Checks the text of @p request and imports it into @p service as one transaction.
void importText(const Method& request, Executable& service, Client& client, Method& answer);

/// Exports the rows of a schema.
void exportText(const Method& request, Executable& service, Client& client, Method& answer);

}  // namespace TextTransfer

#endif
