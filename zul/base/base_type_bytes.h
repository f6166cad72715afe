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
    /// A buffer of its own holding a copy of the bytes in use of `o`.
    Bytes(Bytes const& o);
    /// Takes over the buffer of `o`, which is left empty.
    Bytes(Bytes&& o) noexcept;
    /// A buffer of its own holding a copy of the viewed bytes.
    Bytes(istr s);
    /// Releases the buffer.
    ~Bytes();

    ///@{

    /// Releases the buffer and zeroes all fields.
    void free();
    void clear() { free(); }
    ///@}

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
    /// The number of bytes in use.
    size_t size() const { return size_; }
    /// The capacity.
    size_t max_size() const { return capacity_; }
    /// True when no byte is in use (the buffer may still be allocated).
    bool empty() const { return size_ == 0; }

    ///@{

    /// The buffer, owned by the Bytes and valid until it grows or is released; null when
    /// nothing is allocated.
    unsigned char* data() { return buffer_; }
    unsigned char const* data() const { return buffer_; }
    unsigned char* buffer() { return buffer_; }
    unsigned char const* buffer() const { return buffer_; }
    unsigned char* begin() { return buffer_; }
    unsigned char const* begin() const { return buffer_; }
    ///@}

    ///@{

    /// Past the last byte in use.
    unsigned char* end() { return buffer_ + size_; }
    unsigned char const* end() const { return buffer_ + size_; }
    ///@}

    /// The buffer as characters; NUL-terminated only where a NUL was written past the size
    /// (as ansiToUtf8 does).
    char const* c_str() const { return reinterpret_cast<char const*>(buffer_); }

    /// A view of the bytes in use.
    operator istr() const { return istr(c_str(), size_); }
    /// An output view of the whole capacity.
    operator ostr() { return ostr(buffer_, capacity_); }

    ///@{

    /// Replaces the content with `n` bytes from `p` (a null `p` keeps the old bytes), with the
    /// bytes in use of `o` (nothing for itself) or with the viewed bytes, and sets the size to
    /// match. The source may lie inside this buffer.
    void set(char const* p, size_t n);
    void set(unsigned char const* p, size_t n);
    void set(Bytes const& o);
    void set(istr s) { set(s.data, s.size); }
    ///@}

    /// Replaces the content with a copy of the bytes in use of `o`, as set() does; assigning
    /// a Bytes to itself changes nothing.
    Bytes& operator=(Bytes const& o);
    /// Releases the own buffer and takes over that of `o`, which is left empty.
    Bytes& operator=(Bytes&& o) noexcept;
    ///@{

    /// Replaces the content with a copy of the viewed bytes, or of the bytes in use of `o`, as
    /// set() does.
    Bytes& operator=(istr s);
    Bytes& assign(Bytes const& o) { return *this = o; }
    Bytes& assign(istr s) { return *this = s; }
    ///@}

    ///@{

    /// Appends the bytes of `s`, growing as needed; `s` may view this buffer itself.
    Bytes& append(istr s);
    Bytes& operator+=(istr s) { return append(s); }
    ///@}

    ///@{

    /// Copies bytes to buffer + offset; size and capacity are unchanged (the caller ensures
    /// room). A null or empty source copies nothing.
    void copy(size_t offset, istr src) { copy(offset, src.data, src.size); }
    void copy(size_t offset, char const* p, size_t n);
    ///@}

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
