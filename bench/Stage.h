#ifndef STAGE_H
#define STAGE_H

#include <filesystem>
#include <memory>
#include <string>

#include "Bench.h"
#include "Counters.h"
#include "testkit/Phone.h"
#include "testkit/Place.h"

namespace Bench {

/// Microseconds of one round, for both sides.
struct Pair {
    double service = 0;
    double floor = 0;
};

/// Counted costs of one round, for both sides.
struct CountedPair {
    Counts service;
    Counts floor;
    long long rowBytes = 0;     ///< size of rows read or written: 32 bytes for each cell, plus long
                                ///< strings
    long long answerBytes = 0;  ///< the service's answer
};

/**
 * One operation on one file system: the service on its database and the floor on a copy of it, in a
 * new folder that is removed with the stage. DB_PATH and DAS_ROOT name the folder of the stage that
 * was created last; there is only one at a time.
 */
class Stage {
public:
    /// Creates the folder below @p place and the data of @p operation, which must outlive the
    /// stage.
    Stage(const Operation& operation, const std::filesystem::path& place);
    ~Stage();
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    /// Runs one round and records the statements. Returns the difference between service and floor;
    /// empty if they agree.
    std::string compare();

    /// What the service does in a round, as StatementRecord shows it.
    std::vector<std::string> recordService();

    /// Runs one round of both sides. They take turns in running first.
    Pair measure();

    /// Runs a round to warm up, and counts another one.
    CountedPair count();

    /// Why measure() and count() can't return numbers any more; empty if they can.
    const std::string& failure() const { return m_failure; }

private:
    void begin();
    void runService();
    void runFloor();
    void checkAnswers();

    const Operation& m_operation;
    const ScratchPlace m_place;
    TestContext m_context;
    std::unique_ptr<DataAccessService> m_service;
    sqlite3* m_serviceHandle = nullptr;  ///< not owned
    std::unique_ptr<FloorDatabase> m_floor;
    int m_round = 0;
    std::string m_request;
    Texts m_statements;
    std::string m_serviceAnswer;
    std::string m_floorAnswer;
    std::string m_failure;
};

}  // namespace Bench

#endif
