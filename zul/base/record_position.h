// zul::detail::RecordPosition: a source position that records and leak labels carry as part
// of their format, whatever line the code that writes them stands on.
#pragma once

namespace zul {
namespace detail {

/// A fixed position carried by a record or a leak label. Some records must name the same
/// file, line and function whatever the code around them looks like: log readers and leak
/// reports match on them. Such positions are part of the record format and are NOT where the
/// code stands; a source file that needs them keeps them in one table named
/// `kRecordPositions` at its top. Every other record uses the real `__FILE__` and `__LINE__`.
struct RecordPosition {
    char const* file;   ///< the source name records show
    unsigned int line;  ///< the line records show
    char const* func;   ///< the function records show; null where the record carries none
};

}  // namespace detail
}  // namespace zul
