// Small helpers over text: bounded C strings, printable names of characters, error texts,
// network byte order, application paths and the INI file writer. The memory and character
// class helpers they build on come with zul/base/char_memory.h.
#pragma once

#include <ace/INET_Addr.h>
#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/base/char_memory.h>
#include <zul/platform/app_paths.h>

#include <cstddef>
#include <iosfwd>
#include <string>

namespace zul {

// ---- Bounded NUL-terminated strings (a bound of istr::npos means: no bound) -------------

/// Copies `n` characters of `src` (all of it for npos; none for null) into `dst`, which
/// needs room for them and a terminator. Returns `dst`; null `dst` returns null.
ZUL_API char* StrCopy(char* dst, const char* src, size_t n = istr::npos);

/// Compares at most `n` characters; a null or empty text sorts before any other text and
/// equals another empty one. The same pointer twice compares equal.
ZUL_API int StrCmp(const char* a, const char* b, size_t n = istr::npos, bool ignoreCase = false);

/// Compares two non-null texts with no null checks (strcmp/strncmp, or a case-blind walk).
ZUL_API int StrCmpUnsafe(const char* a, const char* b, size_t n, bool ignoreCase);

/// Compares at most `n` characters of two views; views at the same address are equal
/// whatever their sizes. On a tie of the compared part the shorter view is smaller.
ZUL_API int StrCmp(istr a, istr b, size_t n = istr::npos, bool ignoreCase = false);

/// True when `s` starts with `prefix`; an empty prefix always matches.
ZUL_API bool StrBeginWith(const char* s, istr prefix);

/// Upper-cases `p` in place up to its NUL or `n` characters; returns `p`.
ZUL_API char* StrToUpper(char* p, size_t n = istr::npos);
/// Lower-cases `p` in place up to its NUL or `n` characters; returns `p`.
ZUL_API char* StrToLower(char* p, size_t n = istr::npos);

/// True for a non-empty text of decimal digits only.
ZUL_API bool StrIsAllDigits(const char* p);

///@{

/// Erases trailing white space (CharIsSpace).
ZUL_API void StrTrimRight(std::string& s);
ZUL_API void StrTrimRight(std::wstring& s);
///@}

///@{

/// Removes one enclosing pair of `c` (first and last character, at least two characters)
/// when there is one.
ZUL_API void trimLeftRight(std::string& s, char c);
ZUL_API void trimLeftRight(std::wstring& s, wchar_t c);
///@}

/// True when `c` occurs in `set`; the terminator counts, so '\0' is in every set.
ZUL_API bool CharIn(char c, const char* set);

/// The upper-case hex digit of the low four bits of `v`.
ZUL_API char HexToChar(unsigned char v);
/// The value 0-15 of a hex digit (either case), or 255 for any other character.
ZUL_API unsigned char HexFromChar(char c);

///@{

/// Address of character `i` of `p` (i == size addresses the terminator); throws
/// zul::OutOfRangeException (recorded first) for a null `p` or i > size.
ZUL_API char* CharAt(char* p, size_t size, size_t i);
ZUL_API unsigned char* CharAt(unsigned char* p, size_t size, size_t i);
///@}

///@{

/// As above, but out of range it returns the address of a shared NUL instead of throwing.
ZUL_API const char* CharAt(const char* p, size_t size, size_t i);
ZUL_API const unsigned char* CharAt(const unsigned char* p, size_t size, size_t i);
///@}

/// Writes `s`, or "<null>" for a null pointer.
ZUL_API std::ostream& Print(std::ostream& os, const char* s);
/// Writes `c` readably: as itself when printable, codes 0-31 by name ("<NUL>", "^A", ...),
/// anything else as '\' and its octal code.
ZUL_API std::ostream& Print(std::ostream& os, char c);

///@{

/// `p`, or the text "<null>" (static storage) for a null pointer.
ZUL_API const char* SafeStr(const char* p);
ZUL_API const unsigned char* SafeStr(const unsigned char* p);
///@}

// ---- Process and system -------------------------------------------------------------------

/// The value of environment variable `name`; empty for a null name or an unset variable.
/// Code inside namespace zul that wants the C function must write ::getenv.
ZUL_API String getenv(const char* name);

/// Blocks the calling thread for `ms` milliseconds (an interrupted sleep is not resumed).
ZUL_API void sleep(unsigned long ms);

/// The calling thread's errno.
ZUL_API int getLastErrno();
/// getLastErrorMsg(errno).
ZUL_API String getLastErrorMsg();
/// "(e) " followed by the system's text for `e`; leaves errno as it was.
ZUL_API String getLastErrorMsg(int e);

/// `name` with every run of '.' and ':' replaced by one '.' (a::b::c gives a.b.c).
ZUL_API String normalizeName(const istr& name);

/// The application's shutdown announcement: a process-wide flag that is never cleared.
/// The library does not consult it; components that poll it may.
struct ZUL_API System {
    /// Announces the shutdown; closing() is true from then on.
    static void close();
    /// True once close() was called, on any thread.
    static bool closing();
};

/// Writes the address as host text, ':' and the port in decimal.
ZUL_API std::ostream& operator<<(std::ostream& os, const ACE_INET_Addr& addr);
/// Writes the same text, unquoted, through a dumper.
ZUL_API dumper& operator<<(dumper& d, const ACE_INET_Addr& addr);

// ---- Network byte order -------------------------------------------------------------------

/// N bytes holding an integer in network order (most significant byte first).
template <size_t N>
struct octets {
    unsigned char bytes[N];  ///< most significant first

