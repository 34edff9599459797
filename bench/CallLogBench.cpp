// The call log: rows of missed calls with ten calls each, and the contacts with their numbers, for
// which the indices of the number search are used.

#include <algorithm>

#include "Bench.h"

namespace {

using namespace Bench;

const char* const missedSchema = "CallLogMissedCalls";
const char* const joinedSchema = "CallLogAndPhoneBook";
const char* const conversationsSchema = "Conversations";

constexpr std::size_t places = 10;
constexpr std::size_t rowWidth = 139;

/// A field of a call, with the cells of its first and its second call.
struct Field {
    const char* element;
    const char* stem;
    std::size_t firstCell;
    std::size_t secondCell;
    Tags tags{element};
};

/// The duration is before it in the table, but not shown in an answer.
const char* const completed = "CompletedElsewhere";

/// The fields of a missed call that an answer shows.
const std::vector<Field> shownFields = {
    {"MornetTStimeFormat", "MornetTStimeFormat", 8, 17},
    {"Number", "Number", 9, 18},
    {"NumberType", "NumberType", 10, 19},
    {"ConnectedNumber", "AuxiliaryNumber", 11, 20},
    {"ConnectedNumberType", "AuxiliaryNumberType", 12, 21},
    {"ConnectedSurname", "AuxSurname", 13, 22},
    {"ConnectedFirstName", "AuxFirstName", 14, 23},
    {"TimeDate", "TimeDate", 15, 24},
    {completed, completed, 109, 110},
    {"GroupName", "GroupName", 119, 120},
    {"GroupNumber", "GroupNumber", 129, 130},
};

const std::vector<Tags> rowTags =
    tagsOf({"UniqueId", "Category", "EntryId", "Surname", "Firstname", "Picture", "Viewed"});
const Tags groupTags("JSGroupBy");
constexpr std::size_t groupCell = 108;

const std::vector<Tags> contactTags =
    tagsOf({"UserContext", "UniqueID", "Surname",    "Firstname",     "Office",
            "Mobile",      "Private",  "Email",      "Group",         "DefaultNumber",
            "Company",     "Office2",  "Address",    "Address2",      "JobFunction",
            "VoiceDial",   "Picture",  "ExternalID", "ContactSource", "SpeedDialID"});
constexpr std::size_t surnameCell = 2;

std::string numberOf(int contact) {
    return "+49891" + std::to_string(100000 + contact);
}

/// The values of a call in the order of shownFields.
Texts callOf(int row, std::size_t place) {
    return {"1",
            numberOf(row),
            "2",
            "",
            "0",
            "",
            "",
            "2014-03-" + std::to_string(31 - row % 20) + "T1" + std::to_string(place) + ":15:30",
            "false",
            "Service",
            "4711"};
}

std::string entryOf(int row) {
    std::string entry = "<Entry><EntryId>E" + std::to_string(row) +
                        "</EntryId><Surname>Surname</Surname><Firstname>First</Firstname>"
                        "<Viewed>false</Viewed><LogList>";
    for (std::size_t place = 0; place < places; ++place) {
        const Texts call = callOf(row, place);
        entry += "<Item>";
        for (std::size_t i = 0; i < call.size(); ++i) {
            entry += shownFields[i].element == completed ? "<Duration>0</Duration>" : "";
            entry += shownFields[i].tags.start + call[i] + shownFields[i].tags.end;
        }
        entry += "</Item>";
    }
    return entry + "</LogList></Entry>";
}

/// An INSERT for a call, built from the elements of an entry in their order.
class Insert {
public:
    void take(const std::string& element, const std::string& value) {
        const auto field = std::find_if(shownFields.begin(), shownFields.end(),
                                        [&](const Field& each) { return each.element == element; });
        if (field != shownFields.end()) {
            add(field->stem + m_place, value);
            m_place[0] = static_cast<char>(m_place[0] + (field + 1 == shownFields.end() ? 1 : 0));
        } else if (element == "Duration") {
            add(element + m_place, value);
            add("ResolvedNumber" + m_place, "");
        } else {
            add(element, value);
            if (element == "Firstname") {
                add("PictureClip", "");
            } else if (element == "Viewed") {
                add("JSGroupBy", "");
            }
        }
    }

