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
inline constexpr char kInvalidName[] =
    "The ^1 subcommand contains an invalid value (^2) for the NAME keyword.";
inline constexpr char kBadCaseLimit[] =
    "The value of the CASELIMIT keyword must be a non-negative integer value.";
inline constexpr char kMissingDataSet[] = "Missing dataSet.";
inline constexpr char kTransformNeedsFunction[] =
    "An aggregation function must be used when specifying TRANSFORM=VARSTOCASES in the ^1 graph "
    "data set.";
inline constexpr char kNameMustBeUnique[] = "The variable name ^1 must be unique";
inline constexpr char kNameDuplicated[] = "The variable name ^1 is duplicated.";
inline constexpr char kCannotRenameRange[] = "Can not rename range of variables";
inline constexpr char kUnknownFunction[] = "^1 is an unknown function ^2.";
inline constexpr char kWrongParameterCount[] = "^1 has the wrong number of parameters ^2.";
inline constexpr char kInvalidFilterValue[] =
    "The ^1 subcommand contains an invalid value (^2) for the DATAFILTER keyword.";
inline constexpr char kFilterNotCategorical[] =
    "Variable ^1 specified for keyword DATAFILTER of subcommand GRAPHDATASET must be categorical "
    "(nominal or ordinal).";
inline constexpr char kMultipleResponseNeedsFunction[] =
    "An aggregation function must be specified when using multiple response sets.";

}  // namespace ggraph::syntax_messages
