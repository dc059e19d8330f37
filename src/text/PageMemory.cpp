#include "text/PageMemory.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace xylem {

namespace {

// Below this the heap is cheaper than a mapping of its own.
constexpr size_t kMapThreshold = size_t{4} << 20;
constexpr size_t kPageSize = 4096;

size_t roundToPages(size_t Bytes) { return (Bytes + kPageSize - 1) & ~(kPageSize - 1); }

void* mapZeroed(size_t Bytes) {
  void* block = mmap(nullptr, roundToPages(Bytes), PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
  madvise(block, roundToPages(Bytes), MADV_HUGEPAGE);
#endif
  return block;
}

// Freed mappings kept for reuse, at most kRetainLimit bytes in all.
constexpr size_t kRetainLimit = size_t{2} << 30;

struct TyRetainedBlock {
  void* Block;
  size_t Bytes;  // whole pages
};

struct TyRetained {
  std::mutex Lock;
  std::vector<TyRetainedBlock> Blocks;  // oldest first
  size_t Total = 0;
};

TyRetained& retained() {
  static TyRetained* pool = new TyRetained();  // never destroyed: frees may run at exit
  return *pool;
}

// A retained block of at least Bytes (whole pages) and not much more, cut to exactly Bytes;
// nullptr when none fits.
void* takeRetained(size_t Bytes) {
  TyRetained& pool = retained();
  std::lock_guard<std::mutex> guard(pool.Lock);
  size_t best = pool.Blocks.size();
  for (size_t i = 0; i < pool.Blocks.size(); ++i) {
    const size_t size = pool.Blocks[i].Bytes;
    if (size >= Bytes && size <= 2 * Bytes &&
        (best == pool.Blocks.size() || size < pool.Blocks[best].Bytes))
      best = i;
  }
  if (best == pool.Blocks.size()) return nullptr;
  const TyRetainedBlock block = pool.Blocks[best];
  pool.Blocks.erase(pool.Blocks.begin() + static_cast<std::ptrdiff_t>(best));
  pool.Total -= block.Bytes;
  if (block.Bytes > Bytes) munmap(static_cast<char*>(block.Block) + Bytes, block.Bytes - Bytes);
  return block.Block;
}

}  // namespace

void* CyPageMemory::Allocate(size_t Bytes, bool Zeroed) {
  if (Bytes == 0) return nullptr;
  if (Bytes >= kMapThreshold) {
    if (void* reused = takeRetained(roundToPages(Bytes))) {
      if (Zeroed) std::memset(reused, 0, Bytes);
      return reused;
    }
    return mapZeroed(Bytes);
  }
  void* block = Zeroed ? std::calloc(1, Bytes) : std::malloc(Bytes);
  if (!block) throw std::bad_alloc();
  return block;
}

void CyPageMemory::Free(void* Block, size_t Bytes) {
  if (!Block) return;
  if (Bytes < kMapThreshold) {
    std::free(Block);
    return;
  }
  const size_t pages = roundToPages(Bytes);
  if (pages > kRetainLimit) {
    munmap(Block, pages);
    return;
  }
  std::vector<TyRetainedBlock> evicted;
  {
    TyRetained& pool = retained();
    std::lock_guard<std::mutex> guard(pool.Lock);
    pool.Blocks.push_back({Block, pages});
    pool.Total += pages;
    while (pool.Total > kRetainLimit) {
      evicted.push_back(pool.Blocks.front());
      pool.Total -= pool.Blocks.front().Bytes;
      pool.Blocks.erase(pool.Blocks.begin());
    }
  }
  for (const TyRetainedBlock& block : evicted) munmap(block.Block, block.Bytes);
}

void CyPageMemory::ReleaseRetained() {
  std::vector<TyRetainedBlock> blocks;
  {
    TyRetained& pool = retained();
    std::lock_guard<std::mutex> guard(pool.Lock);
    blocks.swap(pool.Blocks);
    pool.Total = 0;
  }
  for (const TyRetainedBlock& block : blocks) munmap(block.Block, block.Bytes);
}

size_t CyPageMemory::getRetainedBytes() {
  TyRetained& pool = retained();
  std::lock_guard<std::mutex> guard(pool.Lock);
  return pool.Total;
}

void* CyPageMemory::Resize(void* Block, size_t OldBytes, size_t NewBytes) {
  if (NewBytes == 0) {
    Free(Block, OldBytes);
    return nullptr;
  }
  if (!Block) return Allocate(NewBytes);
  const bool oldMapped = OldBytes >= kMapThreshold;
  const bool newMapped = NewBytes >= kMapThreshold;
  if (!oldMapped && !newMapped) {
    void* grown = std::realloc(Block, NewBytes);
    if (!grown) throw std::bad_alloc();
    if (NewBytes > OldBytes)
      std::memset(static_cast<char*>(grown) + OldBytes, 0, NewBytes - OldBytes);
    return grown;
  }
  if (oldMapped && newMapped) {
    // Pages added by mremap are fresh zero pages; only the slack of the old last page may hold
    // stale bytes (a block taken from the retained ones).
    void* moved = mremap(Block, roundToPages(OldBytes), roundToPages(NewBytes), MREMAP_MAYMOVE);
    if (moved == MAP_FAILED) throw std::bad_alloc();
    if (NewBytes > OldBytes)
      std::memset(static_cast<char*>(moved) + OldBytes, 0,
                  std::min(NewBytes, roundToPages(OldBytes)) - OldBytes);
    return moved;
  }
  void* fresh = Allocate(NewBytes);
  std::memcpy(fresh, Block, std::min(OldBytes, NewBytes));
  Free(Block, OldBytes);
  return fresh;
}

void CyPageMemory::Populate(void* Begin, size_t Bytes) {
#ifdef MADV_POPULATE_WRITE
  // Only whole pages inside the range; the edges fault on first touch as usual.
  const auto first = (reinterpret_cast<uintptr_t>(Begin) + kPageSize - 1) & ~(kPageSize - 1);
  const auto last = (reinterpret_cast<uintptr_t>(Begin) + Bytes) & ~(kPageSize - 1);
  if (last > first) madvise(reinterpret_cast<void*>(first), last - first, MADV_POPULATE_WRITE);
#else
  (void)Begin;
  (void)Bytes;
#endif
}

void CyMemoryBlockWithZero::Reserve(size_t Count) {
  if (Count <= Capacity_) return;
  Data_ = CyPageMemory::Resize(Data_, Capacity_ * ElementSize_, Count * ElementSize_);
  Capacity_ = Count;
}

void CyMemoryBlockWithZero::ResetUninitialized(size_t Count) {
  CyPageMemory::Free(Data_, Capacity_ * ElementSize_);
  Data_ = nullptr;
  Capacity_ = 0;
  Data_ = CyPageMemory::Allocate(Count * ElementSize_, false);
  Capacity_ = Count;
}

void CyMemoryBlockWithZero::Zero(size_t First, size_t Count) {
  if (Count) std::memset(static_cast<char*>(Data_) + First * ElementSize_, 0, Count * ElementSize_);
}

}  // namespace xylem
