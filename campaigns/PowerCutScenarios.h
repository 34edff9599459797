#ifndef POWERCUTSCENARIOS_H
#define POWERCUTSCENARIOS_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "testkit/Phone.h"
#include "testkit/Place.h"
#include "testkit/RecordingManagement.h"

/// A running telephone: the service with the management that a reset asks for.
class PowerCutSession {
public:
    /// Nothing runs before start().
    explicit PowerCutSession(const PhonePlace& place) : m_place(place) {
        m_phone.context.services["LocalMgmtIfc"] = &m_management;
    }

    bool start();
    DataAccessService& service() { return m_phone.service(); }
    const PhonePlace& place() const { return m_place; }
    /// Whether a request is answered with @p reason.
    bool answers(const std::string& message, const std::string& reason);

private:
    const PhonePlace& m_place;
    RecordingManagement m_management;
    Phone m_phone;
};

/// Something during which the power may go.
struct PowerCutScenario {
    using Step = std::function<bool(PowerCutSession&)>;

    std::string name;
    std::function<void(const PhonePlace&)> prepare;  ///< for an empty place
    bool startIsCut;                                 ///< else the steps after the start alone
    /// Each is one change that is there whole or not at all, and true when it is acknowledged.
    std::vector<Step> steps;
};

std::vector<PowerCutScenario> powerCutScenarios();

#endif
