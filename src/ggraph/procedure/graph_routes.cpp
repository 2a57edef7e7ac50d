#include "ggraph/procedure/graph_routes.h"

#include <string>

#include "ggraph/data/ggraph_data_observer.h"
#include "ggraph/model/ggraph_settings.h"
#include "ggraph/procedure/chart_document_route.h"
#include "ggraph/procedure/file_routes.h"
#include "ggraph/model/graph_spec.h"
#include "ggraph/procedure/viz_template_route.h"

namespace ggraph {

bool runDataPhase(RouteContext& context, ProcedureDataSource& dataSource) {
    context.observer = std::make_unique<GGraphDataObserver>(*context.settings, &dataSource);
    return context.observer->populateData(*context.relabel);
}

void endDataPhase(RouteContext& context) { context.observer.reset(); }

RouteResult runRoute(RouteContext& context, GraphSpec& spec, XViZTemplate& styleSheet) {
    switch (spec.getSource()) {
        case GraphSpec::SOURCE_INLINE:
            return completeAndSend(context, spec, makeInlineDocument(context, spec, styleSheet));
        case GraphSpec::SOURCE_GPLFILE: return runGplFileRoute(context, spec, styleSheet);
        case GraphSpec::SOURCE_VIZMLFILE: return runVizmlFileRoute(context, spec, styleSheet);
        case GraphSpec::SOURCE_IMAGEFILE: return runImageFileRoute(context, spec);
        case GraphSpec::SOURCE_PMMLFILE: return runPmmlFileRoute(context, spec);
        case GraphSpec::SOURCE_VIZTEMPLATE: return runVizTemplateRoute(context, spec);
        case GraphSpec::SOURCE_VIZJSONFILE: return runVizJsonFileRoute(context, spec);
        case GraphSpec::SOURCE_VIZJSONTEMPLATE: return runVizJsonTemplateRoute(context, spec);
    }
    // A source outside the known ones is passed over without a message.
    return RouteResult::Next;
}

}  // namespace ggraph
