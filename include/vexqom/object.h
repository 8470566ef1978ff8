// Object lifetime: intrusive reference counting shared by every class.
#pragma once

#include "vexqom/api.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace vexqom {

struct ClassInfo;         // the member table of a class (component host)
class EventConnections;   // outgoing event connections of an event source
template <class T>
class XmlForm;            // the library's own writer and reader of a class's XML form

class VEXQOM_API Object {
 public:
  Object() noexcept;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;
  virtual ~Object();

  uint32_t add_ref() const noexcept {
    return refs_.fetch_add(1, std::memory_order_relaxed) + 1;
  }
  // Destroys the object when the last reference goes. Destructors never throw.
  uint32_t release() const noexcept;
  uint32_t ref_count() const noexcept { return refs_.load(std::memory_order_relaxed); }

  // The member table through which hosts reach this object by dispatch.
  virtual const ClassInfo& class_info() const = 0;
  // The object's event connections when it is an event source, else null.
  virtual EventConnections* event_connections() noexcept { return nullptr; }

  // Number of objects alive in this process (library and host made alike).
  static std::size_t live_count() noexcept;

 private:
  mutable std::atomic<uint32_t> refs_{0};
};

// A counted reference; an empty Ref is the "empty reference" (Nothing).
template <class T>
class Ref {
 public:
  Ref() noexcept = default;
  Ref(std::nullptr_t) noexcept {}
  // Adopts a new reference to p (adds one).
  explicit Ref(T* p) noexcept : p_(p) {
    if (p_) p_->add_ref();
  }
  Ref(const Ref& o) noexcept : Ref(o.p_) {}
  Ref(Ref&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ref(const Ref<U>& o) noexcept : Ref(static_cast<T*>(o.get())) {}
  template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
  Ref(Ref<U>&& o) noexcept : p_(o.detach()) {}
  ~Ref() { reset(); }

  Ref& operator=(Ref o) noexcept {
    std::swap(p_, o.p_);
    return *this;
  }

  void reset() noexcept {
    if (T* p = std::exchange(p_, nullptr)) p->release();
  }
  // Hands the reference over to the caller without releasing it.
  T* detach() noexcept { return std::exchange(p_, nullptr); }
  // Takes over a reference the caller already owns (no add).
  static Ref adopt(T* p) noexcept {
    Ref r;
    r.p_ = p;
    return r;
  }

  T* get() const noexcept { return p_; }
  T* operator->() const noexcept { return p_; }
  T& operator*() const noexcept { return *p_; }
  explicit operator bool() const noexcept { return p_ != nullptr; }

  friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.p_ == b.p_; }
  friend bool operator==(const Ref& a, std::nullptr_t) noexcept { return a.p_ == nullptr; }

 private:
  T* p_ = nullptr;
};

// A new object with one reference held by the result.
template <class T, class... Args>
Ref<T> create(Args&&... args) {
  return Ref<T>(new T(std::forward<Args>(args)...));
}

// The object as a T, or null when it is of another class. An object of class T itself,
// the usual case, is recognised without the search of a dynamic_cast.
template <class T, class U>
T* object_cast(U* p) noexcept {
  if (p != nullptr && typeid(*p) == typeid(T)) return static_cast<T*>(p);
  return dynamic_cast<T*>(p);
}

// Casts a reference to a derived class; empty when the object is of another class.
template <class T, class U>
Ref<T> ref_cast(const Ref<U>& r) noexcept {
  return Ref<T>(object_cast<T>(r.get()));
}

}  // namespace vexqom
