// Cuts the power during each disk operation of a start, an upgrade or a change, and checks what the
// next start finds.
//
// If POWERCUT_LOG is set in the environment, the cut processes write their log to standard error.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>

#include "Campaign.h"
#include "PowerCutDisk.h"
#include "PowerCutScenarios.h"
#include "PowerCutState.h"
#include "PowerCutVfs.h"
#include "testkit/Place.h"

namespace fs = std::filesystem;

namespace {

using Progress = PowerCutDisk::Progress;

constexpr int Workers = 2;
constexpr int OneInHowManyIsCutTwice = 4;
constexpr long OperationsOfAPutBack = 12;
constexpr unsigned SecondsOfAChild = 60;
constexpr int FailureStatus = 3;
constexpr long Never = 0;

/// A cut of a scenario.
struct Cut {
    std::size_t scenario;
    long operation;
    std::uint32_t seed;
};

/// The results of a run without a cut.
struct Known {
    PowerCutScenario scenario;
    PhonePlace prepared;
    std::vector<std::string> states;  ///< the dump after each number of steps
    long operations = 0;
    long operationsOfNextStart = 0;
};

// Children ---------------------------------------------------------------------------------------

/// What a child does: whether the start is cut, which of the steps it takes, and where it ends.
struct Run {
    const PowerCutScenario& scenario;
    const PhonePlace& place;
    std::size_t steps;
    long cutAt;  ///< Never: the power stays on
    std::uint32_t seed;
    bool countsOnly = false;
};

void silence() {
    const int nowhere = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    if (std::getenv("POWERCUT_LOG") == nullptr) {
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
    }
}

/// Runs the steps on a disk whose power may be cut; false if one is not acknowledged.
bool takeSteps(const Run& run, Progress& progress) {
    const bool hasDisk = run.cutAt != Never || run.countsOnly;
    if (hasDisk && !PowerCutVfs::install()) {
        return false;
    }
    PowerCutSession session(run.place);
    std::unique_ptr<PowerCutDisk> disk;
    if (hasDisk) {
        disk = std::make_unique<PowerCutDisk>(run.place.folder(), progress, run.seed);
    }
    if (!run.scenario.startIsCut && !session.start()) {
        return false;
    }
    if (disk != nullptr) {
        disk->arm(run.cutAt);
    }
    for (std::size_t step = 0; step < run.steps; ++step) {
        if (!run.scenario.steps[step](session)) {
            return false;
        }
        ++progress.acknowledged;
    }
    if (run.cutAt != Never) {
        disk->cut();  // all is acknowledged, and no sync has happened since
    }
    return true;
}

[[noreturn]] void beChild(const Run& run, Progress& progress) {
    silence();
    ::alarm(SecondsOfAChild);
    run.place.enter();
    int status = FailureStatus;
    try {
        status = takeSteps(run, progress) ? 0 : FailureStatus;
    } catch (const std::exception& error) {
        std::cerr << error.what() << std::endl;
    }
    ::_exit(status);
}

std::string textOfStatus(int status) {
    return WIFSIGNALED(status) ? "ended by signal " + std::to_string(WTERMSIG(status))
                               : "ended with status " + std::to_string(WEXITSTATUS(status));
}

/// Runs child processes; shared memory shows what they did.
class Children {
public:
    Children() {
        void* memory = ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) {
            throw std::runtime_error("no memory to share");
        }
        m_progress = new (memory) Progress;
    }

    /// Describes an unexpected end of the child; empty if it ended by itself or by its cut.
    std::string run(const Run& run) {
        *m_progress = Progress();
        std::cout << std::flush;
        const pid_t child = ::fork();
        if (child == 0) {
            beChild(run, *m_progress);
        }
        int status = 0;
        if (child < 0 || ::waitpid(child, &status, 0) != child) {
            return "no child";
        }
        const int expected = run.cutAt != Never ? PowerCutDisk::CutStatus : 0;
        return WIFEXITED(status) && WEXITSTATUS(status) == expected ? "" : textOfStatus(status);
    }

    const Progress& progress() const { return *m_progress; }

private:
    Progress* m_progress = nullptr;
};

const PowerCutScenario OnlyStart = {
    "start", nullptr, true, {[](PowerCutSession& session) { return session.start(); }}};

// Runs without a cut, for comparison --------------------------------------------------------------

class Preparation {
public:
    explicit Preparation(fs::path folder)
        : m_folder(std::move(folder)), m_work(m_folder / "preparation") {}

