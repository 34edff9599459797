#ifndef FULLDATABASE_H
#define FULLDATABASE_H

#include <filesystem>
#include <string>
#include <vector>

class DataAccessService;
class Sql;

/// Databases in which every table has rows, and requests to each table.
namespace FullDatabase {

/// The messages of examples/, in their order: service words and requests of each kind.
std::vector<std::string> examples();

/// A read and a row count of every schema.
std::vector<std::string> reads();

/// Gives @p service rows in every table: contacts, calls, conversations, keys, settings.
void fill(DataAccessService& service);

/// Creates a full database of today in the folder that the environment names. A separate process
/// does this, because static variables of the service would otherwise differ in later processes.
void makeToday();

/// The forms of databases of earlier releases, named like their dumps in tests/databases.
std::vector<std::string> forms();

/// Creates the tables of the form @p form, and those of settings if it has none.
void makeTables(const Sql& db, const std::string& form);

/// Creates the database @p file in the form @p form, with rows of both users in every table that is
/// empty in its dump. Throws std::runtime_error on failure.
void makeForm(const std::filesystem::path& file, const std::string& form);

}  // namespace FullDatabase

#endif
