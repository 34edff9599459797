#include "Stage.h"

#include <algorithm>
#include <chrono>

#include "StatementRecord.h"
#include "database/DatabaseAdapter.h"

namespace Bench {

namespace {

double microseconds(const std::function<void()>& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin)
        .count();
}

std::string difference(const Texts& service, const Texts& floor) {
    const std::size_t common = std::min(service.size(), floor.size());
    for (std::size_t i = 0; i <= common; ++i) {
        const std::string ours = i < service.size() ? service[i] : "nothing more";
        const std::string theirs = i < floor.size() ? floor[i] : "nothing more";
        if (ours != theirs) {
            return "statement " + std::to_string(i) + ": service: " + ours + ", floor: " + theirs;
        }
    }
    return {};
}

/// The statements that ran and the failures, without the prepares: the service caches statements
/// that the floor prepares each time.
Texts withoutPrepares(Texts record) {
    const auto isPrepare = [](const std::string& line) { return line.rfind("prepare ", 0) == 0; };
    record.erase(std::remove_if(record.begin(), record.end(), isPrepare), record.end());
    // After a failure the service prepares the statement a second time, with its values, for the
    // error message.
    const auto isSameError = [](const std::string& a, const std::string& b) {
        return a == b && a.rfind("error ", 0) == 0;
    };
    record.erase(std::unique(record.begin(), record.end(), isSameError), record.end());
    return record;
}

}  // namespace

Stage::Stage(const Operation& operation, const std::filesystem::path& place)
    : m_operation(operation), m_place(place) {
    m_service = std::make_unique<DataAccessService>();
    m_service->init(m_context);
    m_serviceHandle = StatementRecord::lastOpened();
    m_operation.prepare(*m_service);
    // Between requests no transaction is open, so the file is complete.
    const std::filesystem::path copy = m_place.folder() / "floor" / "phone.db";
    std::filesystem::create_directory(copy.parent_path());
    std::filesystem::copy(m_place.database(), copy);
    m_floor = std::make_unique<FloorDatabase>(copy);
}

Stage::~Stage() {
    m_floor.reset();
    m_service.reset();
}

void Stage::begin() {
    ++m_round;
    if (m_operation.reset) {
        for (const std::string& sql : m_operation.reset(m_round)) {
            if (m_service->getAdapter()->executeNonQuery(sql) != 0 && m_failure.empty()) {
                m_failure = sql + ": " + m_service->getAdapter()->getError();
            }
            m_floor->run(sql);
        }
    }
    m_request = m_operation.request(m_round);
    m_statements = m_operation.statementsOf ? m_operation.statementsOf(RequestFields::of(m_request))
                                            : m_operation.statements(m_round);
    m_serviceAnswer = std::string();
    m_floorAnswer = std::string();
}

void Stage::runService() {
    m_serviceAnswer = m_operation.service ? m_operation.service(*m_service, m_request)
                                          : m_service->processRequest(m_request);
}

void Stage::runFloor() {
    m_floorAnswer = m_operation.floor(*m_floor, m_statements);
}

void Stage::checkAnswers() {
    if (!m_failure.empty()) {
        return;
    }
    if (!m_floor->failure().empty()) {
        m_failure = m_floor->failure();
    } else if (m_serviceAnswer != m_floorAnswer) {
        m_failure =
            "the answers differ\nservice: " + m_serviceAnswer + "\nfloor:   " + m_floorAnswer;
    }
}

std::vector<std::string> Stage::recordService() {
    begin();
    return StatementRecord::of(m_serviceHandle, [this] { runService(); });
}

std::string Stage::compare() {
    const Texts service = withoutPrepares(recordService());
    const Texts floor =
        withoutPrepares(StatementRecord::of(m_floor->handle(), [this] { runFloor(); }));
    checkAnswers();
    return m_failure.empty() ? difference(service, floor) : m_failure;
}

Pair Stage::measure() {
    begin();
    Pair pair;
    const auto service = [&] { pair.service = microseconds([this] { runService(); }); };
    const auto floor = [&] { pair.floor = microseconds([this] { runFloor(); }); };
    if (m_round % 2 == 0) {
        service();
        floor();
    } else {
        floor();
        service();
    }
    checkAnswers();
    return pair;
}

CountedPair Stage::count() {
    (void)measure();
    begin();
    CountedPair pair;
    pair.service = countsOf("service " + m_operation.name, [this] { runService(); });
    const long long rowBytesBefore = m_floor->rowBytes();
    pair.floor = countsOf("floor " + m_operation.name, [this] { runFloor(); });
    if (!m_operation.written.empty()) {
        (void)m_floor->rows(m_operation.written);
    }
    pair.rowBytes = m_floor->rowBytes() - rowBytesBefore;
    pair.answerBytes = static_cast<long long>(m_serviceAnswer.size());
    checkAnswers();
    return pair;
}

}  // namespace Bench
