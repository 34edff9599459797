#ifndef SERVICENOTICE_H
#define SERVICENOTICE_H

#include <string>

/**
 * Tells the service manager how the service is: the upgrade step in work at the start, that it is
 * ready, that it ends. Without "NOTIFY_SOCKET" in the environment nobody is told.
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
    void send(const std::string& state) const;

    const std::string m_address;  ///< empty for nobody
};

#endif
