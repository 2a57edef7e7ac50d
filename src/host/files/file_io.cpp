#include "host/files/file_io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <ostream>
#include <sstream>
#include <system_error>
#include <utility>

namespace host::files {
namespace {

std::filesystem::path& jobFolderSetting() {
    static std::filesystem::path folder;
    return folder;
}

std::string quoted(std::filesystem::path const& path) {
    return "\"" + path.string() + "\"";
}

char const* kindOf(mode_t mode) {
    if (S_ISFIFO(mode)) return "a FIFO";
    if (S_ISCHR(mode)) return "a character device";
    if (S_ISBLK(mode)) return "a block device";
    if (S_ISSOCK(mode)) return "a socket";
    return "not a plain file";
}

std::string sizeText(std::uint64_t bytes) {
    if (bytes >= (std::uint64_t{1} << 20))
        return std::to_string(bytes >> 20) + " MB";
    return std::to_string(bytes) + " bytes";
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

}  // namespace

void setJobFolder(std::filesystem::path folder) {
    jobFolderSetting() = std::move(folder);
}

std::filesystem::path jobFolder() {
    auto const& folder = jobFolderSetting();
    if (!folder.empty())
        return folder;
    std::error_code ec;
    auto current = std::filesystem::current_path(ec);
    return ec ? std::filesystem::path("/") : current;
}

std::filesystem::path resolve(std::string_view name) {
    while (!name.empty() && isBlank(name.front())) name.remove_prefix(1);
    while (!name.empty() && isBlank(name.back())) name.remove_suffix(1);
    if (name.size() >= 2 && (name.front() == '"' || name.front() == '\'') &&
        name.back() == name.front()) {
        name = name.substr(1, name.size() - 2);
    }
    if (name.empty())
        return {};
    std::filesystem::path path{std::string(name)};
    if (path.is_relative()) {
        auto folder = jobFolder();
        if (folder.is_relative()) {
            std::error_code ec;
            folder = std::filesystem::absolute(folder, ec);
        }
        path = folder / path;
    }
    return path.lexically_normal();
}

ReadResult readFile(std::filesystem::path const& path, std::size_t maxBytes) {
    ReadResult result;
    std::error_code ec;
    auto status = std::filesystem::status(path, ec);
    if (ec || !std::filesystem::exists(status)) {
        result.error = "file " + quoted(path) + " does not exist";
        return result;
    }
    if (std::filesystem::is_directory(status)) {
        result.error = quoted(path) + " is a folder, not a file";
        return result;
    }
    // Not blocking: opening a FIFO for reading would wait for a writer that may never come.
    int const fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        result.error = "file " + quoted(path) + " cannot be read: " + std::strerror(errno);
        return result;
    }
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } closer{fd};
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        result.error = "file " + quoted(path) + " cannot be read: " + std::strerror(errno);
        return result;
    }
    // A device or a pipe has no end to read to.
    if (!S_ISREG(info.st_mode)) {
        result.error = "file " + quoted(path) + " is not a regular file (" + kindOf(info.st_mode) + ")";
        return result;
    }
    if (static_cast<std::uint64_t>(info.st_size) > maxBytes) {
        result.error = "file " + quoted(path) + " is too large: " + sizeText(info.st_size) +
                       ", at most " + sizeText(maxBytes) + " are read";
        return result;
    }
    std::string bytes;
    bytes.reserve(static_cast<std::size_t>(info.st_size));
    char buffer[1 << 16];
    for (;;) {
        ssize_t const n = ::read(fd, buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            result.error = "reading file " + quoted(path) + " failed: " + std::strerror(errno);
            return result;
        }
        if (n == 0)
            break;
        // The file may grow while it is read.
        if (bytes.size() + static_cast<std::size_t>(n) > maxBytes) {
            result.error = "file " + quoted(path) + " is too large: more than " +
                           sizeText(maxBytes) + " are not read";
            return result;
        }
        bytes.append(buffer, static_cast<std::size_t>(n));
    }
    result.bytes = std::move(bytes);
    result.ok = true;
    return result;
}

namespace {
struct Fetched {
    std::filesystem::path path;
    std::size_t size = 0;
    std::size_t hash = 0;
};
Fetched& lastFetched() {
    static Fetched fetched;
    return fetched;
}
}  // namespace

void noteFetched(std::filesystem::path const& path, std::string_view bytes) {
    lastFetched() = {path, bytes.size(), std::hash<std::string_view>{}(bytes)};
}

std::filesystem::path fetchedFileOf(std::string_view bytes) {
    auto const& last = lastFetched();
    if (last.path.empty() || last.size != bytes.size() ||
        last.hash != std::hash<std::string_view>{}(bytes))
        return {};
    return last.path;
}

WriteResult writeFileAtomically(std::filesystem::path const& path,
                                std::function<void(std::ostream&)> const& write) {
    WriteResult result;
    auto temporary = path;
    temporary += ".tmp-" + std::to_string(::getpid());
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        if (!out) {
            result.error = "cannot write " + quoted(path) + ": " + std::strerror(errno);
            return result;
        }
        try {
            write(out);
        } catch (std::exception const& e) {
            out.close();
            std::error_code ignored;
            std::filesystem::remove(temporary, ignored);
            result.error = "writing " + quoted(path) + " failed: " + e.what();
            return result;
        }
        out.flush();
        if (!out) {
            out.close();
            std::error_code ignored;
            std::filesystem::remove(temporary, ignored);
            result.error = "writing " + quoted(path) + " failed (disk full?)";
            return result;
        }
    }
    std::error_code ec;
    std::filesystem::rename(temporary, path, ec);
    if (ec) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        result.error = "cannot put " + quoted(path) + " in place: " + ec.message();
        return result;
    }
    result.ok = true;
    return result;
}

WriteResult writeFileAtomically(std::filesystem::path const& path, std::string_view bytes) {
    return writeFileAtomically(path, [bytes](std::ostream& out) {
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    });
}

namespace {

// `transfer(done)` moves what it can of the rest and says how much.
template <class Transfer>
bool transferAll(std::size_t bytes, Transfer transfer) {
    std::size_t done = 0;
    while (done < bytes) {
        ssize_t const moved = transfer(done);
        if (moved < 0 && errno == EINTR)
            continue;
        if (moved <= 0)
            return false;
        done += static_cast<std::size_t>(moved);
    }
    return true;
}

}  // namespace

bool readAt(int fd, void* to, std::size_t bytes, std::uint64_t offset) {
    return transferAll(bytes, [&](std::size_t done) {
        return ::pread(fd, static_cast<char*>(to) + done, bytes - done,
                       static_cast<off_t>(offset + done));
    });
}

bool writeAt(int fd, void const* from, std::size_t bytes, std::uint64_t offset) {
    return transferAll(bytes, [&](std::size_t done) {
        return ::pwrite(fd, static_cast<char const*>(from) + done, bytes - done,
                        static_cast<off_t>(offset + done));
    });
}

}  // namespace host::files
