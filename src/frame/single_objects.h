// How the accessors hold what they hand out: one object per service, one per number and flags of a ranking.
// No lock: the first call of each accessor and the end belong to one thread, the host's main thread. Nothing
// here runs when the library is loaded, or when the program ends.
#pragma once

#include <cstddef>
#include <map>
#include <new>

namespace frame {

/// The one object of a service, made by `kMake` when it is first asked for. After a null the next call tries
/// again.
template <auto kMake>
class Only;

template <class Interface, Interface* (*kMake)()>
class Only<kMake> {
 public:
  static Interface* Get() {
    if (object_ == nullptr) {
      object_ = kMake();
    }
    return object_;
  }
  static void End() {
    delete object_;
    object_ = nullptr;
  }

 private:
  static inline constinit Interface* object_ = nullptr;
};

/// The objects of a registry, one per number. A null that came out once is what later calls get.
template <class Interface>
class Numbered {
 public:
  /// The object of the number; `make()` is called when there is none. It is made after its place in the
  /// registry, so that it cannot get lost.
  template <class Make>
  Interface* Get(int number, Make make) {
    try {
      const auto [place, is_new] = objects_.try_emplace(number, nullptr);
      if (is_new) {
        place->second = make();
      }
      return place->second;
    } catch (const std::bad_alloc&) {
      return nullptr;
    }
  }

  /// Ends all in the order of their numbers.
  void End() {
    for (const auto& [number, object] : objects_) {
      delete object;
    }
    objects_.clear();
  }

 private:
  std::map<int, Interface*> objects_;
};

/// An object of the program that is made at its first use, without taking memory, and never destroyed. `Tag`
/// tells apart those of one type.
template <class Object, class Tag>
Object& Immortal() {
  alignas(Object) static std::byte storage[sizeof(Object)];
  static auto* const object = new (storage) Object;
  return *object;
}

}  // namespace frame
