// zul::Bytes: the library's owning, growable byte buffer (capacity kept apart from size).
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>

#include <cstddef>
#include <cstdint>

namespace zul {

class Base64;

/// Owning byte buffer. Capacity grows to max(2 * capacity + 2, needed) and never shrinks;
/// every allocation and release is reported to the leak checker.
class ZUL_API Bytes {
  public:
    /// Empty: no buffer, capacity and size 0.
    Bytes() = default;
    /// A buffer of `n` bytes (contents unspecified), size 0.
    explicit Bytes(size_t n);
    Bytes(Bytes const& o);
    Bytes(Bytes&& o) noexcept;
    Bytes(istr s);
    ~Bytes();

    /// Releases the buffer and zeroes all fields.
    void free();
    void clear() { free(); }
    /// Zeroes the fields without releasing (for a buffer whose ownership went elsewhere).
    void reset();
    /// Allocates a fresh buffer of `n` bytes without releasing the previous one.
    void alloc(size_t n);

    /// Ensures capacity >= n, keeping the bytes in use; the size is unchanged.
    void resize(size_t n);
    /// resize(n), then size 0.
    void init(size_t n);
    /// Sets the size as it is (the caller keeps it within the capacity).
    void size(size_t n) { size_ = n; }
    /// Adds `n` to the size after writing through buffer() or the ostr view.
    void advance(size_t n) { size_ += n; }
    size_t size() const { return size_; }
    /// The capacity.
    size_t max_size() const { return capacity_; }
    bool empty() const { return size_ == 0; }

    unsigned char* data() { return buffer_; }
    unsigned char const* data() const { return buffer_; }
    unsigned char* buffer() { return buffer_; }
    unsigned char const* buffer() const { return buffer_; }
    unsigned char* begin() { return buffer_; }
    unsigned char const* begin() const { return buffer_; }
    unsigned char* end() { return buffer_ + size_; }
    unsigned char const* end() const { return buffer_ + size_; }
    char const* c_str() const { return reinterpret_cast<char const*>(buffer_); }

    /// A view of the bytes in use.
    operator istr() const { return istr(c_str(), size_); }
    /// An output view of the whole capacity.
    operator ostr() { return ostr(buffer_, capacity_); }

    /// Replaces the content with `n` bytes from `p` (a null `p` keeps the old bytes) and
    /// sets the size to `n`.
    void set(char const* p, size_t n);
    void set(unsigned char const* p, size_t n);
    void set(Bytes const& o);
    void set(istr s) { set(s.data, s.size); }

    Bytes& operator=(Bytes const& o);
    Bytes& operator=(Bytes&& o) noexcept;
    Bytes& operator=(istr s);
    Bytes& assign(Bytes const& o) { return *this = o; }
    Bytes& assign(istr s) { return *this = s; }

    /// Appends the bytes of `s`, growing as needed.
    Bytes& append(istr s);
    Bytes& operator+=(istr s) { return append(s); }

    /// Copies bytes to buffer + offset; size and capacity are unchanged (the caller ensures
    /// room).
    void copy(size_t offset, istr src) { copy(offset, src.data, src.size); }
    void copy(size_t offset, char const* p, size_t n);

    /// Exchanges all three fields.
    void swap(Bytes& o) noexcept;

  private:
    friend class Base64;  // decodes straight into the buffer

    /// Grows to hold `n` bytes, keeping those in use; returns the replaced buffer, which the
    /// caller releases, or null when nothing changed.
    unsigned char* grow_i(size_t n);
    /// Whether `p` points into this buffer.
    bool holds_i(void const* p) const;

    unsigned char* buffer_ = nullptr;
    std::uint64_t capacity_ = 0;
    std::uint64_t size_ = 0;
};

}  // namespace zul
