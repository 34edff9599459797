#ifndef SERVICENOTICE_H
#define SERVICENOTICE_H

#include <string>

#include "server/Datagram.h"

/**
 * Tells the service manager how the service is: the upgrade step in work at the start, that it is
 * ready, that it ends. Without "NOTIFY_SOCKET" in the environment nobody is told. A manager that
 * can't be told is complained of once, and the service runs.
 */
class ServiceNotice {
public:
    /// From here on the steps of the start are told. Takes the place of who watched the progress.
    ServiceNotice();
    ~ServiceNotice();
    ServiceNotice(const ServiceNotice&) = delete;
    ServiceNotice& operator=(const ServiceNotice&) = delete;

    /// The start is over, and clients at @p path are served.
    void ready(const std::string& path);

    /// The end has begun.
    void ending();

private:
    bool isAsked() const { return !m_manager.name().empty(); }
    void send(const std::string& state);

    Datagram m_manager;  ///< of an empty name for nobody
    bool m_isComplainedOf = false;
};

#endif
