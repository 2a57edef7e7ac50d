#pragma once
// The short description table of the RFM flavour, put out after the graphs.

class BpHeading;

namespace ggraph {

// Makes the table for a smart-help value from 1 to 4; any other value makes none.
void printDescriptionTable(BpHeading& procedure, int smartHelp);

}  // namespace ggraph
