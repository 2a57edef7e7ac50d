#pragma once
// The English message table of the host: texts by key.

#include <string>

namespace host::messages {

// The table's text for the key; a key the table lacks reads as its own text.
std::string lookUp(std::string const& key);

}  // namespace host::messages