    Known prepare(const PowerCutScenario& scenario) {
        Known known{scenario, PhonePlace(m_folder / ("prepared " + scenario.name)), {}};
        m_known = &known;
        known.prepared.make();
        prepareInChild();
        for (std::size_t steps = 0; steps <= scenario.steps.size(); ++steps) {
            m_work.copyFrom(known.prepared);
            if (steps > 0 || !scenario.startIsCut) {
                must({scenario, m_work, steps, Never, 0});
            }
            must({OnlyStart, m_work, 1, Never, 0});
            known.states.push_back(PowerCutState::dump(m_work));
        }
        known.operations = countOf(scenario);
        known.operationsOfNextStart = countOf(OnlyStart);
        return known;
    }

private:
    void prepareInChild() {
        PowerCutScenario preparing = OnlyStart;
        const auto& known = *m_known;
        preparing.steps = {[&known](PowerCutSession&) {
            known.scenario.prepare(known.prepared);
            return true;
        }};
        must({preparing, known.prepared, 1, Never, 0});
    }

    long countOf(const PowerCutScenario& scenario) {
        m_work.copyFrom(m_known->prepared);
        must({scenario, m_work, scenario.steps.size(), Never, 0, true});
        return m_children.progress().operations;
    }

    void must(const Run& run) {
        const std::string wrong = m_children.run(run);
        if (!wrong.empty()) {
            throw std::runtime_error("undisturbed " + m_known->scenario.name + ", step " +
                                     std::to_string(m_children.progress().acknowledged + 1) + ": " +
                                     wrong);
        }
    }

    const fs::path m_folder;
    const PhonePlace m_work;
    Children m_children;
    Known* m_known = nullptr;
};

/// Chooses each operation of each scenario in turn, and the moment after the last one, in an order
/// that depends on the seed; then begins again.
std::vector<Cut> chooseCuts(const std::vector<Known>& all, long rounds, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<std::vector<long>> left(all.size());
    std::vector<Cut> cuts;
    const auto isOver = [&] {
        return rounds > 0 && cuts.size() == static_cast<std::size_t>(rounds);
    };
    do {
        for (std::size_t i = 0; i < all.size(); ++i) {
            for (long operation = 1; operation <= all[i].operations + 1; ++operation) {
                left[i].push_back(operation);
            }
            std::shuffle(left[i].begin(), left[i].end(), random);
        }
        for (bool any = true; any && !isOver();) {
            any = false;
            for (std::size_t i = 0; i < all.size() && !isOver(); ++i) {
                if (!left[i].empty()) {
                    cuts.push_back({i, left[i].back(), static_cast<std::uint32_t>(random())});
                    left[i].pop_back();
                    any = true;
                }
            }
        }
    } while (rounds > 0 && !isOver());
    return cuts;
}

/// Cuts the power and checks the result.
class Cutter {
public:
    Cutter(const fs::path& folder, const std::vector<Known>& all)
        : m_all(all), m_place(folder / "place"), m_copy(folder / "copy") {
        fs::create_directories(folder);
    }

    /// What is wrong afterwards; empty if nothing is.
    std::string tryCut(const Cut& cut) {
        const Known& known = m_all[cut.scenario];
        m_place.copyFrom(known.prepared);
        std::string wrong = m_children.run(
            {known.scenario, m_place, known.scenario.steps.size(), cut.operation, cut.seed});
        const auto acknowledged = static_cast<std::size_t>(m_children.progress().acknowledged);
        if (wrong.empty()) {
            wrong = checkIntegrity();
        }
        if (wrong.empty() && cut.seed % OneInHowManyIsCutTwice == 0) {
            wrong = cutNextStart(known, cut.seed);
        }
        return wrong.empty() ? checkNextStart(known, acknowledged) : wrong;
    }

private:
    /// Uses a copy of the files, so that the next start is the first to open them. If an upgrade
    /// has kept a copy of the database, that copy is checked: the next start restores it, and an
    /// interrupted restore may have removed the journal of the other file.
    std::string checkIntegrity() {
        m_copy.copyFrom(m_place);
        const fs::path kept = m_copy.database().string() + ".before-upgrade";
        const bool isKept = fs::exists(kept) && fs::file_size(kept) > 0;
        if (!isKept && !fs::exists(m_copy.database())) {
            return {};
        }
        return PowerCutState::integrity(isKept ? kept : m_copy.database());
    }

