#pragma once
// The entries of the command library that the host's command interpreter calls.

// GGRAPH: the tokens of the command are there to be read through KWEL_TokenSequence.
void ggraph_();
// BEGIN GPL met outside a GGRAPH command.
void begingpl_();
