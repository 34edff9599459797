// Commands that find contacts: search, by a whole number, and find, by parts.

#include <algorithm>

#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "schemas/AnswerSheet.h"
#include "schemas/ContactMatch.h"
#include "terminal/Utf8.h"

namespace {

const char* const Schema = "PhoneBook";

/// The common part: whose contacts, and how many of them.
class ContactCommand : public SessionCommand {
public:
    ContactCommand(const char* name, const char* reason) : m_name(name), m_reason(reason) {}

    bool check(const Arguments& arguments) override {
        return SheetPrinter::check(arguments) &&
               RowArguments::checkUser(arguments.value("--context")) &&
               RowArguments::readNumber(arguments, "--limit", m_limit);
    }

protected:
    /// The contacts in the service's answer; no value after a failure, which has been reported.
    std::optional<std::string> ask(Session& session, const Arguments& arguments,
                                   const std::string& body) const {
        return session.askFor(
            m_name, RequestText::request(Schema, m_reason, arguments.value("--context"), body));
    }

    int print(Session& session, const Arguments& arguments, Sheet& sheet,
              const std::string& raw) const {
        AnswerSheet::cut(sheet, 0, m_limit);
        return SheetPrinter(arguments, session.output()).print(sheet, raw);
    }

private:
    const char* m_name;
    const char* m_reason;
    std::size_t m_limit = static_cast<std::size_t>(-1);
};

class SearchCommand : public ContactCommand {
public:
    SearchCommand() : ContactCommand("search", "search_phone_number") {}

    bool check(const Arguments& arguments) override {
        const std::string number = arguments.text("NUMBER");
        if (number.empty() || Utf8::forXml(number) != number) {
            Complaint::report("search: the number is empty, or holds what a request can't carry");
            return false;
        }
        return ContactCommand::check(arguments);
    }

    int runIn(Session& session, const Arguments& arguments) override {
        RequestText::Values conditions;
        for (const char* element : {"Office", "Office2", "Mobile", "Private"}) {
            conditions.emplace_back(element, arguments.text("NUMBER"));
        }
        const KnownSchemas::Entry& schema = *KnownSchemas::find(Schema);
        const auto answer = ask(session, arguments, RequestText::entry(schema, conditions));
        if (!answer) {
            return ExitFailure;
        }
        Sheet sheet = AnswerSheet::of(schema, *answer, {});
        return print(session, arguments, sheet, *answer);
    }
};

class FindCommand : public ContactCommand {
public:
    FindCommand() : ContactCommand("find", "read_request") {}

    bool check(const Arguments& arguments) override {
        if (arguments.text("TEXT").empty()) {
            Complaint::report("find: the text is empty", "give a part of a name, or a number");
            return false;
        }
        return ContactCommand::check(arguments);
    }

    int runIn(Session& session, const Arguments& arguments) override {
        const auto answer = ask(session, arguments, "");
        if (!answer) {
            return ExitFailure;
        }
        Sheet sheet = AnswerSheet::of(*KnownSchemas::find(Schema), *answer, {});
        keepMatches(sheet, ContactMatch(arguments.text("TEXT")));
        if (sheet.rows.empty()) {
            Complaint::report(
                "find: no contact has " + arguments.text("TEXT"),
                "names are found by any part, numbers by their last four digits or more");
            return ExitFailure;
        }
        return print(session, arguments, sheet, "");
    }

private:
    static void keepMatches(Sheet& sheet, const ContactMatch& match) {
        std::vector<std::size_t> places;
        for (std::size_t i = 0; i < sheet.columns.size(); ++i) {
            const auto& names = ContactMatch::columns();
            if (std::find(names.begin(), names.end(), sheet.columns[i]) != names.end()) {
                places.push_back(i);
            }
        }
        const auto isStrange = [&](const std::vector<std::string>& row) {
            return std::none_of(places.begin(), places.end(), [&](std::size_t place) {
                return match.fits(sheet.columns[place], row[place]);
            });
        };
        sheet.rows.erase(std::remove_if(sheet.rows.begin(), sheet.rows.end(), isStrange),
                         sheet.rows.end());
    }
};

}  // namespace

std::unique_ptr<SessionCommand> makeSearchCommand() {
    return std::make_unique<SearchCommand>();
}

std::unique_ptr<SessionCommand> makeFindCommand() {
    return std::make_unique<FindCommand>();
}
