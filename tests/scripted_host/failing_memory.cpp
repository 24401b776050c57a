#include "failing_memory.h"

void* operator new(std::size_t size) {
  return FailingMemory::Allocate(size);
}
void* operator new[](std::size_t size) {
  return FailingMemory::Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept {
  try {
    return FailingMemory::Allocate(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*unused*/) noexcept {
  std::free(memory);
}
