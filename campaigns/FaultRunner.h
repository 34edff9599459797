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

/// How many places are still to be tried, and in how many scenarios.
struct Budget {
    long files;
    long memory;
    long scenarios;
};

/// What was answered, without the parts that the judgement does not need.
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

/// What a scenario leads to without a fault.
struct Expected {
    Contents before;
    Contents after;
    Answer answer;
    std::string file;
};

class Runner {
public:
    /// @p filled is the database that a request begins with.
    Runner(const Scenario& scenario, fs::path filled)
        : m_scenario(scenario), m_filled(std::move(filled)) {}

    /// Tries its part of the places and reports findings, "F TEXT", and figures, "+ NAME".
    void run(const Budget& budget, std::uint32_t seed, const Sink& out);

private:
    /// How many operations each family has here.
    std::vector<Places> count(const Sink& out);
    void tryPlaces(const Places& places, const Sink& out);
    /// Makes what the scenario begins with.
    void prepare();
    /// Takes the scene back to it, in a process that tries one place.
    void begin();
    /// The scenario itself, which stands between arm and disarm.
    Outcome perform();
    void restart();
    /// Finds out what happens without a fault.
    void learn(const Sink& out);
    /// One place with all that follows.
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
    std::string m_database;  ///< the bytes of the file that the scenario begins with
    Expected m_expected;
    long m_codeBlocks = 0;  ///< what stays for good without a fault
    long m_sqliteBlocks = 0;
};

}  // namespace FaultRunner

#endif
