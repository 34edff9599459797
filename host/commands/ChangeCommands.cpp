// Commands that change rows: set, write and delete.

#include <algorithm>

#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "schemas/AnswerSheet.h"
#include "schemas/Answers.h"
#include "terminal/Question.h"

namespace {

using RequestText::Form;

/// The common part: one request and its reason.
class ChangeCommand : public SessionCommand {
public:
    ChangeCommand(const char* name, const char* reason) : m_name(name), m_reason(reason) {}

    bool check(const Arguments& arguments) override {
        return m_rows.read(arguments, m_name, m_reason) && checkRows(arguments);
    }

    int runIn(Session& session, const Arguments& arguments) override {
        (void)arguments;
        if (m_rows.form() == Form::List && !m_rows.conditions().empty() && !isThere(session)) {
            return sendForNothing(session);
        }
        return send(session, m_rows.context(), body()) ? ExitSuccess : ExitFailure;
    }

protected:
    /// Whether the arguments select rows. If not, this is reported.
    virtual bool checkRows(const Arguments& arguments) = 0;
    virtual std::string body() const = 0;

    std::optional<std::string> send(Session& session, const std::optional<std::string>& context,
                                    const std::string& body) const {
        return session.askFor(m_rows.what(),
                              RequestText::request(m_rows.schema().name, m_reason, context, body),
                              adviceOnFailure());
    }

    /// Advice if the service gives no reason; empty if none is known to help.
    virtual std::string adviceOnFailure() const { return ""; }

    bool refuse(const std::string& why, const std::string& advice) const {
        Complaint::report(m_rows.what() + ": " + why, advice);
        return false;
    }

    /// Whether one of the values names the row: by the key of the table, or as Id.
    bool namesRow(const RequestText::Values& values) const {
        const auto& key = m_rows.schema().key;
        return std::any_of(values.begin(), values.end(), [&](const auto& value) {
            return value.first == "Id" || (!key.empty() && value.first == key.back());
        });
    }

    const RowArguments& rows() const { return m_rows; }

    /// Whether @p context has a row that matches @p conditions; true also if that can't be found
    /// out.
    bool hasRow(Session& session, const std::optional<std::string>& context,
                const std::string& conditions) const {
        const auto found = session.ask(
            RequestText::request(m_rows.schema().name, "read_request", context, conditions));
        return !found || Answers::isFailure(*found) ||
               !AnswerSheet::of(m_rows.schema(), *found, {}).rows.empty();
    }

private:
    /// Whether there is a row to change; true also if that can't be found out.
    bool isThere(Session& session) const {
        // An update of contacts changes contacts of every user, whichever user is named.
        const bool reachesAll =
            m_rows.schema().name == "PhoneBook" && std::string(m_reason) == "update_request";
        const std::string conditions = RequestText::entry(m_rows.schema(), m_rows.conditions());
        return reachesAll
                   ? hasRow(session, "base", conditions) || hasRow(session, "visitor", conditions)
                   : hasRow(session, m_rows.context(), conditions);
    }

    /// The request is sent nevertheless, for its answer: most tables answer in the same way with
    /// and without a row.
    int sendForNothing(Session& session) const {
        const auto answer = session.ask(
            RequestText::request(m_rows.schema().name, m_reason, m_rows.context(), body()));
        Complaint::report(m_rows.what() + ": there is no such row, so nothing changes",
                          "das read " + m_rows.schema().name + " lists the rows");
        return answer && !Answers::isFailure(*answer) ? ExitSuccess : ExitFailure;
    }

    const char* m_name;
    const char* m_reason;
    RowArguments m_rows;
};

class SetCommand : public ChangeCommand {
public:
    SetCommand() : ChangeCommand("set", "update_request") {}

    int runIn(Session& session, const Arguments& arguments) override {
        const auto named = rows().form() == Form::Rows ? key() : std::nullopt;
        const std::string condition = named ? RequestText::elements({*named}) : "";
        const bool wasThere = !named || hasRow(session, rows().context(), condition);
        const int status = ChangeCommand::runIn(session, arguments);
        if (status == ExitSuccess && !wasThere) {
            reportNew(named->second, hasRow(session, rows().context(), condition));
        }
        return status;
    }

protected:
    bool checkRows(const Arguments& arguments) override {
        switch (rows().form()) {
            case Form::Settings:
                return true;
            case Form::List:
                return !rows().conditions().empty() ||
                       refuse("no row is named", "name one by --id ID or --where COL=VALUE");
            case Form::Rows:
                break;
        }
        if (arguments.has("--where")) {
            return refuse("a row is set by its number or key alone", "name it by --id ID");
        }
        return namesRow(rows().conditions()) || namesRow(rows().values()) ||
               refuse("no row is named", "name one by --id ID");
    }

    /// The name and value that identify the row; no value if no argument does.
    std::optional<RequestText::Values::value_type> key() const {
        for (const auto* const values : {&rows().conditions(), &rows().values()}) {
            for (const auto& value : *values) {
                if (namesRow({value})) {
                    return value;
                }
            }
        }
        return std::nullopt;
    }

