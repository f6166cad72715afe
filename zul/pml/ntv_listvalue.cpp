// ListValue: the ordered, owned children of a value-tree node. Copying and destroying work
// from an explicit work list, so a tree of any depth costs no deep recursion.
#include <zul/base/log_seam.h>
#include <zul/pml/ntv_detail.h>
#include <zul/pml/ntv_listvalue.h>
#include <zul/pml/ntv_stringvalue.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_writer.h>

#include <ostream>
#include <string>

namespace zul {
namespace pml {
namespace ntv {

#define NTV_NEW(T, func, ...) ::zul::detail::ntvNew<T>(__FILE__, __LINE__, func, __VA_ARGS__)
#define NTV_DELETE(p, func) ::zul::detail::ntvDelete(p, __FILE__, __LINE__, func)

ListValue::ListValue(Unit* owner) : ValueBase(owner) {}

ListValue::ListValue(const Units& units, Unit* owner) : ValueBase(owner) {
    copyFrom(units, owner);
}

ListValue::~ListValue() {
    clear();
}

Unit* ListValue::at(size_t i) const {
    if (i < units_.size()) return units_[i];
    std::string text("Index too large: ");
    text += std::to_string(i);
    zul::detail::writeErrorRecord(__FILE__, __LINE__, "at", text);
    return nullptr;
}

namespace {

/// Starts fetching the cache lines of a node.
inline void prefetchNode(const Unit* u) {
    const char* p = reinterpret_cast<const char*>(u);
    for (size_t off = 0; off < sizeof(Unit); off += 64) __builtin_prefetch(p + off);
}

}  // namespace

void ListValue::clear() {
    // Children of a destroyed node are moved onto the work stack first, so destroying a
    // node never reaches further than its own (by then empty) list. The stack lives in pool
    // blocks, so a tree of any shape never needs one large piece of memory to be destroyed.
    zul::detail::PoolStack<Unit*> work;
    for (Unit* u : units_) work.push(u);
    Units().swap(units_);
    while (!work.empty()) {
        Unit* u = work.pop();
        if (u->value_ != nullptr && !u->value_->single()) {
            Units& kids = static_cast<ListValue*>(u->value_)->units_;
            for (Unit* k : kids) {
                work.push(k);
                prefetchNode(k);
            }
            kids.clear();
            u->childrenMap_.clear();
        }
        // Trees are seldom in cache: while this node goes, fetch the value of the next one
        // (whose own lines were fetched when it was pushed, or are fetched now).
        if (!work.empty()) {
            const Unit* next = work.top();
            prefetchNode(next);
            if (next->value_ != nullptr) __builtin_prefetch(next->value_);
        }
        NTV_DELETE(u, "clear");
    }
}

ValueBase* ListValue::clone() const {
    ListValue* copy = NTV_NEW(ListValue, "clone", static_cast<Unit*>(nullptr));
    try {
        copy->copyFrom(units_, nullptr);
    } catch (...) {
        NTV_DELETE(copy, "clone");
        throw;
    }
    return copy;
}

void ListValue::dump(std::ostream& os) const {
    for (const Unit* u : units_) {
        ntvToFormattedPml(*u, os, NAME | TYPE | VALUE);
        os << '\n' << std::flush;
    }
}

void ListValue::copyFrom(const Units& src, Unit* owner) {
    // One job per list still to copy: its source children, the new list and the node that
    // holds the new list. The top list's holder indexes its children itself (init).
    struct Job {
        const Units* from;
        ListValue* to;
        Unit* holder;
        bool top;
    };
    std::vector<Job> jobs;
    jobs.push_back(Job{&src, this, owner, true});
    try {
        while (!jobs.empty()) {
            Job job = jobs.back();
            jobs.pop_back();
            job.to->units_.reserve(job.from->size());
            for (size_t i = 0; i < job.from->size(); ++i) {
                const Unit* s = (*job.from)[i];
                Unit* c = NTV_NEW(Unit, "ListValue", istr(s->name_), istr(s->type_),
                                  static_cast<ValueBase*>(nullptr), job.holder);
                job.to->units_.push_back(c);  // capacity reserved: the list owns c now
                c->index_ = i;
                if (s->value_ != nullptr) {
                    if (s->value_->single()) {
                        c->value_ = StringValue::create(
                            istr(static_cast<const StringValue*>(s->value_)->data()));
                        c->value_->owner() = c;
                    } else {
                        ListValue* l = NTV_NEW(ListValue, "ListValue", c);
                        c->value_ = l;
                        jobs.push_back(
                            Job{&static_cast<const ListValue*>(s->value_)->units_, l, c, false});
                    }
                }
                if (!job.top) Unit::indexChild(job.holder->childrenMap_, c);
            }
        }
    } catch (...) {
        clear();
        throw;
    }
}

}  // namespace ntv
}  // namespace pml
}  // namespace zul
