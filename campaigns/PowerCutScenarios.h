#ifndef POWERCUTSCENARIOS_H
#define POWERCUTSCENARIOS_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "testkit/Phone.h"
#include "testkit/Place.h"
#include "testkit/RecordingManagement.h"

/// A running telephone: the service, with the management service that a reset needs.
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

/// An operation during which the power may be cut.
struct PowerCutScenario {
    using Step = std::function<bool(PowerCutSession&)>;

    std::string name;
    std::function<void(const PhonePlace&)> prepare;  ///< prepares an empty folder
    bool startIsCut;                                 ///< otherwise only the steps after the start
    /// Each step is one change, which is stored completely or not at all. It returns true if it was
    /// acknowledged.
    std::vector<Step> steps;
};

std::vector<PowerCutScenario> powerCutScenarios();

#endif
