// "das read": rows or settings of one schema.

#include <algorithm>
#include <limits>

#include "ClientUtils.h"
#include "cli/Command.h"
#include "cli/RowArguments.h"
#include "cli/SheetPrinter.h"
#include "schemas/AnswerSheet.h"
#include "terminal/NearMisses.h"

namespace {

using RequestText::Form;

constexpr std::size_t NoLimit = std::numeric_limits<int>::max();

class ReadCommand : public SessionCommand {
public:
    bool check(const Arguments& arguments) override {
        return SheetPrinter::check(arguments) && m_rows.read(arguments, "read", Reason) &&
               RowArguments::readNumber(arguments, "--offset", m_offset) &&
               RowArguments::readNumber(arguments, "--limit", m_limit) && readColumns(arguments);
    }

    int runIn(Session& session, const Arguments& arguments) override {
        const auto answer = session.askFor(
            m_rows.what(),
            RequestText::request(m_rows.schema().name, Reason, m_rows.context(), body()));
        if (!answer) {
            return ExitFailure;
        }
        Sheet sheet = AnswerSheet::of(m_rows.schema(), *answer, m_columns);
        if (m_rows.form() == Form::Settings) {
            reportMissing(AnswerSheet::of(m_rows.schema(), *answer, {}));
        }
        if (!isPaged()) {
            AnswerSheet::cut(sheet, m_offset, m_limit);
        }
        return SheetPrinter(arguments, session.output()).print(sheet, *answer);
    }

private:
    static constexpr const char* Reason = "read_request";

    bool readColumns(const Arguments& arguments) {
        if (arguments.text("--cols") == "*") {
            return true;
        }
        m_columns = ClientUtils::tokenizeString(arguments.text("--cols"), ",", false, true);
        for (auto column = m_columns.begin(); column != m_columns.end(); ++column) {
            if (!m_rows.checkName(*column)) {
                return false;
            }
            if (std::find(m_columns.begin(), column, *column) != column) {
                Complaint::report(m_rows.what() + ": " + *column + " is named twice",
                                  "name each column once");
                return false;
            }
        }
        return true;
    }

    /// Reports items that were asked for but do not exist. Any name may be an item, so this is not
    /// a failure.
    void reportMissing(const Sheet& all) const {
        std::vector<std::string> names;
        for (const auto& row : all.rows) {
            names.push_back(row[1]);
        }
        for (const std::string& name : m_columns) {
            if (std::find(names.begin(), names.end(), name) == names.end()) {
                Complaint::report(
                    m_rows.what() + ": " + name + ": there is no such item",
                    NearMisses::question(name, names,
                                         "--cols names items: " + ClientUtils::join(names, ", ")));
            }
        }
    }

    /// Whether the service itself leaves out rows by limit and offset.
    bool isPaged() const {
        return m_rows.schema().table == "PHONE_BOOK" && m_limit > 0 &&
               (m_offset > 0 || m_limit != NoLimit);
    }

    /// In some cases the request does not name the columns, because it would then read something
    /// else: for settings, items of other schemas; for calls, only what is not in the list.
    std::string body() const {
        std::string text;
        if (m_rows.form() == Form::Rows && !m_columns.empty()) {
            text += RequestText::element("ResultCols", ClientUtils::join(m_columns, " "));
        }
        if (isPaged()) {
            text += RequestText::element("Offset", std::to_string(m_offset)) +
                    RequestText::element("RowLimit", std::to_string(m_limit));
        }
        if (m_rows.conditions().empty()) {
            return text;
        }
        return text + (m_rows.form() == Form::List
                           ? RequestText::entry(m_rows.schema(), m_rows.conditions())
                           : RequestText::elements(m_rows.conditions()));
    }

    RowArguments m_rows;
    std::vector<std::string> m_columns;
    std::size_t m_offset = 0;
    std::size_t m_limit = NoLimit;
};

}  // namespace

std::unique_ptr<SessionCommand> makeReadCommand() {
    return std::make_unique<ReadCommand>();
}
