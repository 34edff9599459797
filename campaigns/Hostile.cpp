// Hostile values in every input, with SQLite's authorizer as the judge. Only the tables of the
// requested schema may be touched, no value may add a second statement, only the named row may
// change, no answer may show data of others, and a valid value must be read back as it was sent.

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <numeric>
#include <random>

#include "Campaign.h"
#include "ClientUtils.h"
#include "DASTypes.h"
#include "HostileFiles.h"
#include "HostilePlace.h"
#include "HostileTexts.h"
#include "SqlJudge.h"
#include "TableDocument.h"
#include "service/DataAccessService.h"
#include "settings/GeneralConfigurationDAO.h"
#include "testkit/Messages.h"
#include "testkit/QuietOutput.h"
#include "testkit/Schemas.h"

namespace {

using xml::element;
using Texts = std::vector<std::string>;

enum class Where { Key, Value, Column, Offset, Limit, Pattern, User, SchemaName, Reason, Element };
constexpr std::array Places = {Where::Key,    Where::Value,   Where::Column, Where::Offset,
                               Where::Limit,  Where::Pattern, Where::User,   Where::SchemaName,
                               Where::Reason, Where::Element};
constexpr const char* PlaceNames[] = {"identifier", "value",   "result column", "offset",
                                      "limit",      "pattern", "context",       "schema name",
                                      "reason",     "element"};

/// A request before it is built.
struct Request {
    const Subject* subject;
    const std::string* reason;
    Where where;
    const std::string* text;
    bool isRaw;  ///< the text is not escaped, so its markup counts
};

bool isAnyOf(const std::string& text, std::initializer_list<const char*> list) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool isReading(const std::string& reason) {
    return !isAnyOf(reason, {"write_request", "update_request", "delete_request", "reset_request"});
}

bool isList(const Subject& subject) {
    return isAnyOf(subject.table, {"PHONE_BOOK", "CALL_LOG", "CONVERSATIONS", "CallGroup"});
}

/// Whether this input exists in requests of @p reason to @p subject.
bool exists(const Subject& subject, const std::string& reason, Where where) {
    switch (where) {
        case Where::Column:
            return reason == "read_request" || reason.rfind("search", 0) == 0;
        case Where::Offset:
        case Where::Limit:
            return isList(subject) && isReading(reason);
        case Where::Pattern:
            return subject.table == "PHONE_BOOK";
        case Where::Key:
            // In these requests the name of an item is an element.
            return !subject.isSettings() || isAnyOf(reason, {"read_request", "delete_request"});
        case Where::Value:
            // An element with content deletes the item with the element's name.
            return !subject.isSettings() || reason != "delete_request";
        default:
            return true;
    }
}

/// The rows of the request: the victim's key and a column, or the hostile text in their place.
std::string rowOf(const Request& request, const std::string& text) {
    const Subject& subject = *request.subject;
    const std::string& reason = *request.reason;
    const std::string key = request.where == Where::Key ? text : HostilePlace::victimKey(subject);
    std::string columns = element(HostilePlace::valueElement(subject),
                                  request.where == Where::Value ? text : "changed");
    if (request.where == Where::Element) {
        columns += element(text, "x");
    } else if (request.where == Where::Pattern) {
        columns += element("SurnameLike", text) + element("FirstnameLike", text);
    }
    if (subject.isSettings()) {
        return reason == "delete_request" ? element("Name", key) : columns;
    }
    const std::string row = element(subject.key, key);
    if (subject.hasSelect() && reason == "update_request") {
        return element("Select", row) + element("Entry", columns);
    }
    const bool isByKeyAlone =
        request.where == Where::Key && reason != "write_request" && reason != "update_request";
    return element("Entry", isByKeyAlone ? row : row + columns);
}

std::string frameOf(const Request& request, const std::string& text) {
    std::string frame;
    if (request.where == Where::Column ||
        (request.where == Where::Key && request.subject->isSettings())) {
        frame += element("ResultCols", text);
    }
    if (request.where == Where::Offset || request.where == Where::Limit) {
        const bool isOffset = request.where == Where::Offset;
        frame += element("Offset", isOffset ? text : "0");
        frame += element("RowLimit", isOffset ? "5" : text);
    }
    return frame;
}

std::string messageOf(const Request& request) {
    const std::string text = request.isRaw ? *request.text : HostilePlace::asContent(*request.text);
    const auto at = [&](Where where, const std::string& usual) {
        return request.where == where ? text : usual;
    };
    return xml::message(
        at(Where::SchemaName, request.subject->schema), at(Where::Reason, *request.reason),
        frameOf(request, text) + xml::context(at(Where::User, "base"), rowOf(request, text)));
}

/// The campaign's requests against one service.
class Requests {
public:
    Requests(Campaign& campaign, HostilePlace& place) : m_campaign(campaign), m_place(place) {}

    void make(const Request& request) {
        const std::string message = messageOf(request);
        SqlJudge::begin();
        const std::string answer =
            m_place.service().processRequest(message.c_str(), static_cast<int>(message.size()));
        SqlJudge::end();
        const std::size_t before = static_cast<std::size_t>(m_campaign.findings());
        checkAnswer(request, answer);
        m_place.checkActs(m_campaign, tablesOf(request));
        if (isReading(*request.reason) && request.where != Where::Reason) {
            m_campaign.check(SqlJudge::changedTables().empty(), "a read changed something");
        }
        checkRows(request, answer);
        if (static_cast<std::size_t>(m_campaign.findings()) != before) {
            m_campaign.found("... by " + message.substr(0, 2000) + " which was answered " +
                             answer.substr(0, 300));
        }
        ++m_made;
    }

