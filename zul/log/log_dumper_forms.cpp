// The dumper forms of types declared elsewhere: text views and wrappers, network addresses,
// source locations and call stacks, and the leak checker's report.
#include <ace/INET_Addr.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>
#include <zul/base/mlcheck.h>
#include <zul/log/log_dumper.h>
#include <zul/log/log_tracer.h>
#include <zul/util/util_func.h>

#include <map>
#include <ostream>
#include <sstream>

namespace zul {

// ---- Text types ---------------------------------------------------------------------------

dumper& rawstring::operator()(dumper& d) const {
    return d.write(text);
}

dumper& namestring::operator()(dumper& d) const {
    return d.writeName(name, qualifier);
}

void StringRef::dump(dumper& d) const {
    dumper::_Entry e(d, "zul::StringRef");
    d << indent << namestring("buffer_") << istr(buffer_, curSize_) << endline;
    d << indent << namestring("curSize_") << curSize_ << endline;
    d << indent << namestring("maxSize_") << maxSize_ << endline;
}

void StringRef::dump(std::ostream& os) const {
    // The one stream form of the library that is compact: a layout buffer is dumped inside
    // log columns, where a multi-line listing would break the record.
    dumper::Config cfg;
    cfg.compact_ = true;
    dumper d(os, cfg);
    dump(d);
}

void Bit::dump(dumper& d) const {
    d.raw(value ? "true" : "false");
}
void Byte::dump(dumper& d) const {
    d << value;
}
void Short::dump(dumper& d) const {
    d << value;
}
void Ushort::dump(dumper& d) const {
    d << value;
}
void Long::dump(dumper& d) const {
    d << value;
}
void Ulong::dump(dumper& d) const {
    d << value;
}
void Longlong::dump(dumper& d) const {
    d << value;
}

void Wchar::dump(dumper& d) const {
    String text;
    wstringToAnsi(iwstr(&value, 1), text);
    d << text;
}

// ---- Network addresses --------------------------------------------------------------------

dumper& operator<<(dumper& d, const ACE_INET_Addr& addr) {
    std::ostringstream os;
    os << addr;
    return d.raw(os.str());
}

// ---- Source locations and call stacks -----------------------------------------------------

dumper& operator<<(dumper& d, Current const& c) {
    dumper::_Entry e(d, "zul::Current");
    d << indent << namestring("_v.file()") << c.file() << endline;
    d << indent << namestring("_v.line()") << c.line() << endline;
    d << indent << namestring("_v.func()") << c.func() << endline;
    d << indent << namestring("_v.prefix()") << c.prefix() << endline;
    return d;
}

dumper& operator<<(dumper& d, CallStack const& s) {
    dumper::_Entry e(d, "zul::CallStack");
    d << indent << namestring("_v.container()") << s.container() << endline;
    d << indent << namestring("_v.separator()") << s.separator() << endline;
    return d;
}

// ---- The leak checker's report ------------------------------------------------------------

std::ostream& MemLeakChecker::dump(std::ostream& os) const {
    dumper d(os);
    dump(d);
    return os;
}

void MemLeakChecker::dump(dumper& d) const {
    dumper::_Entry e(d, "zul::MemLeakChecker");
    std::map<Current, int> sorting;
    {
        Guard_T<MemLeakMutex> lock(mtxInstance());
        if (records_.empty()) {
            d.write("\n\tCongratulations! No memory leaked.");
            return;
        }
        for (auto const& r : records_) ++sorting[r.second];
    }
    // By count, smallest first; equal counts keep the location order (multimap insertion
    // of equal keys appends).
    std::multimap<int, Current> sorted;
    for (auto const& c : sorting) sorted.emplace(c.second, c.first);
    d << indent << namestring("sorted") << sorted << endline;
    d << indent << namestring("sorting") << sorting << endline;
}

}  // namespace zul
