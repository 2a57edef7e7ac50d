// The checks that span subcommands, run once after the parse.
#include "ggraph/model/graph_spec.h"
#include "ggraph/procedure/report.h"
#include "ggraph/syntax/ggraph_parser_data.h"
#include "ggraph/syntax/syntax_messages.h"

namespace msg = ggraph::syntax_messages;

bool GGraphParser::GGraphParserData::CompleteAndValidate() {
    std::vector<GraphSpec*>& specs = settings.GetGraphSpecs();
    if (specs.empty()) {
        ggraph::report(ggraph::kError, msg::kNoGraphSpec);
        return false;
    }
    for (GraphSpec* spec : specs) {
        if (spec->getSource() != GraphSpec::SOURCE_VIZTEMPLATE) continue;
        // A mapping without a data set stays so while the command has none; one that names a
        // data set names one that does not exist.
        for (ViZTemplateMapping& mapping : spec->GetVIZTemplateMappings()) {
            if (!mapping.dataSetName.empty() && settings.GetDataSetCount() == 0) {
                ggraph::report(ggraph::kError, msg::kDataSetMissing, {mapping.dataSetName});
                return false;
            }
        }
        if (spec->hasViZMap()) {
            if (!spec->validateVIZMap()) {
                ggraph::report(ggraph::kError, msg::kFileNoAccess, {spec->getViZMapOrig()});
                return false;
            }
            if (spec->getAttribute().empty()) {
                ggraph::report(ggraph::kError, msg::kMapRequired);
                return false;
            }
        }
        if (spec->hasViZRefMap() && !spec->validateVIZRefMap()) {
            ggraph::report(ggraph::kError, msg::kFileNoAccess, {spec->getViZRefMapOrig()});
            return false;
        }
        if (spec->hasViZStyleSheet() && !spec->validateVIZStyleSheet()) {
            ggraph::report(ggraph::kWarning, msg::kFileNoAccess, {spec->getViZStyleSheetOrig()});
            return false;
        }
    }
    return true;
}
