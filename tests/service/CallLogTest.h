#ifndef CALLLOGTEST_H
#define CALLLOGTEST_H

#include <sstream>
#include <string>

#include "calls/CallLogDAO.h"
#include "database/DatabaseAdapter.h"
#include "testkit/ServiceTest.h"

using xml::element;
using xml::elements;
using xml::entry;
using xml::message;
using xml::reasonOf;
using xml::valuesOf;

const char* const Missed = "CallLogMissedCalls";
const char* const Dialled = "CallLogDialledCalls";
const char* const All = "CallLog";
const char* const Joined = "CallLogAndPhoneBook";

/// Fields of an element each, named in @p words; the value is the name and @p suffix.
inline xml::Fields named(const std::string& words, const std::string& suffix = {}) {
    xml::Fields fields;
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        fields.emplace_back(word, word + suffix);
    }
    return fields;
}

inline std::string item(const xml::Fields& fields) {
    return element("Item", elements(fields));
}

/// One row: its own elements, then its calls.
inline std::string row(const xml::Fields& fields, const std::string& items = {}) {
    return element("Entry", elements(fields) + element("LogList", items));
}

inline std::string call(const std::string& number, const std::string& time) {
    return item({{"Number", number}, {"TimeDate", time}});
}

inline std::string columns(const std::string& words) {
    return element("ResultCols", words);
}

class CallLogDAOTest : public ServiceTest {
protected:
    std::string write(const char* schema, const std::string& rows,
                      const std::string& user = "base") {
        return send(schema, "write_request", xml::context(user, rows));
    }
    std::string count(const std::string& where = "1") {
        return cell("SELECT COUNT(*) FROM CALL_LOG WHERE " + where);
    }
    CallLogDAO dao() { return CallLogDAO(service().getAdapter()); }
    void converse(const char* call, const char* contact) {
        send("Conversations", "write_request",
             entry({{"PhonebookId", contact}, {"CallLogId", call}}));
    }
};

const char* const RowElements = "EntryId Surname Firstname Picture Viewed JSGroupBy";
const char* const ItemElements =
    "MornetTStimeFormat Number NumberType ConnectedNumber ConnectedNumberType ConnectedSurname "
    "ConnectedFirstName TimeDate Duration ResolvedNumber CompletedElsewhere GroupName GroupNumber";

#endif
