#include "host/dictionary/progress.h"

#include <atomic>
#include <cstdio>

namespace host::dictionary {

namespace {

std::atomic<bool> enabled{false};

// Work shorter than this shows no line at all.
constexpr auto kQuietFor = std::chrono::seconds(2);
constexpr auto kRedrawEvery = std::chrono::milliseconds(250);

std::string grouped(std::int64_t n) {
    std::string digits = std::to_string(n);
    for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3)
        digits.insert(static_cast<std::size_t>(at), ",");
    return digits;
}

}  // namespace

void setProgressEnabled(bool on) {
    enabled = on;
}

bool progressEnabled() {
    return enabled;
}

ProgressLine::ProgressLine(std::string what)
    : what_(std::move(what)), start_(std::chrono::steady_clock::now()) {}

ProgressLine::~ProgressLine() {
    if (shown_)
        std::fputs("\n", stderr);
}

void ProgressLine::update(std::uint64_t done, std::uint64_t total, std::int64_t rows) {
    if (!enabled)
        return;
    auto const now = std::chrono::steady_clock::now();
    if (now - start_ < kQuietFor || (shown_ && now - lastShown_ < kRedrawEvery && done < total))
        return;
    double const seconds = std::chrono::duration<double>(now - start_).count();
    double const percent = total ? 100.0 * static_cast<double>(done) / static_cast<double>(total)
                                 : 100.0;
    double const rate = seconds > 0 ? static_cast<double>(rows) / seconds : 0.0;
    // \r and erase-to-end redraw the line in place.
    std::fprintf(stderr, "\r\033[K%s: %3.0f%%, %s rows, %s rows/s", what_.c_str(), percent,
                 grouped(rows).c_str(), grouped(static_cast<std::int64_t>(rate)).c_str());
    std::fflush(stderr);
    shown_ = true;
    lastShown_ = now;
}

}  // namespace host::dictionary
