#pragma once
// The routes that end in a chart document: the document is completed from the model, joined to
// the data that was collected, and sent, once, or once per split group.

#include "ggraph/procedure/graph_routes.h"

class XDocument;

namespace ggraph {

// The document of an inline graph specification, with the command's colours, frames and
// gridlines applied. The caller owns it.
XDocument* makeInlineDocument(RouteContext& context, GraphSpec& spec, XViZTemplate& styleSheet);

// Completes, joins and sends a document made by a route; deletes it when it was sent. A null or
// unmade document is passed over.
RouteResult completeAndSend(RouteContext& context, GraphSpec& spec, XDocument* document);

}  // namespace ggraph
