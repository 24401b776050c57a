#include "json_memory.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "sanitizers.h"

namespace {

std::atomic<std::size_t> held{0};
std::atomic<std::size_t> peak{0};

void Add(std::size_t bytes) {
  const std::size_t now = held.fetch_add(bytes) + bytes;
  std::size_t most = peak.load();
  while (most < now && !peak.compare_exchange_weak(most, now)) {
  }
}

void Subtract(std::size_t bytes) {
  held.fetch_sub(bytes);
}

thread_local bool is_short = false;
thread_local std::size_t left = 0;

void* New(std::size_t size) {
  if (is_short && left == 0) throw std::bad_alloc();
  if (is_short) --left;
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

namespace memory {

std::size_t Held() {
  return held;
}
std::size_t Peak() {
  return peak;
}
void StartPeak() {
  peak = held.load();
}

Shortage::Shortage(std::size_t allocations) {
  left = allocations;
  is_short = true;
}
Shortage::~Shortage() {
  is_short = false;
}
bool Shortage::WasFelt() const {
  return left == 0;
}

}  // namespace memory

void* operator new(std::size_t size) {
  return New(size);
}
void* operator new[](std::size_t size) {
  return New(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
  try {
    return New(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*unused*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

#if defined(CSM_ADDRESS_SANITIZER) || defined(CSM_THREAD_SANITIZER)

// The compiler's package has the functions, but not the header that declares them.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" int __sanitizer_install_malloc_and_free_hooks(void (*on_malloc)(const volatile void*, std::size_t),
                                                         void (*on_free)(const volatile void*));
extern "C" std::size_t __sanitizer_get_allocated_size(const volatile void* memory);
// NOLINTEND(bugprone-reserved-identifier)

namespace {

const int installed = __sanitizer_install_malloc_and_free_hooks(
    [](const volatile void* /*memory*/, std::size_t size) { Add(size); },
    [](const volatile void* memory) {
      if (memory != nullptr) Subtract(__sanitizer_get_allocated_size(memory));
    });

}  // namespace

#else

// The C library's own, for a program that stands in front of them.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);
extern "C" void* __libc_memalign(std::size_t alignment, std::size_t size);
extern "C" void __libc_free(void* memory);
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr std::size_t kHead = 8;

std::size_t SizeOf(void* memory) {
  return memory == nullptr ? 0 : malloc_usable_size(memory) + kHead;
}

void* Counted(void* memory) {
  Add(SizeOf(memory));
  return memory;
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) {
  return Counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
  return Counted(__libc_calloc(count, size));
}
void* realloc(void* memory, std::size_t size) {
  const std::size_t before = SizeOf(memory);
  void* const moved = __libc_realloc(memory, size);
  if (moved != nullptr || size == 0) Subtract(before);
  return Counted(moved);
}
void* memalign(std::size_t alignment, std::size_t size) {
  return Counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return Counted(__libc_memalign(alignment, size));
}
int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
  *memory = Counted(__libc_memalign(alignment, size));
  return *memory == nullptr ? 12 : 0;  // ENOMEM
}
void free(void* memory) {
  Subtract(SizeOf(memory));
  __libc_free(memory);
}

}  // extern "C"

#endif
