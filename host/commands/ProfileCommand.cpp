// "das profile": the current user.

#include "Method.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"

namespace {

class ProfileCommand : public SessionCommand {
public:
    bool check(const Arguments& arguments) override {
        return SheetPrinter::check(arguments) && RowArguments::checkUser(arguments.value("USER"));
    }

    int runIn(Session& session, const Arguments& arguments) override {
        const auto wanted = arguments.value("USER");
        return wanted ? change(session, *wanted) : print(session, arguments);
    }

private:
    static int print(Session& session, const Arguments& arguments) {
        const auto user = session.ask("getCurrentUser");
        return user ? SheetPrinter(arguments, session.output()).print({{"User"}, {{*user}}}, *user)
                    : ExitFailure;
    }

    static int change(Session& session, const std::string& user) {
        Method method("setProfile");
        method.addStringParameter("NewProfile", user, Parameter::in);
        Method answer;
        if (!session.call(method, answer)) {
            return ExitFailure;
        }
        bool isDone = false;
        if (!answer.getBoolParameter("Acknowledge", isDone) || !isDone) {
            return session.reportFailure("profile " + user);
        }
        return !session.isLocal() || store(session, user) ? ExitSuccess : ExitFailure;
    }

    /// A change lasts as long as its process, so the stored user is changed for the next one.
    static bool store(Session& session, const std::string& user) {
        const std::string item = RequestText::element("MobilityCurrentUser", user);
        return session
            .askFor("profile " + user,
                    RequestText::request("MobilitySettings", "update_request", std::nullopt, item))
            .has_value();
    }
};

}  // namespace

std::unique_ptr<SessionCommand> makeProfileCommand() {
    return std::make_unique<ProfileCommand>();
}
