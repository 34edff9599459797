// Faults at the n-th file operation and at the n-th allocation, once and permanently, in each kind
// of request, remote method and start. Each place is tried in a process of its own, forked from a
// process that has prepared everything.

#include <execinfo.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <random>

#include "Campaign.h"
#include "FaultFiles.h"
#include "FaultMemory.h"
#include "FaultRunner.h"
#include "Log.h"
#include "SceneRequests.h"

using namespace FaultRunner;
using namespace SceneRequests;

namespace {

constexpr unsigned WholeRun = 3600;  // seconds for all places of a scenario

/// Reports the lines of a process to the campaign.
class Collector {
public:
    explicit Collector(Campaign& campaign) : m_campaign(campaign) {}

    void take(const Report& report, const std::string& name) {
        for (const std::string& line : report.lines) {
            if (line[0] == 'F') {
                m_campaign.found(line.substr(2));
            } else if (line[0] == '+') {
                m_campaign.figure(line.substr(2), ++m_figures[line.substr(2)]);
            }
        }
        m_campaign.check(report.end.empty(), name + ": " + report.end);
    }

    long value(const std::string& figure) { return m_figures[figure]; }

private:
    Campaign& m_campaign;
    std::map<std::string, long> m_figures;
};

}  // namespace

int main(int argc, char** argv) {
    Campaign campaign("faults", "places, three of eight on files", 16000, argc, argv);
    FaultMemory::install();
    campaign.check(FaultFiles::install(), "SQLite does not take the layer");
    Log::setLevel(3);
    if (!OnePlace::isGiven()) {
        Log::setSink([](const Log::Entry&) {});
    } else {
        std::signal(SIGABRT, [](int) {
            void* frames[60];
            backtrace_symbols_fd(frames, backtrace(frames, 60), STDERR_FILENO);
            _exit(134);
        });
    }
    std::vector<Scenario> scenarios = FaultScenarios::all();
    const OnePlace one = OnePlace::read();
    const auto isLeftOut = [&](const Scenario& each) {
        return OnePlace::isGiven() ? each.name != one.scenario : !campaign.takes(each.name);
    };
    scenarios.erase(std::remove_if(scenarios.begin(), scenarios.end(), isLeftOut), scenarios.end());
    campaign.figure("scenarios", static_cast<long long>(scenarios.size()));
    Scene filled;
    Collector collector(campaign);
    collector.take(isolated([&](const Sink&) {
                       filled.start();
                       fill(filled);
                       filled.stop();
                   }),
                   "a filled database");
    Budget budget{campaign.rounds() * 3 / 8, 0, static_cast<long>(scenarios.size())};
    budget.memory = campaign.rounds() - budget.files;
    std::mt19937 random(campaign.seed());
    for (const Scenario& scenario : scenarios) {
        const auto seed = static_cast<std::uint32_t>(random());
        const Report report = isolated(
            [&](const Sink& out) {
                Runner runner(scenario, filled.database());
                runner.run(budget, seed, out);
            },
            WholeRun);
        collector.take(report, scenario.name);
        budget.files = campaign.rounds() * 3 / 8 - collector.value("places of files");
        budget.memory =
            campaign.rounds() - campaign.rounds() * 3 / 8 - collector.value("places of memory");
        --budget.scenarios;
    }
    return campaign.end();
}
