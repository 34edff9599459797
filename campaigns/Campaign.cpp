#include "Campaign.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>

namespace {

std::uint32_t seedOfClock() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(now / std::chrono::milliseconds(1)) % 1000000;
}

}  // namespace

Campaign::Campaign(std::string name, const std::string& meaning, long rounds, int argc, char** argv)
    : m_name(std::move(name)), m_rounds(rounds), m_seed(seedOfClock()) {
    CLI::App app("The campaign \"" + m_name + "\"");
    app.add_option("--rounds", m_rounds, "how many " + meaning)->check(CLI::NonNegativeNumber);
    app.add_option("--seed", m_seed, "where its random numbers begin");
    app.add_option("--only", m_only, "part of the names of the scenarios that are to run");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        std::exit(app.exit(error) == 0 ? 0 : 2);
    }
    figure("seed", m_seed);
}

void Campaign::figure(const std::string& name, const std::string& value) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto known = std::find_if(m_figures.begin(), m_figures.end(),
                                   [&](const auto& pair) { return pair.first == name; });
    if (known != m_figures.end()) {
        known->second = value;
    } else {
        m_figures.emplace_back(name, value);
    }
}

void Campaign::found(const std::string& what) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_findings;
    std::cerr << m_name << ": found with --seed " << m_seed << ": " << what << std::endl;
}

bool Campaign::check(bool holds, const std::string& what) {
    if (!holds) {
        found(what);
    }
    return holds;
}

long long Campaign::findings() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_findings;
}

int Campaign::end() {
    figure("findings", findings());
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& [name, value] : m_figures) {
        std::cout << m_name << ": " << name << " " << value << "\n";
    }
    std::cout << std::flush;
    return m_findings == 0 ? 0 : 1;
}
