#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

// Memory of events and of their texts. Each thread fills chunks of its own from front to back,
// without a lock; whoever deletes an event, mostly an event agent, only counts. A chunk that is
// full and of which all is freed serves the next thread that needs one.
class EventMemory {
 public:
  static constexpr std::size_t kChunkBytes = 32'768;        // and their alignment
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

  static char* take(char* at, std::size_t bytes);
  static char* blockOfItsOwn(std::size_t bytes);
  static void openChunk();
  static void closeChunk() noexcept;
  static Chunk* chunkOf(const void* memory);
  static void release(Chunk* chunk, std::int64_t pieces) noexcept;

  static constinit std::atomic<std::size_t> chunksInUse_;
  static constinit thread_local Cursor cursor_;
  static constinit thread_local FreeingMany* freeingMany_;
};

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
