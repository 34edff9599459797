#ifndef CAMPAIGN_H
#define CAMPAIGN_H

#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/**
 * The common part of the campaigns' programs: options, figures and findings. Any thread may report
 * figures and findings.
 */
class Campaign {
public:
    /// Reads the options of the command line. Wrong usage and --help end the process.
    /// @param name    as scripts/campaign knows it
    /// @param meaning what a round is, for --help
    /// @param rounds  how many when the command line names none
    Campaign(std::string name, const std::string& meaning, long rounds, int argc, char** argv);

    long rounds() const { return m_rounds; }
    /// The seed of all random numbers of the run; taken from the clock if the command line has
    /// none.
    std::uint32_t seed() const { return m_seed; }
    /// Whether the scenario @p name should run: the command line may select some.
    bool takes(const std::string& name) const { return name.find(m_only) != std::string::npos; }

    /// Adds a number to the table, in the order of the calls. A second value with the same name
    /// replaces the first.
    void figure(const std::string& name, const std::string& value);
    void figure(const std::string& name, long long value) { figure(name, std::to_string(value)); }

    /// Reports a forbidden result, with what is needed to reproduce it. It is written at once.
    void found(const std::string& what);
    /// Reports @p what as a finding unless @p holds. Returns @p holds.
    bool check(bool holds, const std::string& what);
    long long findings() const;

    /// Prints the figures, a line each, and returns the exit status: 1 if there was a finding.
    int end();

private:
    const std::string m_name;
    long m_rounds;
    std::uint32_t m_seed = 0;
    std::string m_only;
    mutable std::mutex m_mutex;
    std::vector<std::pair<std::string, std::string>> m_figures;
    long long m_findings = 0;
};

#endif
