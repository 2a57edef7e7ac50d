#include "host/files/file_io.h"

#include <unistd.h>

#include <cerrno>
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

ReadResult readFile(std::filesystem::path const& path) {
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
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        result.error = "file " + quoted(path) + " cannot be read: " + std::strerror(errno);
        return result;
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    if (in.bad()) {
        result.error = "reading file " + quoted(path) + " failed";
        return result;
    }
    result.bytes = std::move(bytes).str();
    result.ok = true;
    return result;
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

}  // namespace host::files
