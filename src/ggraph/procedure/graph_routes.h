#pragma once
// The data phase and the routes that turn one graph specification into output.

class FacSTDictionary;
class GGraphDataObserver;
class GGraphSettings;
class RelabelString;
class GraphSpec;
class ProcedureDataSource;
class XViZTemplate;

namespace ggraph {

struct RouteContext {
    GGraphSettings* settings;
    FacSTDictionary* dictionary;
    RelabelString* relabel = nullptr;
    // Null when the command has no data sets.
    GGraphDataObserver* observer = nullptr;
};

enum class RouteResult { Next, EndWalk };

// Runs the data passes of every data set; false when no data set has any data.
[[nodiscard]] bool runDataPhase(RouteContext& context, ProcedureDataSource& dataSource);
// Releases what the data phase made.
void endDataPhase(RouteContext& context);
// Hands one graph specification to the route its source names.
RouteResult runRoute(RouteContext& context, GraphSpec& spec, XViZTemplate& styleSheet);

}  // namespace ggraph
