#pragma once
// The message table of a procedure: English texts by key.

#include <memory>
#include <string>

class FacSTDictionary {
public:
    // `folder` is the folder of the message tables (PathFactory kind 3).
    explicit FacSTDictionary(std::string const& folder);
    virtual ~FacSTDictionary();
    void SetProcedure(std::string const& procedure);
    // The table's text for the key; a key the table lacks reads as its own text.
    std::string LookUp(std::string const& key);
    // The same; `length` is accepted for the callers that pass one and plays no part.
    std::string LookUp(std::string const& key, unsigned long length);

private:
    std::string folder_;
    std::string procedure_;
};
