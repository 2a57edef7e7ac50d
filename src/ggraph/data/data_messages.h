#pragma once
// The texts the data sets report.

namespace ggraph::data_messages {

inline constexpr char kUnknownVariable[] = "The specified variable ^1 does not exist.";
inline constexpr char kReversedRange[] = "E703";
inline constexpr char kUnknownHandle[] = "The specified KWEL dataset handle ^1 doesn't exist.";
inline constexpr char kCaseLimitReached[] =
    "Only the first ^1 cases from the ^2 data set have been used.";

}  // namespace ggraph::data_messages
