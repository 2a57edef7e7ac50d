#pragma once
// The route of a stored template: the template service fills the template's slots with the
// MAPPING and gives chart XML, which then joins the chart document route.

#include "ggraph/procedure/graph_routes.h"

namespace ggraph {

RouteResult runVizTemplateRoute(RouteContext& context, GraphSpec& spec);

}  // namespace ggraph