    ///@{

    /// Byte `i`, 0 being the most significant; `i` must be below N.
    unsigned char& operator[](size_t i) { return bytes[i]; }
    const unsigned char& operator[](size_t i) const { return bytes[i]; }
    ///@}

    /// N.
    static constexpr size_t size() { return N; }
    ///@{

    /// Byte-wise equality.
    friend bool operator==(const octets& a, const octets& b) {
        for (size_t i = 0; i < N; ++i)
            if (a.bytes[i] != b.bytes[i]) return false;
        return true;
    }
    friend bool operator!=(const octets& a, const octets& b) { return !(a == b); }
    ///@}
};

///@{

/// `v` as 2, 4 or 8 bytes in network order; the 4-byte form keeps only the low 32 bits.
ZUL_API octets<2> hton(unsigned short v);
ZUL_API octets<4> hton(unsigned long v);
ZUL_API octets<8> hton(unsigned long long v);
///@}

///@{

/// The integer that the 2, 4 or 8 bytes of `o` hold in network order.
ZUL_API unsigned short ntoh(octets<2> o);
ZUL_API unsigned long ntoh(octets<4> o);
ZUL_API unsigned long long ntoh(octets<8> o);
///@}

/// The IPv4 address of a NUL-terminated dotted text, in network order in the low 32 bits;
/// all 32 bits set for text that is not an address.
ZUL_API unsigned long ip_aton(const istr& text);
/// The dotted-quad text of the low 32 bits of `a`, taken in network order.
ZUL_API String ip_ntoa(unsigned long a);

// ---- Application paths and file copy (UTF-8). setApplicationName() names the per-user folder.

/// The application's resource folder: the folder of the running executable. Cached by the
/// first call that finds it; empty when it cannot be found.
ZUL_API String getProgramDir();
/// The application's own per-user folder: getApplicationConfigPath() joined with the
/// application's name. Cached by the first call that finds it; empty when no home is known.
ZUL_API String getApplicationSupportPath();
/// The per-user application-data folder ($XDG_DATA_HOME, or ~/.local/share), not cached.
ZUL_API String getApplicationConfigPath();
/// The certificate file: getApplicationSupportPath() + "/cert/" followed by the relative path
/// of the first regular file named *.pem or *.PEM found below it (depth first, names in byte
/// order, links to folders not followed); the folder path ending in "cert/" when there is none,
/// and empty when getApplicationSupportPath() is.
ZUL_API String getCertFullPath();
/// Copies the file `source` into `directory` under `name` (under the source's own file name
/// when `name` is not valid UTF-8), replacing a file of that name all at once; the copy takes
/// the source's permissions. False, with nothing written, when `source` or `directory` is
/// empty or not UTF-8, the source is missing, unreadable or not a regular file, or the write
/// fails (an empty `name` names the folder itself, so the write fails).
ZUL_API bool copyFileToDirectory(const std::string& source, const std::string& directory,
                                 const std::string& name);

// ---- INI files. Each classifier looks at the line without leading and trailing white space.

/// The line begins with "[" and ends with "]".
ZUL_API bool isSectionString(const std::string& line);
/// The line begins with ";" or ends with "#".
ZUL_API bool isCommentString(const std::string& line);
/// The line contains "=".
ZUL_API bool isKeyValueString(const std::string& line);
/// A section line that contains `name` anywhere (so [alpha] matches "ph").
ZUL_API bool isSection(const std::string& line, const std::string& name);
/// "name=value" when the trimmed line holds "=" and the text before its first "=" is exactly
/// `name` (not trimmed: "port = 1" is not key "port"); otherwise the trimmed line.
ZUL_API String modifyKeyValueStringWithName(const std::string& name, const std::string& value,
                                            const std::string& line);

/// Sets `key` to `value` in section `section` of the existing INI file `path`, which is read
/// and written in Windows code page 1250; every other line is kept. Key lines of the target
/// section (a section line containing the name) are written trimmed, the matching one as
/// "key=value"; a missing key is added at the end of the section. A file without the section
/// is rewritten unchanged. Line endings are kept: a last line without a newline stays so, and
/// no empty line is added. A line longer than 511 bytes is copied through unchanged and
/// takes no part in the search. The file is replaced all at once, keeping its permissions.
/// False, with the file unchanged, when section, key or path is empty, an argument is not
/// UTF-8, the file is missing, not a regular file, read-only (even for root) or not
/// writable, a line is not valid CP1250, a written line has no CP1250 form or exceeds 511
/// bytes, or the new file cannot be written.
ZUL_API bool writeStringToIniFileWithSection(const std::string& section, const std::string& key,
                                             const std::string& value, const std::string& path);

}  // namespace zul
