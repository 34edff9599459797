// The phone book: contacts with eight filled fields, and the indices of the number search.

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "Bench.h"

namespace {

using namespace Bench;

const char* const schema = "PhoneBook";
const char* const fileOnDevice = "/tmp/contacts.csv";
const char* const countAll = "SELECT COUNT(*) FROM PHONE_BOOK";
const char* const lookForRow = "SELECT COUNT(*) FROM (SELECT 1 FROM PHONE_BOOK LIMIT 1)";

const std::vector<Tags> contactTags =
    tagsOf({"UniqueID", "Surname", "Firstname", "Office", "Mobile", "Private", "Email", "Group",
            "DefaultNumber", "Company", "Office2", "Address", "Address2", "JobFunction",
            "VoiceDial", "Picture", "ExternalID", "ContactSource", "SpeedDialID"});

/// The values of a contact from the surname on, in the order of the table.
Texts valuesOf(int contact) {
    const std::string number = std::to_string(100000 + contact);
    return {"Surname" + number,
            "Firstname",
            "+49 89 1" + number,
            "+49 171 2" + number,
            "+49 89 3" + number,
            "name" + number + "@example.org",
            "7",
            "1",
            "Company",
            "",
            "",
            "",
            "",
            "",
            "",
            "",
            "",
            ""};
}

std::string entryOf(const Texts& values) {
    std::string entry = "<Entry>";
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!values[i].empty()) {
            entry += contactTags[i + 1].start + values[i] + contactTags[i + 1].end;
        }
    }
    return entry += "</Entry>";
}

std::string entries(int count) {
    std::string all;
    for (int contact = 0; contact < count; ++contact) {
        all += entryOf(valuesOf(contact));
    }
    return all;
}

std::string listed(const Texts& values) {
    std::string list;
    for (const std::string& value : values) {
        list += ", " + quoted(value);
    }
    return list;
}

std::string insertOf(const Texts& values) {
    return "INSERT OR REPLACE INTO PHONE_BOOK VALUES ('base', NULL" + listed(values) + ");";
}

std::string numberAnswer(const std::string& number) {
    return message(schema, "write_response", "<Entry><UniqueID>" + number + "</UniqueID></Entry>");
}

/// An operation on a book of @p contacts.
Operation operationOn(int contacts, const std::string& name) {
    Operation operation;
    operation.name = "Phonebook/" + name;
    operation.prepare = [contacts](DataAccessService& service) {
        (void)service.processRequest(message(schema, "write_request", entries(contacts)));
        (void)service.createPhonenumberIndices();
    };
    return operation;
}

/// A read. @p select turns a request into the statement that returns the rows.
Operation read(int contacts, const std::string& name, const char* reason,
               const std::function<std::string(int)>& body,
               const std::function<std::string(const RequestFields&)>& select) {
    Operation operation = operationOn(contacts, name);
    operation.request = [=](int round) { return message(schema, reason, body(round)); };
    operation.statementsOf = [=](const RequestFields& request) { return Texts{select(request)}; };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        return readAnswer(schema, db.rows(sql[0]), contactTags, 1);
    };
    return operation;
}

Operation search(int contacts, const std::string& name) {
    static const Texts columns = {"Office", "Mobile", "Private", "Office2"};
    const auto numberOf = [contacts](int round) { return valuesOf(round % contacts)[3]; };
    return read(
        contacts, name, "search_phone_number",
        [=](int round) {
            std::string fields;
            for (const std::string& column : columns) {
                const Tags tags(column);
                fields += tags.start + numberOf(round) + tags.end;
            }
            return "<Entry>" + fields + "</Entry>";
        },
        [](const RequestFields& request) {
            std::string sql;
            // The columns are in the order of the table, which has Office2 last.
            for (const auto& [column, number] : request.leaves) {
                sql += sql.empty() ? "SELECT " : "UNION SELECT ";
                sql += "* FROM PHONE_BOOK WHERE UserContext = 'base' AND " + column + " = " +
                       quoted(number) + " ";
            }
            return sql + " ;";
        });
}

Operation readAll(int contacts, const std::string& name) {
    return read(
        contacts, name, "read_request", [](int) { return ""; },
        [](const RequestFields&) {
            return "SELECT * FROM PHONE_BOOK WHERE UserContext = 'base' ORDER BY UPPER(Surname);";
        });
}

Operation readPage() {
    return read(
        1000, "ReadPageOf20In1000", "read_request",
        [](int round) {
            return "<Offset>" + std::to_string(round % 900) + "</Offset><RowLimit>20</RowLimit>";
        },
        [](const RequestFields& request) {
            return "SELECT * FROM PHONE_BOOK WHERE UserContext = 'base' ORDER BY UPPER(Surname) "
                   "LIMIT " +
                   request.value("RowLimit") + " OFFSET " + request.value("Offset") + ";";
        });
}