    long long made() const { return m_made; }
    long long comeBack() const { return m_comeBack; }

private:
    static std::set<std::string> tablesOf(const Request& request) {
        return request.where == Where::SchemaName ? std::set<std::string>()
                                                  : HostilePlace::tablesOf(*request.subject);
    }

    void checkAnswer(const Request& request, const std::string& answer) {
        const std::string start = "<?xml version=\"1.0\" encoding=\"utf-8\"?><Schema name=\"";
        const std::string end = "</Schema>";
        m_campaign.check(answer.rfind(start, 0) == 0 && answer.size() > end.size() &&
                             answer.compare(answer.size() - end.size(), end.size(), end) == 0 &&
                             answer.find("<ReasonForMessage>") != std::string::npos,
                         "an answer out of form");
        // Without a context, a read returns settings of all users.
        const bool isOfAll = *request.reason == "readall_request" ||
                             (request.subject->isSettings() && request.where == Where::User &&
                              request.text->empty());
        if (!isOfAll) {
            m_campaign.check(!m_place.showsOthers(answer, *request.subject),
                             "an answer shows what belongs to others");
        }
    }

    /// Compares the rows with those before the request, and restores them.
    void checkRows(const Request& request, const std::string& answer) {
        if (SqlJudge::changedTables().empty()) {
            return;
        }
        const Subject& subject = *request.subject;
        // A delete without names deletes all rows of the user, and so does a text that is empty
        // after XML parsing.
        const bool isWide = *request.reason == "reset_request" ||
                            (*request.reason == "delete_request" && request.where == Where::Key &&
                             (request.text->empty() || request.isRaw));
        for (const std::string& table : SqlJudge::changedTables()) {
            const std::string wrong = m_place.wrongChange(subject, table, isWide);
            m_campaign.check(wrong.empty(), wrong);
        }
        const bool isStored = isAnyOf(*request.reason, {"write_request", "update_request"}) &&
                              request.where == Where::Value && !request.isRaw &&
                              isCarriedByXml(*request.text) &&
                              answer.find("_response<") != std::string::npos;
        if (isStored) {
            m_campaign.check(m_place.storedValue(subject) == *request.text,
                             "stored is '" + m_place.storedValue(subject).substr(0, 200) + "'");
            m_campaign.check(comesBack(request), "the value does not come back");
            ++m_comeBack;
        }
        m_place.restore();
    }

    /// Whether a read of the victim returns the stored value.
    bool comesBack(const Request& request) {
        static const std::string reading = "read_request";
        const Subject& subject = *request.subject;
        // This schema leaves out calls of conversations.
        if (subject.schema == "CallLogAndPhoneBook") {
            return true;
        }
        const std::string row =
            subject.isSettings()
                ? ""
                : element("Entry", element(subject.key, HostilePlace::victimKey(subject)));
        const std::string message =
            xml::message(subject.schema, reading, xml::context("base", row));
        const std::string name = HostilePlace::valueElement(subject);
        return m_place.service().processRequest(message).find(element(name, *request.text)) !=
               std::string::npos;
    }

    Campaign& m_campaign;
    HostilePlace& m_place;
    long long m_made = 0;
    long long m_comeBack = 0;
};

/// All inputs of all requests to all schemas, without the text.
std::vector<Request> frames(const std::vector<Subject>& subjects) {
    std::vector<Request> all;
    for (const Subject& subject : subjects) {
        for (const std::string& reason : subject.reasons) {
            for (const Where where : Places) {
                if (exists(subject, reason, where)) {
                    all.push_back({&subject, &reason, where, nullptr, false});
                }
            }
        }
    }
    return all;
}

bool isMarkup(const std::string& text) {
    return text.find_first_of("<&") != std::string::npos;
}

}  // namespace

int main(int argc, char** argv) {
    Campaign campaign("hostile", "requests are made", 20000, argc, argv);
    SqlJudge::install();
    auto quiet = std::make_unique<QuietOutput>();
    const std::vector<Subject> subjects = documentedSubjects();
    HostilePlace place(subjects);
    const Texts schemas = allSchemas();
    campaign.check(subjects.size() == schemas.size(),
                   std::to_string(subjects.size()) + " schemas are documented");
    std::vector<Request> walk = frames(subjects);
    std::mt19937 random(campaign.seed());
    std::shuffle(walk.begin(), walk.end(), random);

    Requests requests(campaign, place);
    const Texts& texts = hostileTexts();
    for (long round = 0; round < campaign.rounds() && campaign.findings() < 50; ++round) {
        const auto number = static_cast<std::size_t>(round);
        Request request = walk[number % walk.size()];
        // Each text is tried in each input in turn; the seed decides where that begins.
        request.text = &texts[(number + number / walk.size() * 17 + random() % 3) % texts.size()];
        request.isRaw = request.where == Where::Element || (isMarkup(*request.text) && number % 2);
        requests.make(request);
    }
    HostileFiles files(campaign, place);
    files.importData(subjects, texts, campaign.rounds() / 20);
    files.passMaps(texts, campaign.rounds() / 20);
    files.walkPaths();
    quiet.reset();

    campaign.figure("texts", static_cast<long long>(texts.size()));
    campaign.figure("schemas", static_cast<long long>(subjects.size()));
    campaign.figure("places of requests", static_cast<long long>(walk.size()));
    campaign.figure("requests", requests.made());
    campaign.figure("values that came back as sent", requests.comeBack());
    campaign.figure("imports", files.imports());
    campaign.figure("imports that changed rows", files.takenImports());
    campaign.figure("maps", files.maps());
    campaign.figure("paths", files.paths());
    campaign.figure("calls with a path", files.pathCalls());
    campaign.figure("statements judged", SqlJudge::texts());
    return campaign.end();
}