    std::string text() const { return m_names + ") VALUES (" + m_values + ");"; }

private:
    void add(const std::string& name, const std::string& value) {
        m_names.append(", ").append(name);
        m_values.append(", ").append(quoted(value));
    }

    std::string m_place = "0";
    std::string m_names = "INSERT OR REPLACE INTO CALL_LOG (UserContext, UniqueId, Category";
    std::string m_values = "'base', NULL, 'Missed'";
};

/// All statements run in one transaction.
Texts insertStatements(const RequestFields& request) {
    std::vector<Insert> inserts;
    for (const auto& [element, value] : request.leaves) {
        if (element == "EntryId") {
            inserts.emplace_back();
        }
        inserts.back().take(element, value);
    }
    Texts sql = {"BEGIN IMMEDIATE TRANSACTION;"};
    for (const Insert& insert : inserts) {
        sql.push_back(insert.text());
    }
    sql.emplace_back("END TRANSACTION;");
    return sql;
}

std::string allEntries(int count, std::string (*entry)(int)) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += entry(i);
    }
    return all;
}

std::string contactOf(int contact) {
    return "<Entry><Surname>Surname</Surname><Firstname>First</Firstname><Office>" +
           numberOf(contact) + "</Office><Mobile>" + numberOf(contact + 500000) +
           "</Mobile></Entry>";
}

std::string conversationOf(int row) {
    const std::string number = std::to_string(row + 1);
    return "<Entry><PhonebookId>" + number + "</PhonebookId><CallLogId>" + number +
           "</CallLogId></Entry>";
}

/// An operation on a hundred rows of missed calls.
Operation operationOn(int contacts, const std::string& name) {
    Operation operation;
    operation.name = "CallLog/" + name;
    operation.prepare = [contacts](DataAccessService& service) {
        (void)service.processRequest(
            message(missedSchema, "write_request", allEntries(100, entryOf)));
        if (contacts > 0) {
            (void)service.processRequest(
                message("PhoneBook", "write_request", allEntries(contacts, contactOf)));
            (void)service.createPhonenumberIndices();
            (void)service.processRequest(message(conversationsSchema, "read_request", ""));
        }
    };
    return operation;
}

void append(std::string& answer, const Tags& tags, const std::string& cell) {
    answer += tags.start;
    answer += cell;
    answer += tags.end;
}

void appendMissedCalls(std::string& answer, const Texts& row, std::size_t offset) {
    for (std::size_t i = 0; i < rowTags.size(); ++i) {
        append(answer, rowTags[i], row[offset + 1 + i]);
    }
    answer += "<LogList>";
    for (std::size_t place = 0; place < places; ++place) {
        answer += "<Item>";
        for (const Field& field : shownFields) {
            append(answer, field.tags,
                   row[offset + field.firstCell + place * (field.secondCell - field.firstCell)]);
        }
        answer += "</Item>";
    }
    answer += "</LogList>";
    append(answer, groupTags, row[offset + groupCell]);
}

void appendContact(std::string& answer, const Texts& row, std::size_t firstColumn) {
    for (std::size_t i = firstColumn; i < contactTags.size(); ++i) {
        append(answer, contactTags[i], row[rowWidth + i]);
    }
}

/// The answer to a read; @p appendRow appends the entries.
template <typename AppendRow>
std::string answerOf(const char* schema, const char* reason, const Rows& rows,
                     AppendRow appendRow) {
    std::string answer = plainAnswer(schema, reason);
    const std::string end = "</Schema>";
    answer.resize(answer.size() - end.size());
    for (const auto& row : rows) {
        answer += "<Entry>";
        appendRow(answer, row);
        answer += "</Entry>";
    }
    return answer += end;
}

