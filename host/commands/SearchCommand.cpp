#include <memory>
#include <string>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "schemas/AnswerSheet.h"
#include "schemas/RequestText.h"
#include "terminal/Complaint.h"
#include "terminal/Utf8.h"

namespace {

const char* const Schema = "PhoneBook";
const char* const Numbers[] = {"Office", "Office2", "Mobile", "Private"};

/// "das search": contacts by a number.
class SearchCommand : public SessionCommand {
public:
    bool check(const Arguments& arguments) override {
        const std::string number = arguments.text("NUMBER");
        if (number.empty() || Utf8::forXml(number) != number) {
            Complaint::tell("search: the number is empty, or holds what a request can't carry");
            return false;
        }
        return SheetPrinter::check(arguments) &&
               RowArguments::checkUser(arguments.value("--context")) &&
               RowArguments::readNumber(arguments, "--limit", m_limit);
    }

    int runIn(Session& session, const Arguments& arguments) override {
        RequestText::Values conditions;
        for (const char* element : Numbers) {
            conditions.emplace_back(element, arguments.text("NUMBER"));
        }
        const KnownSchemas::Entry& schema = *KnownSchemas::find(Schema);
        const auto answer =
            session.askFor("search", RequestText::request(Schema, "search_phone_number",
                                                          arguments.value("--context"),
                                                          RequestText::entry(schema, conditions)));
        if (!answer) {
            return ExitFailure;
        }
        Sheet sheet = AnswerSheet::of(schema, *answer, {});
        AnswerSheet::cut(sheet, 0, m_limit);
        return SheetPrinter(arguments, session.output()).print(sheet, *answer);
    }

private:
    std::size_t m_limit = static_cast<std::size_t>(-1);
};

}  // namespace

std::unique_ptr<Command> makeSearchCommand() {
    return std::make_unique<SearchCommand>();
}
