#ifndef SCENEREQUESTS_H
#define SCENEREQUESTS_H

#include <string>
#include <vector>

#include "Scene.h"
#include "testkit/Messages.h"

/// Requests and contents that the campaigns of faults share.
namespace SceneRequests {

using xml::element;
using xml::message;

std::string entry(const std::string& content);

/// An entry of a contact. With a number it is that contact; "" is a new one.
std::string contact(const std::string& number, const std::string& surname);
/// An entry of a row of calls.
std::string callRow(const std::string& number, const std::string& phone);
/// An entry of the key @p id.
std::string key(const std::string& id, const std::string& label);
/// Lines of a data file of contacts.
std::string contactsFile(int lines, const std::string& surname, std::size_t size);

/// Creates all tables and inserts rows into most.
void fill(Scene& scene);

/// The text of an older database in tests/databases, as statements.
std::string oldDatabase(const std::string& name);
/// The statements for a database from before user mobility, with that many contacts.
std::string oldestDatabase(int contacts);

/// Writes a mark into a key and searches it in the database. Returns what is wrong; empty if
/// nothing.
std::string probe(Scene& scene);

}  // namespace SceneRequests

#endif
