// Cells of an answer are not escaped, so an XML parser can't read it, and a tag inside a value
// looks like any other tag. Only the order of a record's columns is known. So a record is a text
// that shows all its columns in that order, and any text between two such records belongs to the
// first one.

#include "schemas/AnswerRecords.h"

#include <algorithm>

#include "terminal/TextParts.h"

namespace {

using std::string_view;
using TextParts::endsWith;
using TextParts::startsWith;

/// The text from the start of @p first to the end of @p last. Both must point into the same text.
string_view joined(string_view first, string_view last) {
    return {first.data(), static_cast<std::size_t>(last.data() + last.size() - first.data())};
}

}  // namespace

AnswerRecords::AnswerRecords(std::string frame, std::vector<Columns> forms, std::string list)
    : m_begin("<" + frame + "><" + forms.front().front() + ">"),
      m_end("</" + forms.front().back() + "></" + frame + ">") {
    for (Columns& columns : forms) {
        Form form{std::move(columns), {}, 0};
        for (std::size_t i = 0; i + 1 < form.columns.size(); ++i) {
            form.ends.push_back("</" + form.columns[i] + "><" + form.columns[i + 1] + ">");
        }
        const auto found = std::find(form.columns.begin(), form.columns.end(), list);
        form.firstAfterList = static_cast<std::size_t>(found - form.columns.begin());
        m_forms.push_back(std::move(form));
    }
}

AnswerRecords::Columns AnswerRecords::columnsOf(const std::string& frame, string_view text) {
    Columns columns;
    const std::string begin = "<" + frame + ">";
    const std::string end = "</" + frame + ">";
    text.remove_prefix(startsWith(text, begin) ? begin.size() : text.size());
    while (!text.empty() && text.front() == '<' && !startsWith(text, end)) {
        const std::size_t nameEnd = std::min(text.find('>'), text.size());
        const std::string name(text.substr(1, std::max<std::size_t>(nameEnd, 1) - 1));
        const std::string tag = "</" + name + ">";
        const std::size_t place = text.find(tag + "<");
        if (place == string_view::npos) {
            break;
        }
        columns.push_back(name);
        text.remove_prefix(place + tag.size());
    }
    return columns;
}

std::vector<string_view> AnswerRecords::piecesOf(string_view text) const {
    const std::string boundary = m_end + m_begin;
    text.remove_prefix(startsWith(text, m_begin) ? m_begin.size() : 0);
    text.remove_suffix(endsWith(text, m_end) ? m_end.size() : 0);
    std::vector<string_view> pieces;
    for (std::size_t begin = 0, end = 0; end != string_view::npos; begin = end + boundary.size()) {
        end = text.find(boundary, begin);
        pieces.push_back(text.substr(begin, end == string_view::npos ? end : end - begin));
    }
    return pieces;
}

bool AnswerRecords::advance(string_view piece, Progress& progress) const {
    bool isWhole = false;
    for (std::size_t i = 0; i < m_forms.size(); ++i) {
        const auto& ends = m_forms[i].ends;
        std::size_t place = 0;
        while (progress[i] < ends.size() &&
               (place = piece.find(ends[progress[i]], place)) != string_view::npos) {
            place += ends[progress[i]++].size();
        }
        isWhole = isWhole || progress[i] == ends.size();
    }
    return isWhole;
}

bool AnswerRecords::cut(string_view text, const Form& form, Cells& cells) {
    const std::size_t count = form.ends.size();
    const std::size_t forwards = std::min(form.firstAfterList, count);
    std::vector<std::size_t> places(count);
    std::size_t first = 0;
    for (std::size_t i = 0; i < forwards; ++i) {
        places[i] = text.find(form.ends[i], first);
        if (places[i] == string_view::npos) {
            return false;
        }
        first = places[i] + form.ends[i].size();
    }
    string_view rest = text;
    for (std::size_t i = count; i-- > forwards;) {
        places[i] = rest.rfind(form.ends[i]);
        if (places[i] == string_view::npos || places[i] < first) {
            return false;
        }
        rest = text.substr(0, places[i]);
    }
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= count; ++i) {
        const std::size_t end = i < count ? places[i] : text.size();
        cells.emplace_back(form.columns[i], text.substr(begin, end - begin));
        begin = end + (i < count ? form.ends[i].size() : 0);
    }
    return true;
}

bool AnswerRecords::cut(string_view text, Record& record) const {
    for (record.form = 0; record.form < m_forms.size(); ++record.form) {
        record.cells.clear();
        if (cut(text, m_forms[record.form], record.cells)) {
            return true;
        }
    }
    return false;
}

bool AnswerRecords::read(string_view text, std::vector<Record>& records) const {
    const auto pieces = piecesOf(text);
    std::vector<string_view> wholes;
    const Progress none(m_forms.size());
    // Progress in the pieces from pendingFrom on, none of which is complete.
    Progress pending = none;
    std::size_t pendingFrom = 0;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        Progress own = none;
        string_view whole = pieces[i];
        if (advance(pieces[i], own)) {
            if (pendingFrom < i && !wholes.empty()) {
                wholes.back() = joined(wholes.back(), pieces[i - 1]);
            } else {
                whole = joined(pieces[pendingFrom], whole);
            }
        } else if (advance(pieces[i], pending)) {
            whole = joined(pieces[pendingFrom], whole);
        } else {
            continue;
        }
        wholes.push_back(whole);
        pending = none;
        pendingFrom = i + 1;
    }
    if (wholes.empty()) {
        return false;
    }
    wholes.back() = joined(wholes.back(), pieces.back());
    for (const string_view whole : wholes) {
        Record record{};
        if (!cut(whole, record)) {
            return false;
        }
        records.push_back(std::move(record));
    }
    return true;
}
