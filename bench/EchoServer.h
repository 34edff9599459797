#ifndef ECHOSERVER_H
#define ECHOSERVER_H

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <string>
#include <thread>
#include <vector>

namespace Bench {

/// The minimum cost of exchanging lines over a socket: the host's event library with the same
/// number of threads, which only sends each line back.
class EchoServer {
public:
    EchoServer(const std::string& path, unsigned threads);
    ~EchoServer();
    EchoServer(const EchoServer&) = delete;
    EchoServer& operator=(const EchoServer&) = delete;

private:
    void accept();

    boost::asio::io_context m_io;
    boost::asio::local::stream_protocol::acceptor m_acceptor;
    std::vector<std::thread> m_threads;
};

}  // namespace Bench

#endif
