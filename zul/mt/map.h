// zul::mt::map: an ordered map that carries its own mutex, for per-thread records keyed by
// the owning thread (the thread registry, the call stacks) and the loggers.
#pragma once

#include <zul/base/mutex.h>

#include <cstddef>
#include <map>

namespace zul {

class dumper;

namespace mt {

/// A std::map<K,V> with a zul::Mutex. Every member takes the lock for its own work only;
/// nodes never move, so a reference to a value stays valid until its key is erased.
template <class K, class V>
class map {
  public:
    /// The underlying ordered map.
    using container_type = std::map<K, V>;

    /// An empty map.
    map() = default;
    map(map const&) = delete;
    map& operator=(map const&) = delete;

    /// The value of `k`, inserted default-constructed when missing. The lock is released
    /// before the reference is returned: using it unlocked is safe only while no other
    /// thread uses or erases the same key (each key belongs to one thread).
    V& unsafe_at(K const& k) {
        Guard_T<Mutex> lock(mutex_);
        return map_[k];
    }

    /// Calls `f(value)` on the value of `k` (inserted default-constructed when missing) with
    /// the lock held throughout, and returns what `f` returns. For work on a value that other
    /// threads may dump or inherit at the same time; `f` must not call back into this map.
    template <class F>
    decltype(auto) locked(K const& k, F&& f) {
        Guard_T<Mutex> lock(mutex_);
        return f(map_[k]);
    }

    /// Erases `k`; the number of elements erased (0 or 1).
    std::size_t erase(K const& k) {
        Guard_T<Mutex> lock(mutex_);
        return map_.erase(k);
    }

    /// True when `k` is present.
    bool contains(K const& k) const {
        Guard_T<Mutex> lock(mutex_);
        return map_.find(k) != map_.end();
    }

    /// The number of elements (a snapshot).
    std::size_t size() const {
        Guard_T<Mutex> lock(mutex_);
        return map_.size();
    }

    /// Calls `f(key, value)` for every element in key order, holding the lock throughout;
    /// `f` must not call back into this map.
    template <class F>
    void forEach(F&& f) const {
        Guard_T<Mutex> lock(mutex_);
        for (auto const& kv : map_) f(kv.first, kv.second);
    }

    /// The object "zul::mt::map": under the lock, one line per element with the key's
    /// text, " : " and the value's own dump.
    /// Defined with the dumper (zul/log/log_dumper.h), which a caller holding a dumper has.
    void dump(dumper& d) const;

  private:
    container_type map_;
    Mutex mutex_;
};

}  // namespace mt
}  // namespace zul
