#pragma once
// The registry functions that fit curves and shapes to a group's points: polynomial, loess,
// spline and step smoothers, kernel densities, dot-plot stacks, and links (the hull, the
// spanning tree, joins and the sequence). The numbers come from smoothers.h, density.h,
// links.h and point_layout.h.

#include <string>

#include "host/chart/stats/registry.h"

namespace host::chart {

void polynomialSmooth(StatContext const& c, Group const& g, Layer& out);
void loessSmooth(StatContext const& c, Group const& g, Layer& out);
void splineSmooth(StatContext const& c, Group const& g, Layer& out);
void stepSmooth(StatContext const& c, Group const& g, Layer& out);
void kernelDensityCurve(StatContext const& c, Group const& g, Layer& out);
void dotBins(StatContext const& c, Group const& g, Layer& out);
void hullLink(StatContext const& c, Group const& g, Layer& out);
void edgeLinks(StatContext const& c, Group const& g, Layer& out);

// A fit of the document's fit-line templates ("linear", "quadratic", "cubic", "loess") over
// points: the curve and its R squared. False when the points cannot carry the fit.
bool templateFit(std::string const& type, std::vector<double> const& x,
                 std::vector<double> const& y, std::vector<std::pair<double, double>>& curve,
                 double& rSquared);

}  // namespace host::chart
