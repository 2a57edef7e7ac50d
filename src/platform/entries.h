#pragma once
// The entries of the command library. C linkage for those a host or a client finds by name in
// the loaded library.

#include <string>

extern "C" {
// GGRAPH: the tokens of the command are there to be read through KWEL_TokenSequence.
void ggraph_();
// BEGIN GPL met outside a GGRAPH command.
void begingpl_();
}

// GPL text as chart XML whose description is "ggraph", completed as the command completes a
// chart with no data sets; empty when the text does not make a chart. The chart builder's
// native method and `ggraph gpl2xml` both come here.
std::string convertGPLToChartXML(std::string const& gpl);
