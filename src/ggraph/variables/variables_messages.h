#pragma once
// The texts that the statistics of a VARIABLES list report. The host's message table may word
// them anew by key.

namespace ggraph::variables_messages {

inline constexpr char kResponsesParameter[] =
    "The RESPONSES() function can only accept DUP or NODUP as a parameter.";
inline constexpr char kInvalidNumericParameter[] =
    "The ^1 function contains an invalid numeric parameter (^2).";
inline constexpr char kVariableNotFound[] = "The specified variable ^1 does not exist.";
inline constexpr char kStringVariable[] =
    "Summary functions (^1) cannot be used with string variables (^2).";

}  // namespace ggraph::variables_messages
