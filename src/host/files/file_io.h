#pragma once
// File services of the host: where relative names lead, reading a whole file, and writing one
// so that a failure never leaves half a file behind.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

namespace host::files {

// Relative file names of a job are taken from the job file's folder. Until a job sets it, the
// current folder.
void setJobFolder(std::filesystem::path folder);
std::filesystem::path jobFolder();

// The absolute, normalised form of a name as a job writes it: surrounding blanks and one pair of
// matching quotes are removed, "~" is not expanded, and a relative name is taken from the job
// folder.
std::filesystem::path resolve(std::string_view name);

struct ReadResult {
    bool ok = false;
    std::string bytes;
    std::string error;  // why the file could not be read, naming it; empty when ok
};

// What one file a job names may hold: far more than any job, chart or image needs.
inline constexpr std::size_t kMaxFileBytes = std::size_t{512} << 20;

// Reads a whole regular file of at most `maxBytes` (no name resolution: give it a resolved
// path). Devices, FIFOs and sockets are refused without waiting on them.
ReadResult readFile(std::filesystem::path const& path, std::size_t maxBytes = kMaxFileBytes);

// The file a command fetched last, so that what is made of its text can name the file.
void noteFetched(std::filesystem::path const& path, std::string_view bytes);
// The path of the last fetched file if its text is `bytes`; empty otherwise.
std::filesystem::path fetchedFileOf(std::string_view bytes);

struct WriteResult {
    bool ok = false;
    std::string error;  // empty when ok
};

// Writes the file through a temporary beside it and renames it into place, so that the file is
// either the complete new text or what it was before.
WriteResult writeFileAtomically(std::filesystem::path const& path,
                                std::function<void(std::ostream&)> const& write);
WriteResult writeFileAtomically(std::filesystem::path const& path, std::string_view bytes);

// Reads or writes exactly `bytes` at `offset` of an open file, going on after interruptions and
// short transfers; false when the file ends first or an error stops it.
bool readAt(int fd, void* to, std::size_t bytes, std::uint64_t offset);
bool writeAt(int fd, void const* from, std::size_t bytes, std::uint64_t offset);

}  // namespace host::files
