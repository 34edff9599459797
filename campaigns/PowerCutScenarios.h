#ifndef POWERCUTSCENARIOS_H
#define POWERCUTSCENARIOS_H

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Context.h"
#include "RecordingManagement.h"
#include "service/DataAccessService.h"

/// A folder for one service: its database in "db", the telephone's root in "root".
class PowerCutPlace {
public:
    explicit PowerCutPlace(std::filesystem::path folder) : m_folder(std::move(folder)) {}

    const std::filesystem::path& folder() const { return m_folder; }
    std::filesystem::path database() const { return m_folder / "db" / "phone.db"; }
    std::filesystem::path key() const { return m_folder / "db" / "dascrypt.key"; }
    /// Where a path of the telephone stands.
    std::filesystem::path onDevice(const std::string& path) const {
        return m_folder / "root" / path.substr(1);
    }

    /// Empties it and makes its folders.
    void make() const;
    /// Makes it the same as @p other.
    void copyFrom(const PowerCutPlace& other) const;
    /// Sets the environment to it.
    void enter() const;

private:
    std::filesystem::path m_folder;
};

/// A running telephone: the service with the management that a reset asks for.
class PowerCutSession {
public:
    /// Nothing runs before start().
    explicit PowerCutSession(const PowerCutPlace& place) : m_place(place) {}

    bool start();
    DataAccessService& service() { return *m_service; }
    const PowerCutPlace& place() const { return m_place; }
    /// Whether a request is answered with @p reason.
    bool answers(const std::string& message, const std::string& reason);

private:
    struct Services : Context {
        Executable* findService(const std::string& name) override {
            return name == "LocalMgmtIfc" ? &management : nullptr;
        }
        RecordingManagement management;
    };

    const PowerCutPlace& m_place;
    Services m_services;
    std::unique_ptr<DataAccessService> m_service;
};

/// Something during which the power may go.
struct PowerCutScenario {
    using Step = std::function<bool(PowerCutSession&)>;

    std::string name;
    std::function<void(const PowerCutPlace&)> prepare;  ///< for an empty place
    bool startIsCut;                                    ///< else the steps after the start alone
    /// Each is one change that is there whole or not at all, and true when it is acknowledged.
    std::vector<Step> steps;
};

std::vector<PowerCutScenario> powerCutScenarios();

std::string textOfFile(const std::filesystem::path& path);

#endif
