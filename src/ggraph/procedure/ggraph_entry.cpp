// The two entries of the GGRAPH command: the procedure driver and BEGIN GPL on its own.
#include <cstdint>
#include <memory>
#include <string>

#include "ggraph/model/ggraph_settings.h"
#include "ggraph/model/graph_spec.h"
#include "ggraph/procedure/description_table.h"
#include "ggraph/procedure/graph_routes.h"
#include "ggraph/procedure/report.h"
#include "ggraph/syntax/ggraph_parser.h"
#include "ggraph/variables/relabel_string.h"
#include "platform/data_source.h"
#include "platform/entries.h"
#include "platform/host_procedure.h"
#include "platform/messages.h"
#include "platform/output.h"
#include "platform/tokens.h"
#include "platform/viz_template.h"

namespace {

constexpr char kUnexpectedError[] = "Unexpected Error.";
constexpr int kMessageFolder = 3;
constexpr int kProcedureKind = 2;

enum class RunEnd { Normal, NoValidCases };

// The parse, the data phase and the walk over the graph specifications: the guarded region.
RunEnd runGuarded(BpProcedure& procedure) {
    PathFactory* paths = PathFactory::getPathInstance(kMessageFolder);
    std::string const& folder = paths->getPath();
    // Owned here so that it is released on every way out, the exceptional ones included.
    auto dictionaryOwner = std::make_unique<FacSTDictionary>(folder);
    FacSTDictionary* dictionary = dictionaryOwner.get();
    std::string procedureName = "GGRAPH";
    dictionary->SetProcedure(procedureName);

    ProcedureDataSource dataSource;
    GGraphParser parser(&dataSource, dictionary);
    if (!parser.Parse() || !parser.CompleteAndValidateSyntax() || dataSource.FatalError())
        return RunEnd::Normal;
    GGraphSettings* settings = parser.GetSettings();
    RelabelString relabel;

    ggraph::RouteContext context{settings, dictionary, &relabel};
    if (settings->GetDataSetCount() >= 1) {
        if (!ggraph::runDataPhase(context, dataSource)) {
            // This end alone skips the graphs, the description table and the last debug line.
            ggraph::report(ggraph::kWarning, "There are no valid cases...");
            return RunEnd::NoValidCases;
        }
    }

    std::vector<GraphSpec*>& specs = settings->GetGraphSpecs();
    for (std::size_t i = 0; i < specs.size(); ++i) {
        GraphSpec* spec = specs[i];
        std::string styleSheetName = spec->GetVIZStyleSheet();
        std::string styleSheetFolder;
        XViZTemplate::LOCATION location = spec->GetViZStyleSheetLocation(styleSheetFolder);
        XViZTemplate styleSheet;
        styleSheet.setstyleSheetName(styleSheetName, location);
        styleSheet.setStyleSheetOrelDirectory(styleSheetFolder);
        if (ggraph::runRoute(context, *spec, styleSheet) == ggraph::RouteResult::EndWalk) break;
    }
    ggraph::endDataPhase(context);

    ggraph::printDescriptionTable(procedure, settings->getSmartHelp());
    return RunEnd::Normal;
}

}  // namespace

void ggraph_() {
    ChartBase::printDebugInfo("Starting GGraph Procedure");
    std::string context(CmaSys + kCmaSysContextOffset, 2);
    std::string title = KWELMBstricmp_A(context.c_str(), "DM") == 0 ? "RFM Analysis" : "GGraph";
    BpProcedure procedure(title, kProcedureKind);
    try {
        if (runGuarded(procedure) == RunEnd::NoValidCases) return;
    } catch (KwelGoToCaller const&) {
        // The host's own unwinding: not an unexpected error.
        throw;
    } catch (...) {
        ggraph::report(ggraph::kError, kUnexpectedError);
    }
    ChartBase::printDebugInfo("Ending GGraph Procedure");
}

void begingpl_() {
    KWEL_TokenSequence tokens(true);
    while (tokens.Next()) {
    }
    std::int64_t number = 99, show = 2, code = -4;
    backenderror_(number, show, code);
}
