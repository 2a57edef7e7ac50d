#pragma once
// A progress line on stderr for long work (reading a big CSV, a long pass over the cases): shown
// only when enabled and once the work has taken a few seconds, then redrawn a few times a second
// with the share done, the rows and the rate.

#include <chrono>
#include <cstdint>
#include <string>

namespace host::dictionary {

// On when stderr is a terminal and the run is not quiet; the runner decides.
void setProgressEnabled(bool enabled);
bool progressEnabled();

class ProgressLine {
public:
    // `what` starts the line: "Reading data.csv".
    explicit ProgressLine(std::string what);
    ~ProgressLine();
    ProgressLine(ProgressLine const&) = delete;
    ProgressLine& operator=(ProgressLine const&) = delete;

    // `done` of `total` (bytes, cases...) with `rows` behind them. From one thread at a time.
    void update(std::uint64_t done, std::uint64_t total, std::int64_t rows);

private:
    std::string what_;
    std::chrono::steady_clock::time_point start_;
    std::chrono::steady_clock::time_point lastShown_;
    bool shown_ = false;
};

}  // namespace host::dictionary
