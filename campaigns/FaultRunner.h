#ifndef FAULTRUNNER_H
#define FAULTRUNNER_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "FaultPlaces.h"
#include "FaultScenarios.h"
#include "Scene.h"

/// Tries a scenario with faults at its operations, each in a process of its own.
namespace FaultRunner {

namespace fs = std::filesystem;
using FaultScenarios::Rule;
using FaultScenarios::Scenario;
using Sink = std::function<void(const std::string&)>;

/// How many places are left to try, and in how many scenarios.
struct Budget {
    long files;
    long memory;
    long scenarios;
};

/// The answer, without the parts that are not judged.
struct Answer {
    Answer() = default;
    explicit Answer(const Outcome& outcome)
        : threw(outcome.threw),
          replied(outcome.replied),
          acknowledged(outcome.acknowledged()),
          response(outcome.response()),
          reason(outcome.reason()) {}

    static std::string reasonIn(const std::string& response) {
        Outcome outcome;
        outcome.reply.addStringParameter("Response", response, Parameter::out);
        return outcome.reason();
    }

    bool threw = false;
    bool replied = false;
    bool acknowledged = false;
    std::string response;
    std::string reason;
};

/// The results of a scenario without a fault.
struct Expected {
    Contents before;
    Contents after;
    Answer answer;
    std::string file;
};

class Runner {
public:
    /// @p filled is the database with which a request begins.
    Runner(const Scenario& scenario, fs::path filled)
        : m_scenario(scenario), m_filled(std::move(filled)) {}

    /// Tries its part of the places. Reports findings as "F TEXT" and figures as "+ NAME".
    void run(const Budget& budget, std::uint32_t seed, const Sink& out);

private:
    /// How many operations each family has here.
    std::vector<Places> count(const Sink& out);
    void tryPlaces(const Places& places, const Sink& out);
    /// Creates the initial state of the scenario.
    void prepare();
    /// Restores that state, in a process that tries one place.
    void begin();
    /// Runs the scenario itself, between arm and disarm.
    Outcome perform();
    void restart();
    /// Finds out the results without a fault.
    void learn(const Sink& out);
    /// Tries one place, including all checks.
    void whole(const Family& family, long place, bool forever, const Sink& up);
    std::pair<long, long> keptBy(const std::function<void()>& work);
    void attempt(const Family& family, long place, bool forever, const Sink& out);
    void judgeAnswer(const Answer& answer, const Sink& out) const;
    void judgeContents(const Answer& answer, const Sink& out) const;
    void judgeBatch(const Contents& missing, const Sink& out) const;
    void judgeFile(const Sink& out) const;
    void judgeAfterwards(const Sink& out);
    void judgeStart(const Sink& out);
    bool isSuccess(const Answer& answer) const;
    void pass(const Report& report, const std::string& where, const Sink& out);

    const Scenario& m_scenario;
    Scene m_scene;
    const fs::path m_filled;
    std::string m_database;  ///< bytes of the initial database file
    Expected m_expected;
    long m_codeBlocks = 0;  ///< blocks that stay allocated without a fault
    long m_sqliteBlocks = 0;
};

}  // namespace FaultRunner

#endif