/// Rows whose ten places are filled, by one transaction.
Operation write(int rows, const std::string& name) {
    Operation operation = operationOn(0, name);
    operation.reset = [](int) { return Texts{"DELETE FROM CALL_LOG WHERE UniqueId > 100;"}; };
    operation.request = [rows](int round) {
        std::string entries;
        for (int row = 0; row < rows; ++row) {
            entries += entryOf(100 + round + row);
        }
        return message(missedSchema, "write_request", entries);
    };
    operation.statementsOf = insertStatements;
    operation.written = "SELECT * FROM CALL_LOG WHERE UniqueId > 100;";
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        for (const std::string& statement : sql) {
            db.run(statement);
        }
        return message(missedSchema, "write_response",
                       "<Entry><UniqueId>" + db.lastNumber() + "</UniqueId></Entry>");
    };
    return operation;
}

Operation readMissedCalls() {
    Operation operation = operationOn(0, "Read100MissedCalls");
    operation.request = [](int) { return message(missedSchema, "read_request", ""); };
    operation.statements = [](int) {
        return Texts{"SELECT * FROM CALL_LOG WHERE Category = 'Missed' AND UserContext = 'base';"};
    };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        return answerOf(
            missedSchema, "read_response", db.rows(sql[0]),
            [](std::string& answer, const Texts& row) { appendMissedCalls(answer, row, 0); });
    };
    return operation;
}

Operation readJoined(int contacts, const std::string& name) {
    Operation operation = operationOn(contacts, name);
    operation.request = [](int) { return message(joinedSchema, "read_request", ""); };
    operation.statementsOf = [](const RequestFields&) {
        return Texts{
            "SELECT * FROM CALL_LOG LEFT JOIN PHONE_BOOK ON ( PHONE_BOOK.Office = CALL_LOG.Number0 "
            "        OR         PHONE_BOOK.Office2 = CALL_LOG.Number0         OR         "
            "PHONE_BOOK.Mobile = CALL_LOG.Number0        OR         PHONE_BOOK.Private = "
            "CALL_LOG.Number0 )        AND PHONE_BOOK.UserContext = 'base'        AND "
            "CALL_LOG.Number0 <> '' WHERE CALL_LOG.UserContext = 'base' AND CALL_LOG.UniqueId NOT "
            "IN (SELECT CONVERSATIONS.CallLogId FROM CONVERSATIONS WHERE CONVERSATIONS.CallLogId "
            "IS "
            "NOT NULL) GROUP BY CALL_LOG.UniqueId ORDER BY CALL_LOG.TimeDate0 DESC;"};
    };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        return answerOf(joinedSchema, "read_response", db.rows(sql[0]),
                        [](std::string& answer, const Texts& row) {
                            appendMissedCalls(answer, row, 0);
                            appendContact(answer, row, 0);
                        });
    };
    return operation;
}

Operation readConversations() {
    Operation operation = operationOn(1000, "Read100JoinedConversations");
    operation.prepare = [prepare = operation.prepare](DataAccessService& service) {
        prepare(service);
        (void)service.processRequest(
            message(conversationsSchema, "write_request", allEntries(100, conversationOf)));
    };
    operation.request = [](int) {
        return message(conversationsSchema, "read_request",
                       "<ResultCols>CALL_LOG.* PHONE_BOOK.*</ResultCols>");
    };
    operation.statements = [](int) {
        return Texts{
            "SELECT CALL_LOG.*, PHONE_BOOK.* FROM CONVERSATIONS     INNER JOIN CALL_LOG"
            "        ON CONVERSATIONS.CallLogId = CALL_LOG.UniqueID"
            "    INNER JOIN PHONE_BOOK"
            "        ON CONVERSATIONS.PhonebookId = PHONE_BOOK.UniqueID"
            " WHERE CONVERSATIONS.UserContext = 'base' ORDER BY CALL_LOG.TimeDate0 DESC;"};
    };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        return answerOf(conversationsSchema, "read_response_with_join", db.rows(sql[0]),
                        [](std::string& answer, const Texts& row) {
                            appendMissedCalls(answer, row, 0);
                            appendContact(answer, row, surnameCell);
                        });
    };
    return operation;
}

const Registration registration({write(1, "WriteFullRow"), write(100, "Write100FullRows"),
                                 readMissedCalls(), readJoined(100, "Read100JoinedWith100Contacts"),
                                 readJoined(1000, "Read100JoinedWith1000Contacts"),
                                 readJoined(10000, "Read100JoinedWith10000Contacts"),
                                 readConversations()});

}  // namespace
