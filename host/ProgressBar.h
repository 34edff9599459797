#ifndef PROGRESSBAR_H
#define PROGRESSBAR_H

#include <cstddef>

/**
 * Shows on standard error how far the service has come with a data file, as long as it lives.
 * Nothing is shown when standard error is no terminal.
 */
class ProgressBar {
public:
    ProgressBar();
    /// Ends the line of the bar, if it was drawn.
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

private:
    static constexpr std::size_t NotDrawn = 101;

    void show(std::size_t done, std::size_t total);

    std::size_t m_percent = NotDrawn;  ///< as it was drawn last
};

#endif
