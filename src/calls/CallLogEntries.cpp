// Elements arrive one by one, and when a call ends it is not known whether more calls of its row
// follow. So the values are kept by field, and the cells of a row are built when it is stored.

#include "calls/CallLogEntries.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "DASUtilsStrings.h"
#include "dao/DASUtils.h"
#include "dao/ListRequest.h"

namespace {

using CallLogColumns::Field;
using CallLogColumns::RowColumn;

const char* const CallElement = "Item";
const char* const ListElement = "LogList";

/// Other element names that fill a field.
struct Alias {
    const char* element;
    Field field;
};
constexpr Alias Aliases[] = {{"DeflectNumber", CallLogColumns::AuxiliaryNumber},
                             {"TransferType", CallLogColumns::CompletedElsewhere}};

/// Appends the columns of the calls from @p first to before @p end, call by call.
void appendFieldNames(std::vector<std::string>& names, std::size_t first, std::size_t end) {
    for (std::size_t place = first; place < end; ++place) {
        for (std::size_t field = 0; field < CallLogColumns::FieldCount; ++field) {
            names.push_back(CallLogColumns::name(static_cast<Field>(field), place));
        }
    }
}

}  // namespace

const std::vector<std::string>& CallLogEntries::elements() {
    static const std::vector<std::string> elements = [] {
        std::vector<std::string> all;
        for (const RowColumn column : Columns) {
            all.push_back(CallLogColumns::element(column));
        }
        for (std::size_t field = 0; field < CallLogColumns::FieldCount; ++field) {
            all.push_back(CallLogColumns::element(static_cast<Field>(field)));
        }
        for (const Alias& alias : Aliases) {
            all.emplace_back(alias.element);
        }
        return all;
    }();
    return elements;
}

void CallLogEntries::startElement(const char* name) {
    if (ListRequest::isEntry(name)) {
        m_entry = {};
    } else if (std::strcmp(name, CallElement) == 0) {
        m_call.clear();
    }
}

void CallLogEntries::endElement(const char* name, int field, const std::string& text) {
    const auto place = static_cast<std::size_t>(field);
    if (field != ListRequest::NoField && place < ColumnCount) {
        m_entry.values[place] = text;
    } else if (field != ListRequest::NoField) {
        const std::size_t ofCall = place - ColumnCount;
        setCallField(ofCall < CallLogColumns::FieldCount
                         ? static_cast<Field>(ofCall)
                         : Aliases[ofCall - CallLogColumns::FieldCount].field,
                     text);
    } else if (std::strcmp(name, CallElement) == 0) {
        endCall();
    } else if (std::strcmp(name, ListElement) == 0) {
        m_entry.namesAllPlaces = true;
    } else if (ListRequest::isEntry(name)) {
        m_entries.push_back(std::move(m_entry));
    }
}

void CallLogEntries::setCallField(Field field, const std::string& text) {
    const auto same = std::find_if(m_call.begin(), m_call.end(),
                                   [&](const CallField& each) { return each.field == field; });
    if (same != m_call.end()) {
        same->text = text;
    } else {
        m_call.push_back({text, field, 0});
    }
}

/// Extra calls, for which a row has no space, are counted but not kept. Because of the count their
/// row fails.
void CallLogEntries::endCall() {
    const std::size_t place = m_entry.calls++;
    if (place < CallLogColumns::Places) {
        for (CallField& field : m_call) {
            field.call = place;
            m_entry.fields.push_back(std::move(field));
        }
    }
    m_call.clear();
}

std::vector<std::string> CallLogEntries::numbers() const {
    std::vector<std::string> all;
    for (const Entry& entry : m_entries) {
        all.push_back(entry.values[0]);
    }
    return all;
}

const std::vector<std::string>& CallLogEntries::columnsOfFullRow() {
    static const std::vector<std::string> columns = [] {
        std::vector<std::string> names = {CallLogColumns::name(CallLogColumns::UserContext),
                                          CallLogColumns::name(CallLogColumns::UniqueId),
                                          CallLogColumns::name(CallLogColumns::Category)};
        for (std::size_t i = 1; i < ColumnCount; ++i) {
            names.push_back(CallLogColumns::name(Columns[i]));
        }
        appendFieldNames(names, 0, CallLogColumns::Places);
        return names;
    }();
    return columns;
}

std::vector<std::string> CallLogEntries::columnsOf(std::size_t entry, std::size_t count) const {
    std::vector<std::string> columns = columnsOfFullRow();
    columns.resize(std::min(count, columns.size()));
    // An extra call has column names that do not exist, so its row fails: kept on purpose, the
    // client must choose which call a full row drops.
    if (hasTooManyCalls(entry)) {
        appendFieldNames(columns, CallLogColumns::Places, CallLogColumns::Places + 1);
    }
    return columns;
}

std::vector<std::string> CallLogEntries::cellsOf(std::size_t index, const std::string& user,
                                                 const std::string& number,
                                                 const std::string& category) const {
    const Entry& entry = m_entries[index];
    // One extra call is enough to make the row fail.
    const std::size_t places = std::max(std::min(entry.calls, CallLogColumns::Places + 1),
                                        entry.namesAllPlaces ? CallLogColumns::Places : 0);
    std::vector<std::string> cells;
    cells.reserve(2 + ColumnCount + places * CallLogColumns::FieldCount);
    cells.push_back(DASUtils::convertToDBFormat(user));
    cells.push_back(number);
    cells.push_back(DASUtils::convertToDBFormat(category));
    for (std::size_t i = 1; i < ColumnCount; ++i) {
        cells.push_back(DASUtils::convertToDBFormat(entry.values[i]));
    }
    const std::size_t firstCall = cells.size();
    cells.resize(firstCall + places * CallLogColumns::FieldCount, DASUtilsStrings::EmptyDBString);
    for (const CallField& field : entry.fields) {
        cells[firstCall + field.call * CallLogColumns::FieldCount + field.field] =
            DASUtils::convertToDBFormat(field.text);
    }
    return cells;
}
