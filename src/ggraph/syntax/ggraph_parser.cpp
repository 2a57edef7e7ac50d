#include "ggraph/syntax/ggraph_parser.h"

#include "ggraph/model/graph_spec.h"
#include "ggraph/procedure/report.h"
#include "ggraph/syntax/ggraph_parser_data.h"
#include "ggraph/syntax/syntax_messages.h"
#include "platform/host_procedure.h"

namespace msg = ggraph::syntax_messages;

namespace ggraph {

bool isKeyword(TokenInfoObj const* token, char const* keyword) {
    return token != nullptr && KWELMBstricmp_A(token->getString(), keyword) == 0;
}

bool isOperator(TokenInfoObj const* token, TokenSequenceBase::OperatorCode code) {
    return token != nullptr && token->getType() == TokenInfoObj::KIND_OPERATOR &&
           token->getOperatorCode() == code;
}

}  // namespace ggraph

GGraphParser::GGraphParserData::GGraphParserData(ProcedureDataSource* source, FacSTDictionary* dict)
    : dictionary(dict), dataSource(source) {
    message.SetCommandName("GGraph");
    message.SetProcedureTitle("GGraph");
    // The count limits are kept in the table but have no effect: a repeated FITLINE, COLORCYCLE,
    // FRAME or GRIDLINES runs its handler again. That is the settled behaviour of the command.
    trackers = {
        {"GRAPHDATASET", 1, -1, 0}, {"GRAPHSPEC", 2, -1, 0}, {"FITLINE", 4, 1, 0},
        {"BEGINGPL", 0, -1, 0},     {"DESCRIPTION", 3, -1, 0}, {"COLORCYCLE", 5, 1, 0},
        {"FRAME", 6, 1, 0},         {"GRIDLINES", 7, 1, 0},
    };
}

GGraphParser::GGraphParserData::~GGraphParserData() = default;

GGraphParser::GGraphParser(ProcedureDataSource* dataSource, FacSTDictionary* dictionary)
    : d(std::make_unique<GGraphParserData>(dataSource, dictionary)) {}

GGraphParser::~GGraphParser() = default;

GGraphSettings* GGraphParser::GetSettings() { return &d->settings; }

bool GGraphParser::CompleteAndValidateSyntax() { return d->CompleteAndValidate(); }

bool GGraphParser::GGraphParserData::StartUniversalParser(CommandSpec& spec) {
    KWEL_TokenSequence tokens(true);
    CommandDescriptor descriptor;
    descriptor.setSubComArbitrary(true);
    UniversalParser parser(tokens, spec, descriptor);
    // The token service reports its own errors.
    return parser.getCommandSpecifications() == 0;
}

bool GGraphParser::Parse() {
    CommandSpec spec;
    char const* context = CmaSys + kCmaSysContextOffset;
    if (KWELMBstricmp_A(std::string(context, 2).c_str(), "DM") == 0)
        d->settings.setCommandName(GGraphSettings::COMMAND_RFM);

    if (!d->StartUniversalParser(spec)) return false;
    for (int i = 0; i < spec.getSubComListSize(); ++i) {
        if (!d->ReadSubcommands(spec.getSubComObj(i), i)) return false;
    }
    // The GPL blocks follow the command in the order of their GRAPHSPEC subcommands.
    for (GraphSpec* graphSpec : d->settings.GetGraphSpecs()) {
        if (graphSpec->getSource() != GraphSpec::SOURCE_INLINE) continue;
        if (!d->ReadGPL(graphSpec)) {
            ggraph::report(ggraph::kError, msg::kInlineSpecMissing);
            return false;
        }
    }
    return true;
}

bool GGraphParser::GGraphParserData::ReadSubcommands(SubComObj const* subcommand, int /*index*/) {
    std::string const name = subcommand->getSubComName();
    bool matched = false;
    for (syntaxTracker const& row : trackers) {
        syntaxTracker tracker = row;  // the count is raised on a copy and never written back
        if (KWELMBstricmp_A(tracker.keyword.c_str(), name.c_str()) != 0) continue;
        ++tracker.seenCount;
        if (tracker.maxCount != -1 &&
            static_cast<std::uint32_t>(tracker.seenCount) > static_cast<std::uint32_t>(tracker.maxCount)) {
            matched = true;
            continue;
        }
        switch (tracker.subcommandCode) {
            case 1: return HandleDataSetSubCmd(subcommand, 0);
            case 2: return HandleSpecSubCmd(subcommand, 0);
            case 3:
                if (settings.getCommandName() == GGraphSettings::COMMAND_RFM)
                    return HandleDescriptionSubCmd(subcommand, 0);
                return UnknownKeyword("GGraph", name.c_str());
            case 4: return HandleFitlineSubCmd(subcommand, 0);
            case 5: return HandleColorcycleSubCmd(subcommand, 0);
            case 6: return HandleFrameSubCmd(subcommand, 0);
            case 7: return HandleGridlinesSubCmd(subcommand, 0);
            default: matched = true; break;  // BEGINGPL: recognised and ignored
        }
    }
    if (matched) return true;
    return UnknownKeyword("GGraph", name.c_str());
}

bool GGraphParser::GGraphParserData::IsThisNextOperator(int index, int end,
                                                        SubComObj const* subcommand,
                                                        TokenSequenceBase::OperatorCode code) {
    if (index + 1 >= end) return false;
    return ggraph::isOperator(subcommand->getTokenObj(index + 1), code);
}

bool GGraphParser::GGraphParserData::UnknownKeyword(std::string const& subcommand,
                                                    char const* token) {
    ggraph::report(ggraph::kError, msg::kUnknownKeyword,
                   {subcommand, token != nullptr ? std::string(token) : std::string(" ")});
    return false;
}

bool GGraphParser::GGraphParserData::IncompleteSubcommand(std::string const& subcommand) {
    ggraph::report(ggraph::kWarning, msg::kIncompleteSubcommand, {subcommand});
    return true;
}

bool GGraphParser::GGraphParserData::MissingTrailingEqual(std::string const& subcommand,
                                                          char const* attribute) {
    ggraph::report(ggraph::kError, msg::kMissingTrailingEqual, {subcommand, attribute});
    return false;
}

bool GGraphParser::GGraphParserData::DuplicateAttribute(std::string const& subcommand,
                                                        char const* attribute) {
    ggraph::report(ggraph::kError, msg::kDuplicateAttribute, {subcommand, attribute});
    return false;
}

bool GGraphParser::GGraphParserData::NeedThreeIntegers(std::string const& subcommand,
                                                       char const* attribute) {
    ggraph::report(ggraph::kError, msg::kNeedThreeIntegers, {subcommand, attribute});
    return false;
}
