// Text operations of the local code page (UTF-8): ASCII letters fold, other bytes stand.
#include "platform/host_procedure.h"

#include <cstring>

namespace {
unsigned char fold(unsigned char c) { return (c >= 'a' && c <= 'z') ? c - 'a' + 'A' : c; }
}  // namespace

int KWELMBstricmp_A(char const* a, char const* b) {
    if (a == nullptr || b == nullptr) return a == b ? 0 : (a == nullptr ? -1 : 1);
    for (;; ++a, ++b) {
        unsigned char ca = fold(static_cast<unsigned char>(*a));
        unsigned char cb = fold(static_cast<unsigned char>(*b));
        if (ca != cb) return ca < cb ? -1 : 1;
        if (ca == 0) return 0;
    }
}

int KWELMBstrnicmp_A(char const* a, char const* b, std::size_t n) {
    if (a == nullptr || b == nullptr) return a == b ? 0 : (a == nullptr ? -1 : 1);
    for (std::size_t i = 0; i < n; ++i) {
        unsigned char ca = fold(static_cast<unsigned char>(a[i]));
        unsigned char cb = fold(static_cast<unsigned char>(b[i]));
        if (ca != cb) return ca < cb ? -1 : 1;
        if (ca == 0) return 0;
    }
    return 0;
}

char* KWELMBstrupr_A(char* text) {
    if (text == nullptr) return text;
    for (char* p = text; *p; ++p) *p = static_cast<char>(fold(static_cast<unsigned char>(*p)));
    return text;
}

char* KWELMBstrstr_A(char const* haystack, char const* needle) {
    if (haystack == nullptr || needle == nullptr) return nullptr;
    return const_cast<char*>(std::strstr(haystack, needle));
}

void KWELMBCopyToFixed_A(char* dest, int destLength, char const* source, int sourceLength) {
    if (dest == nullptr || destLength <= 0) return;
    int n = sourceLength < destLength ? sourceLength : destLength;
    if (n < 0) n = 0;
    if (n > 0 && source != nullptr) std::memcpy(dest, source, static_cast<std::size_t>(n));
    if (n < destLength) std::memset(dest + n, ' ', static_cast<std::size_t>(destLength - n));
}
