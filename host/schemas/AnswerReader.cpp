#include "schemas/AnswerReader.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace {

using AnswerReader::Cells;
using AnswerReader::Row;

/// Goes through the text of one answer.
class Reader {
public:
    explicit Reader(std::string_view text) : m_rest(text) {}

    std::vector<Row> read() {
        skipHeader();
        while (!m_rest.empty() && m_rest != "</Schema>") {
            if (!readFrame() && !readCell()) {
                break;
            }
        }
        return std::move(m_rows);
    }

private:
    bool take(std::string_view part) {
        if (m_rest.substr(0, part.size()) != part) {
            return false;
        }
        m_rest.remove_prefix(part.size());
        return true;
    }

    /// Takes the text up to @p end, and @p end as well.
    std::string_view takeUpTo(std::string_view end) {
        const std::size_t place = std::min(m_rest.find(end), m_rest.size());
        const std::string_view text = m_rest.substr(0, place);
        m_rest.remove_prefix(std::min(place + end.size(), m_rest.size()));
        return text;
    }

    void skipHeader() { takeUpTo("</ReasonForMessage>"); }

    /// Takes one of the tags that stand around cells.
    bool readFrame() {
        if (take("<Entry>")) {
            m_rows.push_back({m_user, false, {}, {}});
            m_isInEntry = true;
        } else if (take("</Entry>")) {
            m_isInEntry = false;
        } else if (take("<Context currentUser=\"")) {
            m_user = takeUpTo("\">");
        } else if (take("</Context>")) {
            m_user.clear();
        } else if (m_isInEntry && take("<Item>")) {
            m_rows.back().items.emplace_back();
            m_isInItem = true;
        } else if (m_isInItem && take("</Item>")) {
            m_isInItem = false;
        } else {
            return m_isInEntry && (take("<LogList>") || take("</LogList>") || take("<LogList/>"));
        }
        return true;
    }

    bool readCell() {
        if (!take("<")) {
            return false;
        }
        const std::string name(takeUpTo(">"));
        if (name.empty() || name.back() == '/') {
            return !name.empty();
        }
        const std::string value = takeValue("</" + name + ">");
        if (m_isInItem) {
            m_rows.back().items.back().emplace_back(name, value);
        } else if (m_isInEntry) {
            m_rows.back().cells.emplace_back(name, value);
        } else {
            m_rows.push_back({m_user, true, {{name, value}}, {}});
        }
        return true;
    }

    /// The text up to the first @p end behind which another tag begins.
    std::string takeValue(const std::string& end) {
        for (std::size_t place = m_rest.find(end); place != std::string_view::npos;
             place = m_rest.find(end, place + 1)) {
            const std::size_t next = place + end.size();
            const bool isTag = m_rest.size() > next + 1 && m_rest[next] == '<' &&
                               (m_rest[next + 1] == '/' || m_rest[next + 1] == '_' ||
                                std::isalpha(static_cast<unsigned char>(m_rest[next + 1])) != 0);
            if (isTag) {
                std::string value(m_rest.substr(0, place));
                m_rest.remove_prefix(next);
                return value;
            }
        }
        return std::string(takeUpTo("</Schema>"));
    }

    std::string_view m_rest;
    std::vector<Row> m_rows;
    std::string m_user;
    bool m_isInEntry = false;
    bool m_isInItem = false;
};

}  // namespace

std::vector<Row> AnswerReader::rowsOf(const std::string& answer) {
    return Reader(answer).read();
}
