#include "platform/data_source.h"

#include "host/syntax/current_command.h"

ProcedureDataSource::ProcedureDataSource() = default;
ProcedureDataSource::~ProcedureDataSource() = default;

bool ProcedureDataSource::FatalError() const { return false; }

// The card reader works on the lines of the job the runner is executing.
KwelWorkspace* ProcedureDataSource::Workspace() const { return host::syntax::currentWorkspace(); }
