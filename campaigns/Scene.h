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

/// What came back for one message.
struct Outcome {
    bool threw = false;    ///< an exception left the invoker
    bool replied = false;  ///< a reply was set
    Method reply;

    /// "Response" of the reply, the text of a request's answer. Empty without one.
    std::string response() const;
    bool acknowledged() const;
    /// The reason in the response; empty unless the response is one whole document.
    std::string reason() const;
};

/// All that a database holds: by table, its rows as texts of SQL. Rows that are alike count singly.
using Contents = std::map<std::string, std::multiset<std::string>>;

/**
 * A service with its database and files, reached over its invoker as a framework does, and looked
 * at over connections of its own that no fault reaches.
 */
class Scene {
public:
    Scene();
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    /// Starts a service on what is there. An exception of the start passes through.
    void start();
    void stop();
    bool hasService() const { return m_phone.isRunning(); }

    Outcome call(const Method& method);
    Outcome call(const std::string& request);

    std::filesystem::path database() const { return m_place.database(); }
    std::string onDevice(const std::string& path) const { return m_place.onDevice(path); }

    /// Runs statements over a connection of its own. The words of a failure; empty for none.
    std::string sql(const std::string& statements) const;
    Contents contents() const;
    /// "ok", or what SQLite says about the file.
    std::string integrity() const;

    /// What is held or open though nothing runs; empty when all is free.
    std::string whatIsHeld();

private:
    const ScratchPlace m_place;
    RecordingManagement m_management;
    Phone m_phone;
    std::unique_ptr<SceneFramework> m_framework;
};

/// Rows of @p whole that @p part does not have.
Contents without(const Contents& whole, const Contents& part);
/// The first few rows of @p rows, for a finding.
std::string sample(const Contents& rows);

/// What a piece of work in a process of its own told, and how the process ended.
struct Report {
    std::vector<std::string> lines;
    std::string end;  ///< "": it came to its end; else how it was ended
};

/// Runs @p work in a process of its own; @p out sends a line. It is killed after some seconds.
Report isolated(
    const std::function<void(const std::function<void(const std::string&)>& out)>& work,
    unsigned seconds = 30);

#endif
