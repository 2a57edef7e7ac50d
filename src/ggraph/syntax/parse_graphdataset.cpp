// GRAPHDATASET: the data set a chart draws from.
#include "ggraph/syntax/ggraph_parser_data.h"

bool GGraphParser::GGraphParserData::HandleDataSetSubCmd(SubComObj const* sub, int start) {
    if (sub->getTokenListSize() == start) return IncompleteSubcommand("GRAPHDATASET");
    // The grammar of graph data sets is not read yet: the subcommand is accepted as it stands
    // and adds no data set.
    return true;
}
