#ifndef SCENE_H
#define SCENE_H

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Method.h"
#include "testkit/Phone.h"
#include "testkit/Place.h"
#include "testkit/RecordingManagement.h"

class SceneFramework;

/// The result of one message.
struct Outcome {
    bool threw = false;    ///< an exception left the invoker
    bool replied = false;  ///< a reply was set
    Method reply;

    /// "Response" of the reply, the text of a request's answer. Empty without one.
    std::string response() const;
    bool acknowledged() const;
    /// The reason in the response; empty unless the response is a complete document.
    std::string reason() const;
};

/// All contents of a database: the rows of each table as SQL text. Equal rows are counted
/// separately.
using Contents = std::map<std::string, std::multiset<std::string>>;

/**
 * A service with its database and files. It is called through its invoker, as by a framework, and
 * checked over separate connections that are not affected by faults.
 */
class Scene {
public:
    Scene();
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    /// Starts a service on the existing files. An exception of the start passes through.
    void start();
    void stop();
    bool hasService() const { return m_phone.isRunning(); }

    Outcome call(const Method& method);
    Outcome call(const std::string& request);

    std::filesystem::path database() const { return m_place.database(); }
    std::string onDevice(const std::string& path) const { return m_place.onDevice(path); }

    /// Runs statements over a separate connection. Returns the error message; empty on success.
    std::string sql(const std::string& statements) const;
    Contents contents() const;
    /// "ok", or what SQLite says about the file.
    std::string integrity() const;

    /// Which locks are held or files are open although nothing runs; empty if all are free.
    std::string whatIsHeld();

private:
    const ScratchPlace m_place;
    RecordingManagement m_management;
    Phone m_phone;
    std::unique_ptr<SceneFramework> m_framework;
};

/// Rows of @p whole that are not in @p part.
Contents without(const Contents& whole, const Contents& part);
/// The first few rows of @p rows, for a finding.
std::string sample(const Contents& rows);

/// The output of work in a separate process, and how the process ended.
struct Report {
    std::vector<std::string> lines;
    std::string end;  ///< "" if the work was completed; else how the process ended
};

/// Runs @p work in a separate process; @p out sends a line. After some seconds it is killed.
Report isolated(
    const std::function<void(const std::function<void(const std::string&)>& out)>& work,
    unsigned seconds = 30);

#endif
