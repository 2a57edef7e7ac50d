// The entries of the GGRAPH command. (The procedure driver comes in the next commit.)
#include "platform/entries.h"

void ggraph_() {}
void begingpl_() {}
