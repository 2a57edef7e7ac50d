#pragma once
// The data phase and the routes that turn one graph specification into output.

#include <memory>

#include "ggraph/data/ggraph_data_observer.h"

class FacSTDictionary;
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
    // Made by runDataPhase, released by endDataPhase (or with the context on any other way
    // out); null when the command has no data sets. The routes find data sets through it.
    std::unique_ptr<GGraphDataObserver> observer;
};

enum class RouteResult { Next, EndWalk };

// Runs the data passes of every data set; false when no data set has any data.
[[nodiscard]] bool runDataPhase(RouteContext& context, ProcedureDataSource& dataSource);
// Releases what the data phase made.
void endDataPhase(RouteContext& context);
// Hands one graph specification to the route its source names.
RouteResult runRoute(RouteContext& context, GraphSpec& spec, XViZTemplate& styleSheet);

}  // namespace ggraph
