#include "platform/messages.h"

#include <string>
#include <utility>

#include "host/messages/string_table.h"

// One English table serves every procedure and folder, so neither changes a lookup; both are kept
// so that a second language or a per-procedure table can be added behind the same calls.
FacSTDictionary::FacSTDictionary(std::string const& folder) : folder_(folder) {}

FacSTDictionary::~FacSTDictionary() = default;

void FacSTDictionary::SetProcedure(std::string const& procedure) {
    procedure_ = procedure;
}

std::string FacSTDictionary::LookUp(std::string const& key) {
    return host::messages::lookUp(key);
}

std::string FacSTDictionary::LookUp(std::string const& key, unsigned long /*length*/) {
    return host::messages::lookUp(key);
}
