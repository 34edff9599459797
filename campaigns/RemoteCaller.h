#ifndef REMOTECALLER_H
#define REMOTECALLER_H

#include <string>

#include "FrameworkContext.h"
#include "Method.h"
#include "ProtocolAdapter.h"
#include "service/DASInvoker.h"
#include "service/DataAccessService.h"

class Proxy;

/// Calls remote methods of a service within this process, as a framework does: a message in, a
/// message out. Any thread may call.
class RemoteCaller : public FrameworkContext {
public:
    explicit RemoteCaller(DataAccessService& service) : m_service(service) {
        m_invoker.initInvoker(this);
    }

    /// @return false when there was no reply, as for one-way methods
    bool call(const Method& request, Method& reply);

    ProtocolAdapter* findProtocolAdapter(const std::string& name) override;
    /// The one listener for all senders.
    Proxy* findProxy(const std::string& interface, const std::string& sender) override;

    Proxy* listener = nullptr;  ///< not owned

private:
    /// Hands the methods of the calling thread over as they are.
    class Adapter : public ProtocolAdapter {
    public:
        bool decode(std::istream& stream, Method& method) override;
        void encode(const Method& method, std::ostream& stream) override;
    };

    DataAccessService& m_service;
    Adapter m_adapter;
    DASInvoker m_invoker;
};

#endif
