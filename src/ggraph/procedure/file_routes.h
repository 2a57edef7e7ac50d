#pragma once
// The routes of graph specifications that take a finished thing from a file: a GPL file or a
// VizML file (which then join the chart document route), a JSON chart or JSON chart template
// with its GeoJSON files, an image, a PMML file.

#include "ggraph/procedure/graph_routes.h"

namespace ggraph {

RouteResult runGplFileRoute(RouteContext& context, GraphSpec& spec, XViZTemplate& styleSheet);
RouteResult runVizmlFileRoute(RouteContext& context, GraphSpec& spec, XViZTemplate& styleSheet);
RouteResult runVizJsonFileRoute(RouteContext& context, GraphSpec& spec);
RouteResult runVizJsonTemplateRoute(RouteContext& context, GraphSpec& spec);
RouteResult runImageFileRoute(RouteContext& context, GraphSpec& spec);
RouteResult runPmmlFileRoute(RouteContext& context, GraphSpec& spec);

}  // namespace ggraph
