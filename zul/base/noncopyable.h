// zul::noncopyable: a base class that removes copying from the classes deriving from it.
#pragma once

namespace zul {

/// Derive from this to make a class neither copyable nor copy-assignable.
class noncopyable {
  protected:
    ///@{

    /// For derived classes only; not a polymorphic base (the destructor is not virtual).
    noncopyable() = default;
    ~noncopyable() = default;
    ///@}

  public:
    noncopyable(const noncopyable&) = delete;
    noncopyable& operator=(const noncopyable&) = delete;
};

}  // namespace zul
