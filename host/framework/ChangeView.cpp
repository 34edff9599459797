#include "framework/ChangeView.h"

#include <utility>

#include "Method.h"
#include "framework/Client.h"

namespace {

/// Memory of this size, enough for usual bursts, stays allocated; more is released.
constexpr std::size_t KeptMemory = std::size_t{64} * 1024;

std::string standInFor(const ChangeView::Asked& asked) {
    std::string lines;
    for (const auto& [adapter, names] : asked) {
        lines += lineOfChange({}, *adapter);
    }
    return lines;
}

}  // namespace

std::string lineOfChange(const DASChange& change, ProtocolAdapter& adapter) {
    Method method("Changed");
    method.addStringParameter("Schema", change.schema, Parameter::out);
    method.addStringParameter("Context", change.context, Parameter::out);
    method.addStringParameter("Reason", change.reason, Parameter::out);
    method.addStringParameter("Id", change.id, Parameter::out);
    return lineOf(method, adapter) + '\n';
}

ChangeView::ChangeView(Asked asked)
    : m_asked(std::move(asked)), m_standIn(standInFor(m_asked)) {}

void ChangeView::add(const std::string& line) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_lines += line;
}

std::uint64_t ChangeView::end() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return endOfLines();
}

std::string ChangeView::take(std::uint64_t& position) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string lines = position < m_begin ? m_standIn : m_lines.substr(position - m_begin);
    position = endOfLines();
    return lines;
}

void ChangeView::forget(std::uint64_t position) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (position <= m_begin) {
        return;  // they were dropped
    }
    m_lines.erase(0, position - m_begin);
    m_begin = position;
    if (m_lines.empty() && m_lines.capacity() > KeptMemory) {
        m_lines = {};
    }
}

void ChangeView::drop() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_begin = endOfLines() + 1;  // no client has come this far
    m_lines = {};
}

ChangePlace::ChangePlace(std::shared_ptr<ChangeView> view)
    : m_view(std::move(view)), m_position(m_view->end()) {}

std::string ChangePlace::take() {
    return m_view != nullptr ? m_view->take(m_position) : std::string();
}

std::string ChangePlace::standIn() const {
    return m_view != nullptr ? m_view->standIn() : std::string();
}
