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
 * The lines of the changes that are for all clients which have asked for the same.
 *
 * A line is made and kept once, however many clients hear it. Each client takes it when it is sent
 * something: the relay has all take their lines every few milliseconds while changes come, and a
 * client that is about to be sent an answer takes them before. So the thread that makes a change
 * does nothing for the single client, and yet no answer overtakes a change that it could show.
 *
 * Any thread may call; the mutex is held for a copy only, and no other is taken under it.
 */
class ChangeView {
public:
    /// Names of schemas; none for all.
    using Names = std::set<std::string>;
    /// What a client has asked for, by the protocol in which it hears it.
    using Asked = std::map<ProtocolAdapter*, Names>;

    /// Of clients that have asked for @p asked; the adapters are not owned.
    explicit ChangeView(Asked asked);

    [[nodiscard]] const Asked& asked() const { return m_asked; }

    /// The lines, with line feeds, that say in each protocol that anything may have changed.
    [[nodiscard]] const std::string& standIn() const { return m_standIn; }

    /// Adds a line with its line feed.
    void add(const std::string& line);

    /// How many bytes were ever added: where the next line begins.
    [[nodiscard]] std::uint64_t end() const;

    /// The lines from @p position to the end, with line feeds; moves @p position to the end. If
    /// some of them are not kept any more, the stand-in takes the place of all.
    [[nodiscard]] std::string take(std::uint64_t& position);

    /// Keeps no line before @p position: all clients have taken them.
    void forget(std::uint64_t position);

    /// Keeps no line that was added so far: each client that now takes lines gets the stand-in.
    void drop();

private:
    /// To be called with the mutex held.
    [[nodiscard]] std::uint64_t endOfLines() const { return m_begin + m_lines.size(); }

    const Asked m_asked;
    const std::string m_standIn;
    mutable std::mutex m_mutex;  ///< of what follows
    std::string m_lines;
    std::uint64_t m_begin = 0;  ///< the position of the first line that is kept
};

/// How far one client has taken the lines of its view. Without a view there are no lines.
class ChangePlace {
public:
    ChangePlace() = default;
    /// From the present end of @p view on.
    explicit ChangePlace(std::shared_ptr<ChangeView> view);

    /// The lines since the last call, with line feeds; blank without any.
    [[nodiscard]] std::string take();

    /// See ChangeView.
    [[nodiscard]] std::string standIn() const;

private:
    std::shared_ptr<ChangeView> m_view;
    std::uint64_t m_position = 0;
};

#endif
