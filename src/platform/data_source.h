#pragma once
// The host's view of the active data. (The dictionary and case services grow here.)

struct KwelWorkspace;

class ProcedureDataSource {
public:
    ProcedureDataSource();
    ~ProcedureDataSource();
    ProcedureDataSource(ProcedureDataSource const&) = delete;
    ProcedureDataSource& operator=(ProcedureDataSource const&) = delete;

    // True when a fatal error has struck the data source.
    bool FatalError() const;
    // The work area of the card reader.
    KwelWorkspace* Workspace() const;
};