    /// An update with an unknown key adds a row in some tables, and does nothing in others.
    void reportNew(const std::string& id, bool isMade) const {
        const std::string& name = rows().schema().name;
        const bool canGo = rows().schema().has("delete_request");
        const auto& user = rows().context();
        Complaint::report(
            rows().what() + (isMade ? ": there was no row " + id + (user ? " of " + *user : "") +
                                          ", so a new one was made"
                                    : ": there is no such row, so nothing changes"),
            !isMade ? "das read " + name + " lists the rows"
            : canGo ? "das delete " + name + " --id " + id + " deletes it"
                    : "no command deletes it");
    }

    std::string body() const override {
        if (rows().form() == Form::List) {
            return "<Select>" + RequestText::elements(rows().conditions()) + "</Select>" +
                   RequestText::entry(rows().schema(), rows().values());
        }
        return RequestText::elements(rows().conditions()) + RequestText::elements(rows().values());
    }
};

/// Prints the number of the new row.
class WriteCommand : public ChangeCommand {
public:
    WriteCommand() : ChangeCommand("write", "write_request") {}

    int runIn(Session& session, const Arguments& arguments) override {
        const auto answer = send(session, rows().context(), body());
        if (!answer) {
            return ExitFailure;
        }
        const Sheet sheet = AnswerSheet::of(rows().schema(), *answer, {});
        return sheet.rows.empty() && arguments.text("--output") != "raw"
                   ? ExitSuccess
                   : SheetPrinter(arguments, session.output()).print(sheet, *answer);
    }

protected:
    std::string adviceOnFailure() const override {
        return rows().form() == Form::Settings ? "an item that is there is changed by das set" : "";
    }

    bool checkRows(const Arguments& arguments) override {
        // The dial plan assigns the numbers of its entries itself.
        const bool needsKey = rows().form() == Form::Rows && rows().schema().key.size() > 0 &&
                              rows().schema().table != "DIAL_PLAN_ENTRIES";
        return SheetPrinter::check(arguments) &&
               (!needsKey || namesRow(rows().values()) ||
                refuse("the row has no key", "give " + rows().schema().key.back() + "=VALUE"));
    }

    std::string body() const override {
        return rows().form() == Form::List ? RequestText::entry(rows().schema(), rows().values())
                                           : RequestText::elements(rows().values());
    }
};

class DeleteCommand : public ChangeCommand {
public:
    DeleteCommand() : ChangeCommand("delete", "delete_request") {}

    int runIn(Session& session, const Arguments& arguments) override {
        if (rows().form() != Form::Settings) {
            const std::string user = rows().context().value_or("the current user");
            const bool isAsked = m_all && !arguments.has("--yes");
            return isAsked && !Question::mayGoOn("Delete all rows that " + user + " has in " +
                                                 rows().schema().name + "?")
                       ? ExitFailure
                       : ChangeCommand::runIn(session, arguments);
        }
        for (const std::string& item : arguments.all("ITEM")) {
            if (!deleteItem(session, item)) {
                return ExitFailure;
            }
        }
        return ExitSuccess;
    }

protected:
    bool checkRows(const Arguments& arguments) override {
        if (rows().form() == Form::Settings) {
            return checkItems(arguments);
        }
        if (arguments.has("ITEM")) {
            return refuse(arguments.text("ITEM") + " is no item of settings",
                          "name rows by --id ID or --where COL=VALUE");
        }
        m_all = arguments.has("--all");
        if (m_all && !rows().conditions().empty()) {
            return refuse("--all and conditions exclude each other", "leave one of them out");
        }
        if (m_all && rows().form() == Form::Rows) {
            return refuse("its rows are deleted one by one", "name one by --id ID");
        }
        return m_all || !rows().conditions().empty() ||
               refuse("no row is named",
                      "name it by --id ID or --where COL=VALUE, or all rows of the user by --all");
    }

    std::string body() const override {
        if (m_all) {
            return "";
        }
        return rows().form() == Form::List
                   ? RequestText::entry(rows().schema(), rows().conditions())
                   : RequestText::elements(rows().conditions());
    }

private:
    bool checkItems(const Arguments& arguments) const {
        if (arguments.has("--all")) {
            return refuse("settings take no --all", "name the items");
        }
        if (!arguments.has("ITEM")) {
            return refuse("no item is named", "name the items");
        }
        for (const std::string& item : arguments.all("ITEM")) {
            if (!rows().checkName(item)) {
                return false;
            }
        }
        return true;
    }

    /// One request deletes an item for all users, but updates the service's cache only for its own
    /// user. Without the requests for the other two, a later write of the item would not be stored.
    bool deleteItem(Session& session, const std::string& item) const {
        const std::string body = RequestText::element("Name", item);
        return send(session, std::nullopt, body) && send(session, "base", body) &&
               send(session, "visitor", body);
    }

    bool m_all = false;
};

}  // namespace

std::unique_ptr<SessionCommand> makeSetCommand() {
    return std::make_unique<SetCommand>();
}

std::unique_ptr<SessionCommand> makeWriteCommand() {
    return std::make_unique<WriteCommand>();
}

std::unique_ptr<SessionCommand> makeDeleteCommand() {
    return std::make_unique<DeleteCommand>();
}
