#include "platform/data_source.h"

#include "host/dictionary/dataset.h"
#include "host/dictionary/registry.h"
#include "host/syntax/current_command.h"

// A procedure reads the dataset that is active when it starts.
ProcedureDataSource::ProcedureDataSource() : KWEL_DataSource(host::dictionary::activeDataset()) {}
ProcedureDataSource::~ProcedureDataSource() = default;

bool ProcedureDataSource::FatalError() const {
    return d_->fatal;
}

// The card reader works on the lines of the job the runner is executing.
KwelWorkspace* ProcedureDataSource::Workspace() const {
    return host::syntax::currentWorkspace();
}
