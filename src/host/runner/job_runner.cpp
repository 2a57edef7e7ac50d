// The job runner. (Filled in by the runner commit.)
namespace host::runner {}
