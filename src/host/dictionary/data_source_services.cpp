// The platform's data sources, iterators and dataset handles over the host's datasets.
#include "platform/data_source.h"

#include <fmt/format.h>

#include "host/dictionary/dataset.h"
#include "host/dictionary/registry.h"
#include "host/output/document.h"
#include "host/dictionary/remote_source.h"

namespace hd = host::dictionary;

namespace {

// Each split group is a chart of its own, and each chart holds its own scene and fonts: past
// this many groups a job runs out of memory long before anyone could read the charts, so the
// split is set aside and the cases are drawn together.
constexpr std::size_t kMaxSplitGroups = 1000;

bool tooManyGroups(KWEL_DataSource::Data const& data) {
    if (data.split.empty())
        return false;
    // The groups are computed on the dataset itself, so that later iterators reuse them.
    return hd::splitGroups(const_cast<KWEL_DataSource::Data&>(data))->ends.size() > kMaxSplitGroups;
}

// All cases as one group, with a warning once per command and dataset.
std::shared_ptr<ProcDSIterator::Groups const> oneGroup(KWEL_DataSource::Data const& data,
                                                       std::size_t groupCount) {
    static std::pair<void const*, int> reported{nullptr, -1};
    auto& document = host::output::current();
    if (reported != std::make_pair(static_cast<void const*>(&data), document.currentLine())) {
        reported = {&data, document.currentLine()};
        document.addMessage(
            2, fmt::format("SPLIT FILE makes {} groups, more than the {} charts one command may "
                           "make; the split is set aside and the cases are drawn together.",
                           groupCount, kMaxSplitGroups));
    }
    auto all = std::make_shared<ProcDSIterator::Groups>();
    if (data.cases > 0)
        all->ends.push_back(data.cases);
    return all;
}

}  // namespace

// ---- KWEL_DataSource

KWEL_DataSource::KWEL_DataSource() : d_(std::make_shared<Data>()) {}
KWEL_DataSource::KWEL_DataSource(std::shared_ptr<Data> data)
    : d_(data ? std::move(data) : std::make_shared<Data>()) {}
KWEL_DataSource::~KWEL_DataSource() = default;

int KWEL_DataSource::FindVarIndex(char const* name, int) const {
    return name ? hd::findVariable(*d_, name) : -1;
}

KWEL_Variable* KWEL_DataSource::GetVariable(int index) const {
    if (index < 0 || static_cast<std::size_t>(index) >= d_->variables.size())
        return nullptr;
    return d_->variables[static_cast<std::size_t>(index)].get();
}

int KWEL_DataSource::ColumnCount() const {
    return static_cast<int>(d_->variables.size());
}

std::int64_t KWEL_DataSource::CaseCount() const {
    return d_->cases;
}

KWEL_InputCaseIterator* KWEL_DataSource::CreateInputCaseIterator(int) const {
    if (d_ && d_->remote)
        return d_->remote->createIterator(d_);
    return new ProcDSIterator(d_);
}

int KWEL_DataSource::SplitVariableCount() const {
    return tooManyGroups(*d_) ? 0 : static_cast<int>(d_->split.size());
}

int KWEL_DataSource::SplitVariableIndex(unsigned position) const {
    return position < d_->split.size() ? d_->split[position] : -1;
}

int KWEL_DataSource::GetWeightVarIndex() const {
    return d_->weight;
}

// ---- Iterators

KWEL_InputCaseIterator::~KWEL_InputCaseIterator() = default;

ProcDSIterator::ProcDSIterator(std::shared_ptr<KWEL_DataSource::Data const> data)
    : data_(std::move(data)) {
    // The groups are computed on the dataset itself, so that later iterators reuse them.
    groups_ = hd::splitGroups(const_cast<KWEL_DataSource::Data&>(*data_));
    if (groups_->ends.size() > kMaxSplitGroups)
        groups_ = oneGroup(*data_, groups_->ends.size());
}

ProcDSIterator::~ProcDSIterator() = default;

