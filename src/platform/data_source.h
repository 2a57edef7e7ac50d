#pragma once
// The host's data sources: the active dataset and other named datasets, their variables, split
// and weight settings, and the iterators that step through their cases.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/dictionary.h"

struct KwelWorkspace;

class KWEL_InputCaseIterator;

class KWEL_DataSource {
public:
    struct Data;  // defined by the host: the dictionary and the columns of the cases

    // A source without variables or cases.
    KWEL_DataSource();
    explicit KWEL_DataSource(std::shared_ptr<Data> data);
    virtual ~KWEL_DataSource();
    KWEL_DataSource(KWEL_DataSource const&) = delete;
    KWEL_DataSource& operator=(KWEL_DataSource const&) = delete;

    // The index of the variable (names compare without regard to ASCII case), or -1.
    int FindVarIndex(char const* name, int flags) const;
    // Null for an index out of range. The source owns the variable.
    KWEL_Variable* GetVariable(int index) const;
    int ColumnCount() const;
    std::int64_t CaseCount() const;
    // A new iterator over the cases, owned by the caller; a ProcDSIterator, which steps through
    // the split groups.
    virtual KWEL_InputCaseIterator* CreateInputCaseIterator(int flags) const;
    virtual int SplitVariableCount() const;
    // -1 for a position out of range.
    virtual int SplitVariableIndex(unsigned position) const;
    // -1 when the cases are not weighted.
    int GetWeightVarIndex() const;

    // The host's record behind the source; null for an empty source.
    std::shared_ptr<Data> const& hostData() const { return d_; }

protected:
    std::shared_ptr<Data> d_;
};

class KWEL_InputCaseIterator {
public:
    virtual ~KWEL_InputCaseIterator();
    // Moves to the next step; 0 when the data has ended.
    virtual int NextCase() = 0;
    // The number of the current case, from 1 in the order of the file.
    virtual std::int64_t CaseNumber() = 0;
    // The cell of the variable at `index` in the current case, or null before the first step,
    // after the end, or for an index out of range. String values span ObsCellsForWidth cells.
    virtual OBS const* GetObsPointer(unsigned int index) const = 0;
};

// The iterator of a host data source. Every group of cases, including the only group of an
// unsplit file, is followed by one group-end step. Split groups come in the order in which their
// values first appear, as a file sorted by them would give them; within a group the cases keep
// their order. On a group-end step the cells are those of the group's last case.
class ProcDSIterator : public KWEL_InputCaseIterator {
public:
    struct Groups;  // defined by the host: the order of the cases and where each group ends

    explicit ProcDSIterator(std::shared_ptr<KWEL_DataSource::Data const> data);
    ~ProcDSIterator() override;
    int NextCase() override;
    std::int64_t CaseNumber() override;
    OBS const* GetObsPointer(unsigned int index) const override;
    bool SplitGroupEnd() const { return groupEnd_; }
    // The host's record and the row of the current case in its columns (-1 when there is no
    // current case), so that the aggregation engine reads cells without a call per variable.
    std::shared_ptr<KWEL_DataSource::Data const> const& hostData() const { return data_; }
    std::int64_t CurrentRow() const;
    // Steps over up to `most` cases after the current one within the current split group,
    // never onto the group's end; `first` is the position of the first case stepped over.
    // Gives the number of cases stepped over (0 where there is no current case).
    std::int64_t StepWithinGroup(std::int64_t most, std::int64_t& first);
    // The row in the host's columns of the case at position `position` of the iteration.
    std::int64_t RowAt(std::int64_t position) const;
    // True when the cases come in the order of the rows (no split groups to gather).
    bool InFileOrder() const;

protected:
    // Starts over on other data: for an iterator whose cases arrive only at its first step.
    void rebind(std::shared_ptr<KWEL_DataSource::Data const> data);

private:
    std::shared_ptr<KWEL_DataSource::Data const> data_;
    std::shared_ptr<Groups const> groups_;
    std::int64_t position_ = -1;  // the current step's place in the order of the groups
    std::size_t group_ = 0;
    bool groupEnd_ = false;
    bool ended_ = false;
};

// The active dataset as a procedure sees it.
class ProcedureDataSource : public KWEL_DataSource {
public:
    ProcedureDataSource();
    ~ProcedureDataSource() override;

    // True when a fatal error has struck the data source (its data could not be read).
    bool FatalError() const;
    // The work area of the card reader.
    KwelWorkspace* Workspace() const;
};

// Names a dataset by its handle.
class UserCaseFileSpec {
public:
    UserCaseFileSpec();
    ~UserCaseFileSpec();
    // False when the handle names no dataset. The handle compares without regard to ASCII case.
    [[nodiscard]] bool Init(std::string const& handle, bool forWriting, bool allowNew);
    // True when the handle names the active dataset.
    bool IsWorkingFile() const;
    std::string const& Handle() const { return handle_; }

private:
    std::string handle_;
    bool working_ = false;
    bool valid_ = false;
};

// A named dataset other than the active one, opened for reading.
class UserInputCaseFile {
public:
    UserInputCaseFile(UserCaseFileSpec const& spec, ProcedureDataSource* active);
    ~UserInputCaseFile();
    UserInputCaseFile(UserInputCaseFile const&) = delete;
    UserInputCaseFile& operator=(UserInputCaseFile const&) = delete;
    KWEL_DataSource* DataSource();

private:
    std::unique_ptr<KWEL_DataSource> source_;
};
