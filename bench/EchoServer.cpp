#include "EchoServer.h"

#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <memory>
#include <utility>

namespace asio = boost::asio;
using Protocol = asio::local::stream_protocol;
using boost::system::error_code;

namespace Bench {

namespace {

class Echo : public std::enable_shared_from_this<Echo> {
public:
    explicit Echo(Protocol::socket socket) : m_socket(std::move(socket)) {}

    void read() {
        asio::async_read_until(m_socket, asio::dynamic_buffer(m_text), '\n',
                               [self = shared_from_this()](const error_code& error, std::size_t) {
                                   if (!error) {
                                       self->write();
                                   }
                               });
    }

private:
    void write() {
        asio::async_write(m_socket, asio::buffer(m_text),
                          [self = shared_from_this()](const error_code& error, std::size_t) {
                              self->m_text.clear();
                              if (!error) {
                                  self->read();
                              }
                          });
    }

    Protocol::socket m_socket;
    std::string m_text;
};

}  // namespace

EchoServer::EchoServer(const std::string& path, unsigned threads)
    : m_acceptor(m_io, Protocol::endpoint(path)) {
    accept();
    for (unsigned count = 0; count < threads; ++count) {
        m_threads.emplace_back([this] { m_io.run(); });
    }
}

EchoServer::~EchoServer() {
    m_io.stop();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void EchoServer::accept() {
    m_acceptor.async_accept([this](const error_code& error, Protocol::socket socket) {
        if (!error) {
            std::make_shared<Echo>(std::move(socket))->read();
            accept();
        }
    });
}

}  // namespace Bench
