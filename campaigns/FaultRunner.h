#ifndef FAULTRUNNER_H
#define FAULTRUNNER_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "FaultScenarios.h"
#include "Scene.h"

/// Tries a scenario with faults at its operations, each in a process of its own.
namespace FaultRunner {

namespace fs = std::filesystem;
using FaultScenarios::Rule;
using FaultScenarios::Scenario;
using Tell = std::function<void(const std::string&)>;

struct Family;

/// The places of one family in one scenario, for one of the two modes.
struct Places {
    std::size_t family;
    bool forever;
    long operations;  ///< without a fault
    long count = 0;   ///< how many are to be tried
    std::vector<long> chosen{};
};

/// One place that DAS_FAULT="SCENARIO;FAMILY;PLACE;once|ever" of the environment names, in place of
/// all others.
struct OnePlace {
    std::string scenario;
    std::string family;
    std::string place;
    std::string mode;

    static bool isGiven();
    static OnePlace read();
    void choose(std::vector<Places>& all) const;
};

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

    /// Tries its part of the places and tells findings, "F TEXT", and figures, "+ NAME".
    void run(const Budget& budget, std::uint32_t seed, const Tell& tell);

private:
    /// How many operations each family has here.
    std::vector<Places> count(const Tell& tell);
    void tryPlaces(const Places& places, const Tell& tell);
    /// Makes what the scenario begins with.
    void prepare();
    /// Takes the scene back to it, in a process that tries one place.
    void begin();
    /// The scenario itself, which stands between arm and disarm.
    Outcome perform();
    void restart();
    /// Finds out what happens without a fault.
    void learn(const Tell& tell);
    /// One place with all that follows.
    void whole(const Family& family, long place, bool forever, const Tell& up);
    std::pair<long, long> keptBy(const std::function<void()>& work);
    void attempt(const Family& family, long place, bool forever, const Tell& tell);
    void judgeAnswer(const Answer& answer, const Tell& tell) const;
    void judgeContents(const Answer& answer, const Tell& tell) const;
    void judgeBatch(const Contents& missing, const Tell& tell) const;
    void judgeFile(const Tell& tell) const;
    void judgeAfterwards(const Tell& tell);
    void judgeStart(const Tell& tell);
    bool isSuccess(const Answer& answer) const;
    void pass(const Report& report, const std::string& where, const Tell& tell);

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