void ProcDSIterator::rebind(std::shared_ptr<KWEL_DataSource::Data const> data) {
    data_ = std::move(data);
    groups_ = hd::splitGroups(const_cast<KWEL_DataSource::Data&>(*data_));
    position_ = -1;
    group_ = 0;
    groupEnd_ = false;
    ended_ = false;
}

int ProcDSIterator::NextCase() {
    if (ended_)
        return 0;
    if (groupEnd_) {
        groupEnd_ = false;
        ++group_;
    }
    if (group_ >= groups_->ends.size()) {
        ended_ = true;
        position_ = -1;
        return 0;
    }
    std::int64_t const next = position_ + 1;
    if (next >= groups_->ends[group_]) {
        groupEnd_ = true;  // the cells stay those of the group's last case
        return 1;
    }
    position_ = next;
    return 1;
}

std::int64_t ProcDSIterator::CaseNumber() {
    if (position_ < 0)
        return 0;
    auto const& order = groups_->order;
    return (order.empty() ? position_ : order[static_cast<std::size_t>(position_)]) + 1;
}

std::int64_t ProcDSIterator::CurrentRow() const {
    if (position_ < 0) return -1;
    auto const& order = groups_->order;
    return order.empty() ? position_ : order[static_cast<std::size_t>(position_)];
}

std::int64_t ProcDSIterator::StepWithinGroup(std::int64_t most, std::int64_t& first) {
    first = position_ + 1;
    if (ended_ || groupEnd_ || position_ < 0 || most <= 0 || group_ >= groups_->ends.size())
        return 0;
    std::int64_t const left = groups_->ends[group_] - first;
    std::int64_t const count = std::max<std::int64_t>(0, std::min(left, most));
    position_ += count;
    return count;
}

bool ProcDSIterator::InFileOrder() const {
    return groups_->order.empty();
}

std::int64_t ProcDSIterator::RowAt(std::int64_t position) const {
    auto const& order = groups_->order;
    return order.empty() ? position : order[static_cast<std::size_t>(position)];
}

OBS const* ProcDSIterator::GetObsPointer(unsigned int index) const {
    if (position_ < 0 || index >= data_->variables.size())
        return nullptr;
    auto const& order = groups_->order;
    auto const row = static_cast<std::size_t>(
        order.empty() ? position_ : order[static_cast<std::size_t>(position_)]);
    auto const& variable = data_->variables[index]->hostData();
    return data_->columns[index].data() +
           row * static_cast<std::size_t>(hd::cellsPerValue(variable));
}

// ---- Named datasets

UserCaseFileSpec::UserCaseFileSpec() = default;
UserCaseFileSpec::~UserCaseFileSpec() = default;

bool UserCaseFileSpec::Init(std::string const& handle, bool, bool) {
    handle_ = handle;
    auto const active = hd::activeDataset();
    if (handle.empty() || handle == "*" ||
        (!active->name.empty() && hd::equalsNoCase(active->name, handle))) {
        working_ = true;
        valid_ = true;
        return true;
    }
    working_ = false;
    valid_ = hd::findDataset(handle) != nullptr;
    return valid_;
}

bool UserCaseFileSpec::IsWorkingFile() const {
    return working_;
}

UserInputCaseFile::UserInputCaseFile(UserCaseFileSpec const& spec, ProcedureDataSource*)
    : source_(std::make_unique<KWEL_DataSource>(
          spec.IsWorkingFile() ? hd::activeDataset() : hd::findDataset(spec.Handle()))) {}

UserInputCaseFile::~UserInputCaseFile() = default;

KWEL_DataSource* UserInputCaseFile::DataSource() {
    return source_.get();
}

// ---- Sets

VariableSets::VariableSets(KWEL_DataSource const& source, VarSetsType) {
    // Multiple-response sets are the only sets this host keeps, so both kinds list the same.
    if (source.hostData())
        assign(source.hostData()->sets.begin(), source.hostData()->sets.end());
}
