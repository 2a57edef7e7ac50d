#pragma once
// The texts the data sets report.

namespace ggraph::data_messages {

inline constexpr char kUnknownVariable[] = "The specified variable ^1 does not exist.";
inline constexpr char kReversedRange[] = "E703";
inline constexpr char kUnknownHandle[] = "The specified KWEL dataset handle ^1 doesn't exist.";
inline constexpr char kCaseLimitReached[] =
    "Only the first ^1 cases from the ^2 data set have been used.";
inline constexpr char kNoBreakVariable[] = "Function must have at least one break variable specified";
// The missing blank before "have" comes from the name list, each name followed by one blank.
inline constexpr char kFilterExcludedAll[] =
    "No data to graph because all values of filter field ^1have been excluded.";
inline constexpr char kFilterValueNotFound[] =
    "Specified value ^1 for variable ^2 on DATAFILTER keyword of subcommand GRAPHDATASET is not "
    "found in the data.";
// The message-table key of the text that stands for a missing split value.
inline constexpr char kMissingSplitValue[] = "E60712";

}  // namespace ggraph::data_messages
