#pragma once
// The texts the command's parser reports. The host's message table may word them anew by key.

namespace ggraph::syntax_messages {

inline constexpr char kUnknownKeyword[] = "SubCmd ^1. Unknown token ^2.";
inline constexpr char kIncompleteSubcommand[] = "Incomplete subCmd ^1.";
inline constexpr char kMissingTrailingEqual[] = "SubCmd ^1. Equal sign required after ^2.";
inline constexpr char kDuplicateAttribute[] = "SubCmd ^1 has duplicate ^2 attribute.";
inline constexpr char kNeedThreeIntegers[] = "SubCmd ^1. Three integers required for ^2.";
inline constexpr char kUnbalancedParentheses[] =
    "Unbalanced parentheses in effect, parameter ^1, subcommand ^2 ...";
inline constexpr char kInlineSpecMissing[] =
    "An inline graph specification was expected but not found.";
inline constexpr char kNoGraphSpec[] =
    "The GGRAPH command must contain at least one GRAPHSPEC subcommand.";
inline constexpr char kDataSetMissing[] = "The specified dataset ^1 does not exist.";
inline constexpr char kFileNoAccess[] = "File ^1 has no access...";
inline constexpr char kMapRequired[] = "A map must be specified...";

}  // namespace ggraph::syntax_messages
