#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "base/Sanitizers.h"

#if VEL_ADDRESS_SANITIZER
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(memory, bytes) static_cast<void>(0)
#define ASAN_UNPOISON_MEMORY_REGION(memory, bytes) static_cast<void>(0)
#endif

// Memory of events and of their texts. Each thread fills chunks of its own from front to back,
// without a lock; whoever deletes an event, mostly an event agent, only counts. A chunk that is
// full and of which all is freed serves the next thread that needs one.
class EventMemory {
 public:
  static constexpr std::size_t kChunkBytes = 16'384;        // alignment of chunks, and size
  static constexpr std::size_t kLargest = kChunkBytes / 4;  // what is larger has a block of its own

  static void* allocate(std::size_t bytes);  // aligned for events; throws std::bad_alloc
  // Room for a text, of which the caller keeps the first bytes, once it knows how many. The thread
  // asks for nothing else in between. Throws as well.
  static char* openRoom(std::size_t most);
  static char* keepRoom(char* room, std::size_t used);  // null when nothing is kept
  // Exactly what was allocated, on any thread.
  static void free(const void* memory, std::size_t bytes) noexcept;

  // While it lives, what its thread frees is counted chunk by chunk instead of one by one.
  class FreeingMany;

  // Chunks and blocks that are not free.
  static std::size_t chunksInUse() { return chunksInUse_.load(std::memory_order_relaxed); }

 private:
  struct Chunk;
  struct ClosesAtThreadEnd;
  // What the thread's open chunk has left. How many pieces were taken from it stands here until the
  // chunk is closed, so that only those who free touch the chunk's own counter.
  struct Cursor {
    char* at;
    char* end;
    std::int64_t taken;
  };

  static constexpr std::uintptr_t kAlignment = 8;
  static char* aligned(char* at) {
    const auto address = reinterpret_cast<std::uintptr_t>(at);
    return at + ((kAlignment - address % kAlignment) % kAlignment);
  }
  static bool fits(const char* at, std::size_t bytes) {
    return cursor_.end - at >= static_cast<std::ptrdiff_t>(bytes);
  }
  static char* take(char* at, std::size_t bytes) {
    ASAN_UNPOISON_MEMORY_REGION(at, bytes);
    cursor_.at = at + bytes;
    ++cursor_.taken;
    return at;
  }
  static void* allocateElsewhere(std::size_t bytes);
  static char* openRoomElsewhere(std::size_t most);
  static char* keepBlock(char* block, std::size_t used);
  static char* blockOfItsOwn(std::size_t bytes);
  static void openChunk();
  static void closeChunk() noexcept;
  static Chunk* chunkOf(const void* memory);
  static void release(Chunk* chunk, std::int64_t pieces) noexcept;

  static constinit std::atomic<std::size_t> chunksInUse_;
  static constinit thread_local Cursor cursor_;
  static constinit thread_local FreeingMany* freeingMany_;
};

inline void* EventMemory::allocate(std::size_t bytes) {
  char* const at = aligned(cursor_.at);
  return fits(at, bytes) ? take(at, bytes) : allocateElsewhere(bytes);
}

inline char* EventMemory::openRoom(std::size_t most) {
  if (most > kLargest || !fits(cursor_.at, most)) [[unlikely]]
    return openRoomElsewhere(most);
  ASAN_UNPOISON_MEMORY_REGION(cursor_.at, most);
  return cursor_.at;
}

inline char* EventMemory::keepRoom(char* room, std::size_t used) {
  if (room != cursor_.at) [[unlikely]]
    return keepBlock(room, used);
  char* const kept = used > 0 ? take(room, used) : nullptr;
  ASAN_POISON_MEMORY_REGION(cursor_.at, cursor_.end - cursor_.at);  // what was not kept
  return kept;
}

class EventMemory::FreeingMany {
 public:
  FreeingMany() : outer_(freeingMany_) { freeingMany_ = this; }
  ~FreeingMany() {
    flush();
    freeingMany_ = outer_;
  }
  FreeingMany(const FreeingMany&) = delete;
  FreeingMany& operator=(const FreeingMany&) = delete;

 private:
  friend class EventMemory;
  void add(Chunk* chunk) noexcept {
    if (chunk != chunk_) flush();
    chunk_ = chunk;
    ++pieces_;
  }
  void flush() noexcept;

  FreeingMany* const outer_;
  Chunk* chunk_ = nullptr;
  std::int64_t pieces_ = 0;
};
