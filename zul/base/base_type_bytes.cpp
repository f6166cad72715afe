// zul::Bytes: allocation, growth and copying of the owning byte buffer.
#include <zul/base/alloc.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/record_position.h>
#include <zul/base/char_memory.h>

#include <cstring>
#include <utility>

namespace zul {
namespace {

// The leak labels of the buffer's allocation and release: fixed by the record format, not
// where the code stands.
struct RecordPositions {
    detail::RecordPosition alloc{"zul/base/base_type_bytes", 166, "alloc"};
    detail::RecordPosition free{"zul/base/base_type_bytes", 171, "free"};
};
constexpr RecordPositions kRecordPositions{};
constexpr detail::RecordPosition const& kAlloc = kRecordPositions.alloc;
constexpr detail::RecordPosition const& kFree = kRecordPositions.free;

// Copies `n` bytes into a destination of exactly `n` bytes (bounds-checked).
void copyBytes(unsigned char* dst, void const* src, size_t n) {
    MemCopy(dst, src, n);
}

}  // namespace

Bytes::Bytes(size_t n) {
    alloc(n);
}

Bytes::Bytes(Bytes const& o) {
    set(o.buffer_, o.size_);
}

Bytes::Bytes(Bytes&& o) noexcept {
    swap(o);
}

Bytes::Bytes(istr s) {
    set(s);
}

Bytes::~Bytes() {
    free();
}

void Bytes::free() {
    destroy_a(buffer_, kFree.file, kFree.line, kFree.func);
    reset();
}

void Bytes::reset() {
    buffer_ = nullptr;
    capacity_ = 0;
    size_ = 0;
}

void Bytes::alloc(size_t n) {
    buffer_ = allocate_push_maybe(new (kAlloc.file, kAlloc.line, kAlloc.func) unsigned char[n],
                                  kAlloc.file, kAlloc.line, kAlloc.func);
    capacity_ = n;
}

void Bytes::resize(size_t n) {
    unsigned char* old = grow_i(n);
    destroy_a(old, kFree.file, kFree.line, kFree.func);
}

unsigned char* Bytes::grow_i(size_t n) {
    if (n <= capacity_) return nullptr;
    size_t grown = 2 * capacity_ + 2;
    unsigned char* old = buffer_;
    alloc(grown > n ? grown : n);
    if (old != nullptr) copyBytes(buffer_, old, size_);
    return old;
}

bool Bytes::holds_i(void const* p) const {
    auto q = static_cast<unsigned char const*>(p);
    return buffer_ != nullptr && q >= buffer_ && q < buffer_ + capacity_;
}

void Bytes::init(size_t n) {
    resize(n);
    size_ = 0;
}

void Bytes::set(char const* p, size_t n) {
    set(reinterpret_cast<unsigned char const*>(p), n);
}

void Bytes::set(unsigned char const* p, size_t n) {
    if (p != nullptr && n != 0 && holds_i(p)) {
        // A source inside this buffer already fits in it: move it to the front.
        if (p != buffer_) std::memmove(buffer_, p, n);
    } else {
        resize(n);
        if (p != nullptr && n != 0) copyBytes(buffer_, p, n);
    }
    size_ = n;
}

void Bytes::set(Bytes const& o) {
    if (&o != this) set(o.buffer_, o.size_);
}

Bytes& Bytes::operator=(Bytes const& o) {
    set(o);
    return *this;
}

Bytes& Bytes::operator=(Bytes&& o) noexcept {
    if (&o != this) {
        Bytes gone(std::move(*this));
        swap(o);
    }
    return *this;
}

Bytes& Bytes::operator=(istr s) {
    set(s);
    return *this;
}

Bytes& Bytes::append(istr s) {
    // A source inside this buffer (b += b) stays alive until it has been copied.
    unsigned char* old = grow_i(size_ + s.size);
    if (s.data != nullptr && s.size != 0) copyBytes(buffer_ + size_, s.data, s.size);
    destroy_a(old, kFree.file, kFree.line, kFree.func);
    size_ += s.size;
    return *this;
}

void Bytes::copy(size_t offset, char const* p, size_t n) {
    if (p != nullptr && n != 0) copyBytes(buffer_ + offset, p, n);
}

void Bytes::swap(Bytes& o) noexcept {
    std::swap(buffer_, o.buffer_);
    std::swap(capacity_, o.capacity_);
    std::swap(size_, o.size_);
}

}  // namespace zul