    std::string cutNextStart(const Known& known, std::uint32_t seed) {
        // Half of the second cuts hit the begin of a start, which repairs the first cut.
        const std::uint32_t drawn = seed / OneInHowManyIsCutTwice;
        const long last = drawn % 2 == 0 ? OperationsOfAPutBack : known.operationsOfNextStart + 1;
        const long operation = 1 + static_cast<long>(drawn / 2) % last;
        const std::string wrong = m_children.run({OnlyStart, m_place, 1, operation, seed});
        return wrong.empty() ? checkIntegrity() : "second cut: " + wrong;
    }

    std::string checkNextStart(const Known& known, std::size_t acknowledged) {
        const std::string wrong = m_children.run({OnlyStart, m_place, 1, Never, 0});
        if (!wrong.empty()) {
            return "the next start " + wrong;
        }
        const std::string found = PowerCutState::dump(m_place);
        const std::size_t last = std::min(acknowledged + 1, known.states.size() - 1);
        for (std::size_t state = acknowledged; state <= last; ++state) {
            if (known.states[state] == found) {
                return {};
            }
        }
        return std::to_string(acknowledged) + " steps were acknowledged; after the next start " +
               PowerCutState::difference(known.states[acknowledged], found) +
               (last == acknowledged
                    ? ""
                    : "; or " + PowerCutState::difference(known.states[last], found));
    }

    const std::vector<Known>& m_all;
    const PhonePlace m_place;
    const PhonePlace m_copy;
    Children m_children;
};

/// Tries its share of the cuts and writes a line for each finding to @p pipe.
[[noreturn]] void beWorker(int number, const fs::path& folder, const std::vector<Known>& all,
                           const std::vector<Cut>& cuts, int pipe) {
    Cutter cutter(folder / ("worker " + std::to_string(number)), all);
    for (std::size_t i = static_cast<std::size_t>(number); i < cuts.size(); i += Workers) {
        const std::string wrong = cutter.tryCut(cuts[i]);
        std::string line = all[cuts[i].scenario].scenario.name + ", cut at operation " +
                           std::to_string(cuts[i].operation) + ": " + wrong;
        std::replace(line.begin(), line.end(), '\n', ' ');
        line = line.substr(0, PIPE_BUF - 1) + "\n";
        if (!wrong.empty() && ::write(pipe, line.data(), line.size()) < 0) {
            ::_exit(FailureStatus);
        }
    }
    ::_exit(0);
}

void runWorkers(Campaign& campaign, const fs::path& folder, const std::vector<Known>& all,
                const std::vector<Cut>& cuts) {
    int ends[2];
    if (::pipe(ends) != 0) {
        campaign.found("no pipe");
        return;
    }
    std::cout << std::flush;
    std::vector<pid_t> workers;
    for (int i = 0; i < Workers; ++i) {
        workers.push_back(::fork());
        if (workers.back() == 0) {
            ::close(ends[0]);
            beWorker(i, folder, all, cuts, ends[1]);
        }
    }
    ::close(ends[1]);
    FILE* lines = ::fdopen(ends[0], "r");
    char line[PIPE_BUF + 1];
    while (std::fgets(line, sizeof line, lines) != nullptr) {
        line[std::strcspn(line, "\n")] = '\0';
        campaign.found(line);
    }
    std::fclose(lines);
    for (const pid_t worker : workers) {
        int status = 0;
        ::waitpid(worker, &status, 0);
        campaign.check(status == 0, "a worker " + textOfStatus(status));
    }
}

void reportFigures(Campaign& campaign, const std::vector<Known>& all,
                   const std::vector<Cut>& cuts) {
    long operations = 0;
    for (const Known& known : all) {
        operations += known.operations;
    }
    campaign.figure("scenarios", static_cast<long long>(all.size()));
    campaign.figure("operations", operations);
    campaign.figure("cuts", static_cast<long long>(cuts.size()));
    campaign.figure("of these with a second one in the next start",
                    std::count_if(cuts.begin(), cuts.end(), [](const Cut& cut) {
                        return cut.seed % OneInHowManyIsCutTwice == 0;
                    }));
}

}  // namespace

int main(int argc, char** argv) {
    Campaign campaign("powercut", "cuts; 0 for one during each operation", 0, argc, argv);
    const ScratchFolder scratch;
    std::vector<Known> all;
    try {
        Preparation preparation(scratch.folder());
        for (const PowerCutScenario& scenario : powerCutScenarios()) {
            if (campaign.takes(scenario.name)) {
                all.push_back(preparation.prepare(scenario));
            }
        }
        const auto cuts = chooseCuts(all, campaign.rounds(), campaign.seed());
        runWorkers(campaign, scratch.folder(), all, cuts);
        reportFigures(campaign, all, cuts);
    } catch (const std::exception& error) {
        campaign.found(error.what());
    }
    return campaign.end();
}
