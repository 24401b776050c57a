#include "json_memory.h"

#include <malloc.h>

#include <atomic>

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

}  // namespace memory

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
