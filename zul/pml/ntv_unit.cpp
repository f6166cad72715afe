// Unit: the node of the value tree (names, values, children, lookups, paths, copies).
#include <zul/base/log_seam.h>
#include <zul/pml/ntv_detail.h>
#include <zul/pml/ntv_listvalue.h>
#include <zul/pml/ntv_stringvalue.h>
#include <zul/pml/ntv_unit.h>
#include <zul/util/singleton_T.h>

#include <algorithm>
#include <stdexcept>

namespace zul {
namespace pml {
namespace ntv {

#define NTV_NEW(T, func, ...) ::zul::detail::ntvNew<T>(__FILE__, __LINE__, func, __VA_ARGS__)
#define NTV_DELETE(p, func) ::zul::detail::ntvDelete(p, __FILE__, __LINE__, func)

namespace {

char const kDuplicated[] = "duplicated unit";

inline std::string_view view(istr s) {
    return s.data == nullptr ? std::string_view() : std::string_view(s.data, s.size);
}

inline bool isList(const ValueBase* v) {
    return v != nullptr && !v->single();
}

/// Enters `child` into `map` under its name, or under "[index]" when it has none.
void enterKey(Unit::ChildrenMap& map, Unit* child, size_t index) {
    if (!child->name().empty()) {
        if (!map.emplace(child->name(), child).second) throw std::invalid_argument(kDuplicated);
        return;
    }
    String key;
    zul::detail::ntvIndexKey(key, index);
    map.emplace(std::move(key), child);  // an index key already present keeps its entry
}

}  // namespace

ValueBase::~ValueBase() = default;

Unit& null_unit() {
    return *zul::Singleton_T<Unit>::instance(__FILE__, __LINE__, "null_unit");
}

Unit& Unit::null() {
    return null_unit();
}

// ---- construction ----

Unit::Unit(Unit* parent) : value_(nullptr), parent_(parent), index_(0) {}

Unit::Unit(istr name, Unit* parent) : name_(name), value_(nullptr), parent_(parent), index_(0) {}

Unit::Unit(ValueBase* value, Unit* parent) : value_(nullptr), parent_(parent), index_(0) {
    ChildrenMap map;
    buildMap(value, map);
    commit(value, map);
}

Unit::Unit(istr name, istr type, ValueBase* value, Unit* parent)
    : name_(name), type_(type), value_(nullptr), parent_(parent), index_(0) {
    ChildrenMap map;
    buildMap(value, map);
    commit(value, map);
}

Unit::Unit(istr name, istr type, istr value, Unit* parent)
    : name_(name), type_(type), value_(nullptr), parent_(parent), index_(0) {
    value_ = StringValue::create(value);
    value_->owner() = this;
}

Unit::Unit(const Unit& other)
    : name_(other.name_), type_(other.type_), value_(nullptr), parent_(nullptr), index_(0) {
    if (other.value_ == nullptr) return;
    ValueBase* copy = other.value_->clone();
    ChildrenMap map;
    try {
        buildMap(copy, map);
    } catch (...) {
        NTV_DELETE(copy, "clone");
        throw;
    }
    commit(copy, map);
}

Unit::~Unit() {
    destroyValue("clearValue", __LINE__);
}

void Unit::init() {
    ChildrenMap map;
    buildMap(value_, map);
    commit(value_, map);
}

void Unit::buildMap(const ValueBase* v, ChildrenMap& map) {
    if (!isList(v)) return;
    const ListValue::Units& units = static_cast<const ListValue*>(v)->units_;
    for (size_t i = 0; i < units.size(); ++i) enterKey(map, units[i], i);
}

void Unit::indexChild(ChildrenMap& map, Unit* child) {
    enterKey(map, child, child->index_);
}

void Unit::commit(ValueBase* v, ChildrenMap& map) noexcept {
    value_ = v;
    if (v != nullptr) {
        v->owner() = this;
        if (!v->single()) {
            // Children get the parent and index addChild would give them, so copies keep
            // path(), ".." and the index keys working.
            ListValue::Units& units = static_cast<ListValue*>(v)->units_;
            for (size_t i = 0; i < units.size(); ++i) {
                units[i]->parent_ = this;
                units[i]->index_ = i;
            }
        }
    }
    childrenMap_.swap(map);
}

void Unit::destroyValue(char const* func, unsigned int line) noexcept {
    if (value_ == nullptr) return;
    ValueBase* v = value_;
    value_ = nullptr;
    childrenMap_.clear();
    zul::detail::ntvDelete(v, __FILE__, line, func);
}

// ---- names, types and values ----

Unit& Unit::name(istr n) {
    name_ = n;
    return *this;
}

Unit& Unit::type(istr t) {
    type_ = t;
    return *this;
}

void Unit::value(ValueBase* v) {
    if (v == value_) {
        init();
        return;
    }
    ChildrenMap map;
    buildMap(v, map);  // a duplicate throws here, before anything changes
    destroyValue("clearValue", __LINE__);
    commit(v, map);
}

void Unit::setValue(istr text) {
    if (isList(value_)) {
        // The text may live inside the list about to go.
        String keep(text);
        destroyValue("setValue", __LINE__);
        value_ = NTV_NEW(StringValue, "setValue", istr(keep), this);
        return;
    }
    if (value_ != nullptr) {
        static_cast<StringValue*>(value_)->assign(text);
        return;
    }
    value_ = NTV_NEW(StringValue, "setValue", text, this);
}

ValueBase* Unit::popValue() {
    ValueBase* v = value_;
    value_ = nullptr;
    childrenMap_.clear();
    return v;
}

void Unit::clearValue() {
    destroyValue("clearValue", __LINE__);
}

void Unit::clear() {
    name_.clear();
    type_.clear();
    destroyValue("clear", __LINE__);
    parent_ = nullptr;
    index_ = 0;
}

void Unit::initValueAsList() {
    ListValue* list = NTV_NEW(ListValue, "initValueAsList", this);
    destroyValue("initValueAsList", __LINE__);
    value_ = list;
}

bool Unit::getValue(ListValue*& out) const {
    out = listValue();
    return out != nullptr;
}

bool Unit::getValue(StringValue*& out) const {
    out = stringValue();
    return out != nullptr;
}

StringValue* Unit::stringValue() const {
    return value_ != nullptr && value_->single() ? static_cast<StringValue*>(value_) : nullptr;
}

ListValue* Unit::listValue() const {
    return isList(value_) ? static_cast<ListValue*>(value_) : nullptr;
}

istr Unit::getStringValue() const {
    const StringValue* s = stringValue();
    return s != nullptr ? istr(s->data()) : istr();
}

bool Unit::simple() const {
    return !isList(value_);
}

bool Unit::valueEmpty() const {
    if (value_ == nullptr) return true;
    if (!value_->single()) return false;
    return static_cast<const StringValue*>(value_)->data().empty();
}

bool Unit::childWasSingle() const {
    // Walks down a chain of only children instead of recursing.
    const Unit* u = this;
    for (;;) {
        const ListValue* l = u->listValue();
        if (l == nullptr || l->empty()) return true;
        if (l->size() != 1) return false;
        u = l->units_[0];
    }
}

bool Unit::childrenWereUnnamedList() const {
    const ListValue* l = listValue();
    if (l == nullptr || l->size() < 2) return false;
    return std::all_of(l->begin(), l->end(),
                       [](const Unit* c) { return c->name_.empty() && !c->type_.empty(); });
}

// ---- children ----

bool Unit::nameTaken(std::string_view n) const {
    if (isList(value_)) return childrenMap_.find(n) != childrenMap_.end();
    // A text value would become the unnamed first child, keyed "[0]".
    return value_ != nullptr && n == "[0]";
}

ListValue* Unit::ensureList() {
    if (isList(value_)) return static_cast<ListValue*>(value_);
    ListValue* list = NTV_NEW(ListValue, "addChild", this);
    if (value_ == nullptr) {
        value_ = list;
        return list;
    }
    // A text value survives as the unnamed first child.
    ChildrenMap::iterator key = childrenMap_.end();
    Unit* wrapper = nullptr;
    try {
        list->units_.reserve(2);
        key = childrenMap_.emplace("[0]", nullptr).first;
        wrapper = NTV_NEW(Unit, "addChild", value_, this);
    } catch (...) {
        if (key != childrenMap_.end()) childrenMap_.erase(key);
        NTV_DELETE(list, "addChild");
        throw;
    }
    key->second = wrapper;
    list->units_.push_back(wrapper);
    value_ = list;
    return list;
}

bool Unit::addChild(Unit* child) {
    if (child == nullptr) return false;
    const bool named = !child->name_.empty();
    if (!isList(value_)) {
        if (named && nameTaken(child->name_)) throw std::invalid_argument(kDuplicated);
        ensureList();
    }
    ListValue* list = static_cast<ListValue*>(value_);
    const size_t index = list->units_.size();
    // One descent of the index both checks the name and places the new key.
    ChildrenMap::iterator key = childrenMap_.end();
    if (named) {
        key = childrenMap_.lower_bound(std::string_view(child->name_));
        if (key != childrenMap_.end() && key->first == child->name_) {
            throw std::invalid_argument(kDuplicated);
        }
        key = childrenMap_.emplace_hint(key, child->name_, child);
    } else {
        String k;
        zul::detail::ntvIndexKey(k, index);
        std::pair<ChildrenMap::iterator, bool> r = childrenMap_.emplace(std::move(k), child);
        if (r.second) key = r.first;  // an index key already present keeps its entry
    }
    try {
        list->units_.push_back(child);
    } catch (...) {
        if (key != childrenMap_.end()) childrenMap_.erase(key);
        throw;
    }
    child->parent_ = this;
    child->index_ = index;
    return true;
}

namespace {

/// Hands a freshly made node to addChild; destroys it when that throws.
template <class Add>
bool adopt(Unit* child, Add&& add, char const* func) {
    try {
        return add(child);
    } catch (...) {
        zul::detail::ntvDelete(child, __FILE__, __LINE__, func);
        throw;
    }
}

}  // namespace

bool Unit::addChild(istr name) {
    Unit* c = NTV_NEW(Unit, "addChild", name, static_cast<Unit*>(nullptr));
    return adopt(
        c, [this](Unit* u) { return addChild(u); }, "addChild");
}

bool Unit::addChild(istr name, istr value) {
    return addChild(name, istr(), value);
}

bool Unit::addChild(istr name, istr type, istr value) {
    Unit* c = NTV_NEW(Unit, "addChild", name, type, value, static_cast<Unit*>(nullptr));
    return adopt(
        c, [this](Unit* u) { return addChild(u); }, "addChild");
}

bool Unit::addChild(const Unit& u) {
    Unit* c = NTV_NEW(Unit, "addChild", u);
    return adopt(
        c, [this](Unit* x) { return addChild(x); }, "addChild");
}

bool Unit::addOrUpdateChild(Unit* child) {
    if (child == nullptr) return false;
    if (child->name_.empty()) return addChild(child);
    const bool existed = isList(value_) && childrenMap_.count(child->name_) != 0;
    Unit* target = at(istr(child->name_));
    try {
        *target = *child;
    } catch (...) {
        if (!existed) dropLastChild("addOrUpdateChild", __LINE__);
        throw;
    }
    NTV_DELETE(child, "addOrUpdateChild");
    return false;
}

void Unit::dropLastChild(char const* func, unsigned int line) noexcept {
    ListValue* l = listValue();
    if (l == nullptr || l->units_.empty()) return;
    Unit* last = l->units_.back();
    l->units_.pop_back();
    ChildrenMap::iterator it = childrenMap_.begin();
    for (; it != childrenMap_.end(); ++it) {
        if (it->second == last) break;
    }
    if (it != childrenMap_.end()) childrenMap_.erase(it);
    zul::detail::ntvDelete(last, __FILE__, line, func);
}

Unit& Unit::operator+=(const Unit& other) {
    const ListValue* from = other.listValue();
    if (from == nullptr) return *this;
    // One addChild per child, in order: the children added before a clashing name stay, and
    // the clash goes out. The count is taken first because `other` may be this very node.
    const size_t n = from->size();
    for (size_t i = 0; i < n; ++i) addChild(*from->units_[i]);
    return *this;
}

size_t Unit::numofChildren() const {
    const ListValue* l = listValue();
    return l != nullptr ? l->size() : 0;
}

Unit* Unit::childAt(size_t i) const {
    const ListValue* l = listValue();
    if (l == nullptr) {
        zul::detail::writeErrorRecord(__FILE__, __LINE__, "childAt", "Value was not a list.");
        return nullptr;
    }
    return l->at(i);
}

Unit& Unit::operator()(size_t i) const {
    Unit* u = childAt(i);
    return u != nullptr ? *u : null_unit();
}

Unit* Unit::at(istr path) const {
    const std::string_view p = view(path);
    if (p.empty() || p == ".") return const_cast<Unit*>(this);
    if (p == "/") return root();
    if (p == "..") return parent_;
    ChildrenMap::const_iterator it = childrenMap_.find(p);
    return it != childrenMap_.end() ? it->second : nullptr;
}

Unit* Unit::at(const char* begin, const char* end) const {
    return at(istr(begin, static_cast<size_t>(end - begin)));
}

Unit* Unit::at(const unsigned char* begin, const unsigned char* end) const {
    return at(istr(reinterpret_cast<const char*>(begin), static_cast<size_t>(end - begin)));
}

Unit& Unit::operator[](istr path) const {
    Unit* u = at(path);
    return u != nullptr ? *u : null_unit();
}

Unit* Unit::at(istr key) {
    const std::string_view k = view(key);
    if (!k.empty()) {
        ChildrenMap::iterator it = childrenMap_.find(k);
        if (it != childrenMap_.end()) return it->second;
    }
    Unit* c = NTV_NEW(Unit, "at", key, static_cast<Unit*>(nullptr));
    adopt(
        c, [this](Unit* u) { return addChild(u); }, "at");
    return c;
}

bool Unit::getChild(istr path, String& out) const {
    const Unit* u = static_cast<const Unit*>(this)->at(path);
    if (u == nullptr) return false;
    out = u->getStringValue();
    return true;
}

Unit* Unit::root() const {
    const Unit* u = this;
    while (u->parent_ != nullptr) u = u->parent_;
    return const_cast<Unit*>(u);
}

String Unit::path() const {
    std::vector<const Unit*> chain;
    for (const Unit* u = this; u->parent_ != nullptr; u = u->parent_) chain.push_back(u);
    if (chain.empty()) return String("/");
    String out;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        out += '/';
        if ((*it)->name_.empty()) {
            zul::detail::ntvIndexKey(out, (*it)->index_);
        } else {
            out += (*it)->name_;
        }
    }
    return out;
}

// ---- copying between nodes ----

namespace {

/// A deep copy of `v` (or null) with its children index; nothing leaks when this throws.
ValueBase* cloneIndexed(const ValueBase* v, Unit::ChildrenMap& map,
                        void (*build)(const ValueBase*, Unit::ChildrenMap&)) {
    if (v == nullptr) return nullptr;
    ValueBase* copy = v->clone();
    try {
        build(copy, map);
    } catch (...) {
        zul::detail::ntvDelete(copy, __FILE__, __LINE__, "clone");
        throw;
    }
    return copy;
}

}  // namespace

Unit& Unit::operator=(const Unit& other) {
    if (&other == this) return *this;
    // The copy is made before anything of this node goes, so a failing copy leaves it as it
    // was and a source inside this node's own subtree is safe.
    ChildrenMap map;
    ValueBase* copy = cloneIndexed(other.value_, map, &Unit::buildMap);
    try {
        name_ = other.name_;
        type_ = other.type_;
    } catch (...) {
        NTV_DELETE(copy, "clone");
        throw;
    }
    destroyValue("clearValue", __LINE__);
    commit(copy, map);
    return *this;
}

void Unit::operator<<(const Unit& other) {
    ChildrenMap map;
    ValueBase* copy = cloneIndexed(other.value_, map, &Unit::buildMap);
    try {
        if (&other != this) type_ = other.type_;
    } catch (...) {
        NTV_DELETE(copy, "clone");
        throw;
    }
    destroyValue("clearValue", __LINE__);
    commit(copy, map);
}

bool Unit::operator>>(Unit& target) const {
    target << *this;
    return true;
}

}  // namespace ntv
}  // namespace pml
}  // namespace zul
