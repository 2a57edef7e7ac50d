#pragma once
// Base64 (RFC 4648, with padding), for data URIs in the output.

#include <string>
#include <string_view>

namespace host::files {

std::string base64(std::string_view bytes);

}  // namespace host::files
