#include "events/EventMemory.h"

#include <cstdlib>
#include <mutex>
#include <new>
#include <utility>

// Far above any number of pieces: an open chunk never counts as all freed.
constexpr std::int64_t kOpen = std::int64_t{1} << 40;
constexpr int kMostPooled = 64;  // a megabyte; what is above goes back to the heap
// The heap's own bytes between two blocks are part of the size: with a whole one the next aligned
// block would lie two sizes further.
constexpr std::size_t kUsedBytes = EventMemory::kChunkBytes - 2 * sizeof(void*);

struct alignas(std::max_align_t) EventMemory::Chunk {
  std::atomic<std::int64_t> pieces;
  const bool ofItsOwn;  // a block for a single large piece
  char* begin() { return reinterpret_cast<char*>(this + 1); }
  char* end() { return reinterpret_cast<char*>(this) + kUsedBytes; }
};

// Free chunks, each with the next one's address at its front.
class ChunkPool {
 public:
  void* take() {
    const std::lock_guard held(lock_);
    if (!free_) return nullptr;
    --pooled_;
    return std::exchange(free_, *static_cast<void**>(free_));
  }
  bool put(void* chunk) {
    const std::lock_guard held(lock_);
    if (pooled_ == kMostPooled) return false;
    ++pooled_;
    *static_cast<void**>(chunk) = std::exchange(free_, chunk);
    return true;
  }

 private:
  std::mutex lock_;
  void* free_ = nullptr;
  int pooled_ = 0;
};
static constinit ChunkPool pool;

constinit std::atomic<std::size_t> EventMemory::chunksInUse_{0};
constinit thread_local EventMemory::Cursor EventMemory::cursor_{nullptr, nullptr, 0};
constinit thread_local EventMemory::FreeingMany* EventMemory::freeingMany_ = nullptr;
// Nobody would close a chunk that the thread opens from here on: a thread that a server detaches
// late in its end still reports.
static constinit thread_local bool threadEnds = false;

struct EventMemory::ClosesAtThreadEnd {
  ~ClosesAtThreadEnd() {
    closeChunk();
    threadEnds = true;
  }
  void arm() const {}  // naming it has made it
};

static void* alignedBytes(std::size_t bytes) {
  void* memory = nullptr;
  if (posix_memalign(&memory, EventMemory::kChunkBytes, bytes) != 0) throw std::bad_alloc();
  return memory;
}

EventMemory::Chunk* EventMemory::chunkOf(const void* memory) {
  return reinterpret_cast<Chunk*>(reinterpret_cast<std::uintptr_t>(memory) & ~(kChunkBytes - 1));
}

void* EventMemory::allocateElsewhere(std::size_t bytes) {
  static_assert(kLargest + kAlignment < kUsedBytes - sizeof(Chunk));
  if (bytes > kLargest || threadEnds) return blockOfItsOwn(bytes);
  openChunk();
  return take(aligned(cursor_.at), bytes);
}

char* EventMemory::openRoomElsewhere(std::size_t most) {
  if (most > kLargest || threadEnds) return blockOfItsOwn(most);
  openChunk();
  return openRoom(most);
}

char* EventMemory::keepBlock(char* block, std::size_t used) {
  if (used > 0) return block;
  free(block, 0);
  return nullptr;
}

char* EventMemory::blockOfItsOwn(std::size_t bytes) {
  auto* block = new (alignedBytes(sizeof(Chunk) + bytes)) Chunk{1, true};
  chunksInUse_.fetch_add(1, std::memory_order_relaxed);
  return block->begin();
}

void EventMemory::openChunk() {
  static thread_local const ClosesAtThreadEnd atThreadEnd;
  atThreadEnd.arm();
  void* memory = pool.take();
  if (!memory) memory = alignedBytes(kUsedBytes);
  closeChunk();
  auto* chunk = new (memory) Chunk{kOpen, false};
  chunksInUse_.fetch_add(1, std::memory_order_relaxed);
  cursor_ = {chunk->begin(), chunk->end(), 0};
  ASAN_POISON_MEMORY_REGION(chunk->begin(), chunk->end() - chunk->begin());
}

// From here on the chunk's counter tells how many pieces are in use.
void EventMemory::closeChunk() noexcept {
  const Cursor open = std::exchange(cursor_, {nullptr, nullptr, 0});
  if (open.end) release(chunkOf(open.end - 1), kOpen - open.taken);
}

void EventMemory::free(const void* memory, [[maybe_unused]] std::size_t bytes) noexcept {
  ASAN_POISON_MEMORY_REGION(memory, bytes);
  Chunk* chunk = chunkOf(memory);
  if (freeingMany_)
    freeingMany_->add(chunk);
  else
    release(chunk, 1);
}

void EventMemory::FreeingMany::flush() noexcept {
  if (chunk_) release(std::exchange(chunk_, nullptr), std::exchange(pieces_, 0));
}

void EventMemory::release(Chunk* chunk, std::int64_t pieces) noexcept {
  if (chunk->pieces.fetch_sub(pieces, std::memory_order_acq_rel) != pieces) return;
  chunksInUse_.fetch_sub(1, std::memory_order_relaxed);
  const bool ofItsOwn = chunk->ofItsOwn;
  ASAN_UNPOISON_MEMORY_REGION(chunk, ofItsOwn ? 0 : kUsedBytes);
  if (ofItsOwn || !pool.put(chunk)) std::free(chunk);
}
