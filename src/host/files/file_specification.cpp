// Checks a file name of the command against the file system.
#include "platform/host_procedure.h"

#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include "host/files/file_io.h"

// `flags` selects nothing in this host: every check is made for every name. A name that does not
// resolve (empty, or whose full form does not fit the buffer) gives exists 0, an empty fullName
// and length 0. A missing file still gets its full name, so that a message can show it.
void ValidateFileSpecificationEx(char const* name, int length, int /*flags*/, char* fullName,
                                 int& exists, int& sizeKiB, int& isRegular, int& isReadable,
                                 int& fullNameLength) {
    exists = 0;
    sizeKiB = 0;
    isRegular = 0;
    isReadable = 0;
    fullNameLength = 0;
    if (fullName)
        fullName[0] = '\0';
    if (!name || length <= 0)
        return;

    // The name is a counted field that may also end early at a NUL.
    std::string_view text(name, ::strnlen(name, static_cast<std::size_t>(length)));
    auto path = host::files::resolve(text);
    if (path.empty())
        return;
    std::string full = path.string();
    if (full.size() >= static_cast<std::size_t>(kFileSpecBufferSize))
        return;

    if (fullName)
        std::memcpy(fullName, full.c_str(), full.size() + 1);
    fullNameLength = static_cast<int>(full.size());

    std::error_code ec;
    auto status = std::filesystem::status(path, ec);
    if (ec || !std::filesystem::exists(status))
        return;
    exists = 1;
    if (std::filesystem::is_regular_file(status)) {
        isRegular = 1;
        auto bytes = std::filesystem::file_size(path, ec);
        if (!ec) {
            auto kib = (bytes + 1023) / 1024;
            sizeKiB = kib > static_cast<std::uintmax_t>(INT_MAX) ? INT_MAX : static_cast<int>(kib);
        }
    }
    isReadable = ::access(full.c_str(), R_OK) == 0 ? 1 : 0;
}
