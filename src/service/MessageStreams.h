#ifndef MESSAGESTREAMS_H
#define MESSAGESTREAMS_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>

/**
 * The streams that protocol adapters read and write. They are reused, because creating two streams
 * for each message takes half as long as parsing a short message. Adapters do not change the format
 * of a stream. The streams are not thread-local: if there is no memory to register the destructor
 * of a thread-local object, the C library ends the process.
 */
class MessageStreams {
public:
    /// A stream for a scope, which contains @p text.
    class Lent {
    public:
        Lent(MessageStreams& owner, const std::string& text)
            : m_owner(owner), m_textSize(text.size()), m_stream(owner.take()) {
            m_stream->str(text);
        }
        ~Lent() {
            const auto written = static_cast<std::size_t>(std::max<std::streamoff>(
                m_stream->good() ? std::streamoff(m_stream->tellp()) : 0, 0));
            if (std::max(m_textSize, written) <= MostKept) {
                m_owner.takeBack(std::move(m_stream));
            }
        }
        Lent(const Lent&) = delete;
        Lent& operator=(const Lent&) = delete;

        std::stringstream& operator*() const { return *m_stream; }

    private:
        MessageStreams& m_owner;
        const std::size_t m_textSize;
        std::unique_ptr<std::stringstream> m_stream;
    };

private:
    /// A stream keeps the memory of its longest text; a stream that has more than this is deleted.
    static constexpr std::size_t MostKept = std::size_t{4} * 1024;

    std::unique_ptr<std::stringstream> take() {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_count > 0) {
                return std::move(m_kept[--m_count]);
            }
        }
        return std::make_unique<std::stringstream>();
    }

    void takeBack(std::unique_ptr<std::stringstream> stream) {
        stream->clear();
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_count < m_kept.size()) {
            m_kept[m_count++] = std::move(stream);
        }
    }

    std::mutex m_mutex;
    std::array<std::unique_ptr<std::stringstream>, 16> m_kept;
    std::size_t m_count = 0;
};

#endif
