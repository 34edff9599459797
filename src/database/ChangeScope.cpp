#include "database/ChangeScope.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <exception>
#include <utility>

#include "DASUtilsStrings.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"

namespace {

/// A longer id is left out of the change: it would fill the queues of clients.
constexpr std::size_t LongestId = 256;

thread_local ChangeScope* s_innermost = nullptr;

std::string withoutDoubledQuotes(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        plain += text[i];
        i += text.compare(i, 2, "''") == 0 ? 1 : 0;
    }
    return plain;
}

std::string shownId(const std::string& escaped) {
    std::string id = withoutDoubledQuotes(escaped);
    return id.size() <= LongestId ? id : std::string();
}

bool isUser(const std::string& context) {
    return context == DASUtilsStrings::UserContextBase ||
           context == DASUtilsStrings::UserContextVisitor;
}

}  // namespace

ChangeScope::ChangeScope(ChangeListeners& listeners, Describe describe)
    : m_listeners(listeners),
      m_describe(std::move(describe)),
      m_outer(std::exchange(s_innermost, this)) {}

ChangeScope::~ChangeScope() {
    s_innermost = m_outer;
    report();
}

ChangeScope* ChangeScope::heard() {
    return s_innermost != nullptr && s_innermost->m_listeners.isHeard() ? s_innermost : nullptr;
}

ChangeScope& ChangeScope::outermost() {
    ChangeScope* scope = this;
    while (scope->m_outer != nullptr) {
        scope = scope->m_outer;
    }
    return *scope;
}

void ChangeScope::markChanged() {
    outermost().m_isChanged = m_listeners.isHeard() || outermost().m_isChanged;
}

void ChangeScope::markChanged(DatabaseAdapter& adapter) {
    if (!m_listeners.isHeard()) {
        return;
    }
    ChangeScope& scope = outermost();
    scope.m_isChanged = true;
    auto& kept = scope.m_kept;
    if (std::find(kept.begin(), kept.end(), &adapter) == kept.end()) {
        kept.push_back(&adapter);
        adapter.take_sema4();
    }
}

void ChangeScope::begin(const DatabaseAdapter& adapter) {
    if (!outermost().keepsLock()) {
        m_notedAt = adapter.changes();  // rows changed before the scope do not count
    }
}

void ChangeScope::committed(DatabaseAdapter& adapter) {
    if (m_unreported == 0) {
        markChanged(adapter);
    }
}

void ChangeScope::noteRow(DatabaseAdapter& adapter, const std::string& id,
                          const std::string& context) {
    if (ChangeScope* const scope = heard()) {
        scope->note(adapter, 1, id, context);
    }
}

void ChangeScope::noteNumber(DatabaseAdapter& adapter, long long number,
                             const std::string& context) {
    if (ChangeScope* const scope = heard()) {
        scope->note(adapter, 1, std::to_string(number), context);
    }
}

void ChangeScope::noteNumber(DatabaseAdapter& adapter, const std::string& number,
                             const std::string& context) {
    if (number.empty()) {
        noteRow(adapter, number, context);
    } else {
        noteNumber(adapter, std::atoll(number.c_str()), context);
    }
}

void ChangeScope::noteSetting(DatabaseAdapter& adapter, const std::string& name,
                              const std::string& context) {
    if (ChangeScope* const scope = heard()) {
        scope->note(adapter, INT_MAX, name, context);
    }
}

void ChangeScope::note(DatabaseAdapter& adapter, int mostRows, const std::string& id,
                       const std::string& context) {
    const AdapterLock lock(adapter);
    const int changes = adapter.changes();
    if (changes == m_notedAt) {
        return;  // the row was not there, or was refused
    }
    const bool isNamed = changes - m_notedAt <= mostRows;
    const std::string user = isUser(context) ? context : std::string();
    const std::string shown = isNamed ? shownId(id) : std::string();
    m_id = !m_isNoted || m_id == shown ? shown : std::string();
    m_context = !m_isNoted || m_context == user ? user : std::string();
    m_isNoted = true;
    m_notedAt = changes;
}

void ChangeScope::noteOtherSchemas() {
    if (ChangeScope* const scope = heard()) {
        scope->m_reachesOtherSchemas = true;
    }
}

DASChange ChangeScope::change() const {
    DASChange change;
    const bool allNoted = m_kept.size() == 1 && m_kept.front()->changes() == m_notedAt;
    if (m_isNoted && allNoted) {
        change.context = m_context;
        change.id = m_id;
    }
    m_describe(change);
    if (m_reachesOtherSchemas) {
        change.schema.clear();
    }
    return change;
}

void ChangeScope::report() noexcept {
    if (std::exchange(m_isChanged, false)) {
        try {
            m_listeners.notify(change());
        } catch (const std::exception&) {
            m_listeners.notify({});  // there is no memory for the details
        }
    }
    for (DatabaseAdapter* adapter : m_kept) {
        adapter->give_sema4();
    }
    m_kept.clear();
}

ChangeScope::Unreported::Unreported(DatabaseAdapter& adapter) : m_adapter(adapter) {
    if (ChangeScope* const scope = s_innermost) {
        ++scope->m_unreported;
    }
}

ChangeScope::Unreported::~Unreported() {
    ChangeScope* const scope = s_innermost;
    if (scope == nullptr) {
        return;
    }
    --scope->m_unreported;
    if (scope->m_listeners.isHeard()) {
        const AdapterLock lock(m_adapter);
        scope->m_notedAt = m_adapter.changes();
    }
}
