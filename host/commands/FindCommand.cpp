#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "client/HostOptions.h"
#include "client/Session.h"
#include "schemas/AnswerSheet.h"
#include "schemas/ContactMatch.h"
#include "schemas/RequestText.h"
#include "terminal/Complaint.h"

namespace {

const char* const Schema = "PhoneBook";

/// "das find": contacts by a part of a name, company or e-mail, or by the end of a number.
class FindCommand : public SessionCommand {
public:
    bool check(const Arguments& arguments) override {
        if (arguments.text("TEXT").empty()) {
            Complaint::tell("find: the text is empty", "give a part of a name, or a number");
            return false;
        }
        return SheetPrinter::check(arguments) &&
               RowArguments::checkUser(arguments.value("--context")) &&
               RowArguments::readNumber(arguments, "--limit", m_limit);
    }

    int runIn(Session& session, const Arguments& arguments) override {
        const auto answer = session.askFor(
            "find", RequestText::request(Schema, "read_request", arguments.value("--context"), ""));
        if (!answer) {
            return ExitFailure;
        }
        Sheet sheet = AnswerSheet::of(*KnownSchemas::find(Schema), *answer, {});
        keepMatches(sheet, ContactMatch(arguments.text("TEXT")));
        if (sheet.rows.empty()) {
            Complaint::tell("find: no contact has " + arguments.text("TEXT"),
                            "names are found by any part, numbers by their last four digits or "
                            "more");
            return ExitFailure;
        }
        AnswerSheet::cut(sheet, 0, m_limit);
        return SheetPrinter(arguments, session.output()).print(sheet);
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

    std::size_t m_limit = static_cast<std::size_t>(-1);
};

}  // namespace

std::unique_ptr<Command> makeFindCommand() {
    return std::make_unique<FindCommand>();
}
