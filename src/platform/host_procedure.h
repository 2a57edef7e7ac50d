#pragma once
// Procedure services of the host: the context block, error entry, debug trace, paths, text
// operations of the local code page and the name and file checks.

#include <cstddef>
#include <cstdint>
#include <string>

// The host's context block. Bytes 0..255 hold the current input card, bytes 1024..1025 the
// two-character code of the product context that runs the procedure ("DM" is the RFM flavour).
extern char* CmaSys;
inline constexpr std::size_t kCmaSysCardOffset = 0;
inline constexpr std::size_t kCmaSysCardLength = 256;
inline constexpr std::size_t kCmaSysContextOffset = 1024;
inline constexpr std::size_t kCmaSysSize = 2048;

// The host's numbered error entry; the arguments are Fortran-style references.
void backenderror_(std::int64_t& number, std::int64_t& show, std::int64_t& code);

// The host's request to unwind to its caller. It must pass through every catch-all of the
// command library; the driver catches it by value and rethrows it.
class KwelGoToCaller {
public:
    KwelGoToCaller() = default;
    explicit KwelGoToCaller(std::string reason) : reason_(std::move(reason)) {}
    std::string const& reason() const { return reason_; }

private:
    std::string reason_;
};

class ChartBase {
public:
    // Writes one line to the debug trace of the output.
    static void printDebugInfo(std::string const& line);
};

class PathFactory {
public:
    virtual ~PathFactory() = default;
    // 3 is the folder of the message tables. The host owns the returned object.
    static PathFactory* getPathInstance(int kind);
    virtual std::string const& getPath() = 0;
};

// Text operations of the local code page (UTF-8 here). ASCII letters fold; other bytes compare
// as they stand.
int KWELMBstricmp_A(char const* a, char const* b);
int KWELMBstrnicmp_A(char const* a, char const* b, std::size_t n);
char* KWELMBstrupr_A(char* text);
char* KWELMBstrstr_A(char const* haystack, char const* needle);
// Copies sourceLength bytes of source into a blank-padded field of destLength bytes.
void KWELMBCopyToFixed_A(char* dest, int destLength, char const* source, int sourceLength);

// Classifies a text as a name of the command language: 0 a plain name, 1 a name starting with
// '$' (a system or set name), 2 a name starting with '#' (scratch), 100 a name starting with
// '@'. Negative values reject the text: -1 empty, -2 longer than 64 bytes, -3 no letter first
// (behind the prefix), -4 a character a name cannot hold, -5 ends in a period, -6 a reserved
// word (ALL AND BY EQ GE GT LE LT NE NOT OR TO WITH).
int ValidateKWELName(char const* text);

// Resolves a file name (relative names against the job file's folder). On success `exists` is
// not 0 and `fullName` holds the absolute, NUL-terminated name; the other out-parameters carry
// the file size in KiB, whether it is a regular file, whether it is readable and the length of
// the full name.
void ValidateFileSpecificationEx(char const* name, int length, int flags, char* fullName,
                                 int& exists, int& sizeKiB, int& isRegular, int& isReadable,
                                 int& fullNameLength);
inline constexpr int kFileSpecBufferSize = 10000;
