#ifndef SCENEREQUESTS_H
#define SCENEREQUESTS_H

#include <string>
#include <vector>

#include "Scene.h"
#include "testkit/Messages.h"

/// Requests and contents that the campaigns on faults have in common.
namespace SceneRequests {

using xml::element;
using xml::message;

std::string entry(const std::string& content);

/// An entry of a contact. A number makes it that contact; "" a new one.
std::string contact(const std::string& number, const std::string& surname);
/// An entry of a row of calls.
std::string callRow(const std::string& number, const std::string& phone);
/// An entry of the key @p id.
std::string key(const std::string& id, const std::string& label);
/// Lines of a data file of contacts.
std::string contactsFile(int lines, const std::string& surname, std::size_t size);

/// Makes all tables and puts something into most.
void fill(Scene& scene);

/// The text of an older database in tests/databases, as statements.
std::string oldDatabase(const std::string& name);
/// The statements of a database as it was before there were users, with that many contacts.
std::string oldestDatabase(int contacts);

/// Writes a mark into a key and looks for it in the database; what is wrong, empty for nothing.
std::string probe(Scene& scene);

}  // namespace SceneRequests

#endif