Operation writeOne() {
    Operation operation = operationOn(1000, "WriteOneContact");
    operation.reset = [](int) { return Texts{"DELETE FROM PHONE_BOOK WHERE UniqueID > 1000;"}; };
    operation.request = [](int round) {
        return message(schema, "write_request", entryOf(valuesOf(1000 + round)));
    };
    operation.statements = [](int round) { return Texts{insertOf(valuesOf(1000 + round))}; };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        db.run(sql[0]);
        return numberAnswer(db.lastNumber());
    };
    return operation;
}

Operation updateOne(int contacts, const std::string& name) {
    Operation operation = operationOn(contacts, name);
    operation.request = [](int round) {
        return message(schema, "update_request",
                       "<Select><UniqueID>50</UniqueID></Select><Entry><Mobile>" +
                           std::to_string(1000000 + round) + "</Mobile></Entry>");
    };
    operation.statementsOf = [](const RequestFields& request) {
        return Texts{lookForRow, "UPDATE PHONE_BOOK SET Mobile = " + quoted(request.value("Mobile")) +
                                   " WHERE UniqueID = " + quoted(request.value("UniqueID")) + ";"};
    };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        (void)db.count(sql[0]);
        db.run(sql[1]);
        return plainAnswer(schema, "update_response");
    };
    return operation;
}

/// A thousand contacts by one transaction, into an empty book.
Operation write1000() {
    Operation operation = operationOn(1, "Write1000Contacts");
    operation.reset = [](int) { return Texts{"DELETE FROM PHONE_BOOK;"}; };
    operation.request = [](int) { return message(schema, "write_request", entries(1000)); };
    operation.statements = [](int) {
        Texts sql = {"BEGIN IMMEDIATE TRANSACTION;"};
        for (int contact = 0; contact < 1000; ++contact) {
            sql.push_back(insertOf(valuesOf(contact)));
        }
        sql.emplace_back("END TRANSACTION;");
        return sql;
    };
    operation.written = "SELECT * FROM PHONE_BOOK;";
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        for (std::size_t i = 0; i < sql.size(); ++i) {
            db.run(sql[i]);
        }
        return numberAnswer(db.lastNumber());
    };
    return operation;
}

/// A statement for each line of the file; the values contain no commas.
Texts importStatements(const RequestFields&) {
    static const std::string columns =
        "INSERT OR REPLACE INTO PHONE_BOOK (UserContext, Surname, Firstname, Office, Mobile, "
        "Private, Email, CallGroup, DefaultNumber, Company, Office2, Address, Address2, "
        "JobFunction, VoiceDial, Picture, ExternalID, ContactSource, SpeedDialID) VALUES "
        "('base'";
    Texts sql = {"BEGIN IMMEDIATE TRANSACTION;", countAll,
                 "DELETE FROM PHONE_BOOK  WHERE UserContext = 'base';"};
    std::ifstream file(std::getenv("DAS_ROOT") + std::string(fileOnDevice));
    for (std::string line; std::getline(file, line);) {
        std::istringstream cells(line);
        Texts values;
        for (std::string cell; std::getline(cells, cell, ',');) {
            values.push_back(cell);
        }
        values.resize(valuesOf(0).size() + 2);
        values.erase(values.begin(), values.begin() + 2);  // the user and the number
        sql.push_back(columns + listed(values) + ");");
    }
    sql.emplace_back("END TRANSACTION;");
    return sql;
}

/// The same from a file, which replaces the contacts of the previous round.
Operation import1000() {
    Operation operation = operationOn(1000, "Import1000Contacts");
    operation.prepare = [prepare = operation.prepare](DataAccessService& service) {
        prepare(service);
        std::ofstream file(std::getenv("DAS_ROOT") + std::string(fileOnDevice));
        for (int contact = 0; contact < 1000; ++contact) {
            file << "base," << contact;
            for (const std::string& value : valuesOf(contact)) {
                file << ',' << value;
            }
            file << '\n';
        }
    };
    operation.request = [](int) { return std::string(); };
    operation.statementsOf = importStatements;
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        db.run(sql[0]);
        (void)db.count(sql[1]);
        for (std::size_t i = 2; i < sql.size(); ++i) {
            db.run(sql[i]);
        }
        return std::string("true");
    };
    operation.service = [](DataAccessService& service, const std::string&) {
        return service.importData(schema, base, fileOnDevice) ? "true" : "false";
    };
    operation.call =
        "{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"importDataForUser\",\"params\":{\"schemaName\":"
        "\"PhoneBook\","
        "\"userToImportFor\":0,\"filePathAndName\":\"/tmp/contacts.csv\"}}";
    operation.answerToCall = "{\"jsonrpc\":\"2.0\",\"id\":1,\"result\":{\"Acknowledge\":true}}";
    return operation;
}

const Registration registration(
    {search(100, "SearchNumberIn100"), search(1000, "SearchNumberIn1000"),
     search(10000, "SearchNumberIn10000"), readAll(100, "ReadAll100"), readAll(1000, "ReadAll1000"),
     readAll(10000, "ReadAll10000"), readPage(), writeOne(),
     updateOne(100, "UpdateOneContactIn100"), updateOne(1000, "UpdateOneContactIn1000"),
     updateOne(10000, "UpdateOneContactIn10000"), write1000(), import1000()});

}  // namespace
