#pragma once
// The parser's data block and the grammar functions that share it. Used only inside syntax/.

#include <string>
#include <vector>

#include "ggraph/data/ggraph_data_set.h"
#include "ggraph/model/ggraph_settings.h"
#include "ggraph/model/viz_template_mapping.h"
#include "ggraph/syntax/ggraph_parser.h"
#include "platform/tokens.h"

class FacSTDictionary;
class GGraphStatistic;
class GGraphVariable;
class GGraphVariableFilter;
class GraphSpec;
class ProcedureDataSource;

struct GGraphParser::GGraphParserData {
    GGraphParserData(ProcedureDataSource* source, FacSTDictionary* dict);
    ~GGraphParserData();

    FacSTDictionary* dictionary;
    ParserMessage message;
    std::vector<syntaxTracker> trackers;
    GGraphSettings settings;
    ProcedureDataSource* dataSource;

    // The frame.
    [[nodiscard]] bool StartUniversalParser(CommandSpec& spec);
    [[nodiscard]] bool ReadSubcommands(SubComObj const* subcommand, int index);
    bool IsThisNextOperator(int index, int end, SubComObj const* subcommand,
                            TokenSequenceBase::OperatorCode code);
    bool UnknownKeyword(std::string const& subcommand, char const* token);
    bool IncompleteSubcommand(std::string const& subcommand);
    bool MissingTrailingEqual(std::string const& subcommand, char const* attribute);
    bool DuplicateAttribute(std::string const& subcommand, char const* attribute);
    bool NeedThreeIntegers(std::string const& subcommand, char const* attribute);

    // Subcommand handlers.
    bool HandleDataSetSubCmd(SubComObj const* subcommand, int start);
    bool HandleSpecSubCmd(SubComObj const* subcommand, int start);
    bool HandleFitlineSubCmd(SubComObj const* subcommand, int start);
    bool HandleDescriptionSubCmd(SubComObj const* subcommand, int start);
    bool HandleColorcycleSubCmd(SubComObj const* subcommand, int start);
    bool HandleFrameSubCmd(SubComObj const* subcommand, int start);
    bool HandleGridlinesSubCmd(SubComObj const* subcommand, int start);

    // GRAPHDATASET's sub-grammars.
    bool parseTransform(SubComObj const* subcommand, int& cursor, int end, GGraphDataSet& dataSet);
    bool parseDataSetVariables(SubComObj const* subcommand, int& cursor, int end,
                               GGraphDataSet& dataSet);
    bool HandleVariableName(char const* name, SubComObj const* subcommand, int& cursor, int end,
                            GGraphDataSet& dataSet, std::string& rename,
                            GGraphDataSet::MEASUREMENT_LEVEL& level);
    bool parseVariableQualifiers(SubComObj const* subcommand, int& cursor, int end,
                                 std::string& name, std::string& high, std::string& low,
                                 GGraphDataSet::MEASUREMENT_LEVEL& level, GGraphDataSet& dataSet);
    bool parseStatistic(SubComObj const* subcommand, char const* functionName, int& cursor, int end,
                        GGraphStatistic* statistic, std::string const& dataSetName,
                        GGraphDataSet& dataSet);
    bool parseDataFilterVariables(SubComObj const* subcommand, int& cursor, int end,
                                  GGraphDataSet& dataSet);
    bool HandleVariableValue(SubComObj const* subcommand, int& cursor, int end,
                             GGraphVariableFilter* filter);
    bool HandleFilterULValue(SubComObj const* subcommand, int& cursor, int end,
                             GGraphVariableFilter* filter);

    // GRAPHSPEC's sub-grammars.
    bool parseViZTemplate(SubComObj const* subcommand, int& cursor, int end, GraphSpec* spec);
    bool parseMappings(SubComObj const* subcommand, int& cursor, int end, GraphSpec* spec);

    // The inline GPL block behind the command.
    bool ReadGPL(GraphSpec* spec);

    // The checks after parsing, and the completion of template mappings.
    bool CompleteAndValidate();
    // Adds the members of the mapping's multiple-response set to the data set and lists them in
    // the mapping. The result is always empty.
    std::vector<ViZTemplateMapping> serializeMRSet(GGraphVariable* variable, GGraphDataSet* dataSet,
                                                   ViZTemplateMapping& mapping);
};

namespace ggraph {
// Keyword comparison of the grammar: case-blind.
bool isKeyword(TokenInfoObj const* token, char const* keyword);
bool isOperator(TokenInfoObj const* token, TokenSequenceBase::OperatorCode code);
}  // namespace ggraph
