#ifndef CHANGEVIEW_H
#define CHANGEVIEW_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "DASChangeListenerIfc.h"

class ProtocolAdapter;

/// The line, with its line feed, that reports @p change to a client in the protocol of @p adapter.
std::string lineOfChange(const DASChange& change, ProtocolAdapter& adapter);

/**
 * The lines of changes for all clients that listen to the same schemas.
 *
 * A line is built and stored once, however many clients get it. Each client takes it when something
 * is sent to it: while changes come, the relay makes all clients take their lines every few
 * milliseconds, and before an answer is sent to a client, that client takes its lines. So the
 * thread that makes a change has no work for each client, and no answer comes before a change that
 * it could show.
 *
 * Any thread may call. The mutex is only held for a copy, and no other mutex is taken under it.
 */
class ChangeView {
public:
    /// Names of schemas; none for all.
    using Names = std::set<std::string>;
    /// The schemas that a client listens to, for each protocol.
    using Asked = std::map<ProtocolAdapter*, Names>;

    /// The view of clients that listen to @p asked; the adapters are not owned.
    explicit ChangeView(Asked asked);

    [[nodiscard]] const Asked& asked() const { return m_asked; }

    /// The lines, with line feeds, that say in each protocol that anything may have changed.
    [[nodiscard]] const std::string& standIn() const { return m_standIn; }

    /// Adds a line with its line feed.
    void add(const std::string& line);

    /// How many bytes were added in total: the position of the next line.
    [[nodiscard]] std::uint64_t end() const;

    /// The lines from @p position to the end, with line feeds; moves @p position to the end. If
    /// some of these lines were dropped, the stand-in is returned instead of all of them.
    [[nodiscard]] std::string take(std::uint64_t& position);

    /// Drops the lines before @p position, which all clients have taken.
    void forget(std::uint64_t position);

    /// Drops all lines so far: each client that takes lines now gets the stand-in.
    void drop();

private:
    /// Call with the mutex held.
    [[nodiscard]] std::uint64_t endOfLines() const { return m_begin + m_lines.size(); }

    const Asked m_asked;
    const std::string m_standIn;
    mutable std::mutex m_mutex;  ///< protects the members below
    std::string m_lines;
    std::uint64_t m_begin = 0;  ///< position of the first stored line
};

/// The position of one client in its view. Without a view there are no lines.
class ChangePlace {
public:
    ChangePlace() = default;
    /// Begins at the current end of @p view.
    explicit ChangePlace(std::shared_ptr<ChangeView> view);

    /// The lines since the last call, with line feeds; blank if there are no lines.
    [[nodiscard]] std::string take();

    /// See ChangeView.
    [[nodiscard]] std::string standIn() const;

private:
    std::shared_ptr<ChangeView> m_view;
    std::uint64_t m_position = 0;
};

#endif
