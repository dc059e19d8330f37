#pragma once
// Memory for the large buffers of a load (the decoded text and the line records). Large blocks
// are mappings of their own that ask for huge pages (a first touch costs one fault per 2 MiB
// rather than per 4 KiB); small ones come from the heap. Freed large blocks are retained (up
// to a limit) and handed to the next load: on virtual machines the first touch of fresh memory
// costs far more than reusing pages the process already holds.

#include <cstddef>

namespace xylem {

class CyPageMemory {
 public:
  // Returns Bytes bytes (nullptr for 0), zero-filled unless Zeroed is false (then a retained
  // block comes back as it was left). Throws std::bad_alloc when out of memory. Thread-safe.
  static void* Allocate(size_t Bytes, bool Zeroed = true);
  // Frees a block from Allocate or Resize of the same size; large blocks are retained for
  // reuse while the retained total stays under the limit. nullptr is ignored. Thread-safe.
  static void Free(void* Block, size_t Bytes);
  // Returns every retained block to the system (front ends call it when documents close, or
  // before measuring memory). Thread-safe.
  static void ReleaseRetained();
  // Bytes currently retained.
  static size_t getRetainedBytes();
  // Grows or shrinks a block, keeping min(OldBytes, NewBytes) leading bytes and zero-filling
  // the rest. May move the block. NewBytes 0 frees it and returns nullptr.
  static void* Resize(void* Block, size_t OldBytes, size_t NewBytes);
  // Makes the pages of [Begin, Begin + Bytes) resident now, so that a parallel task takes the
  // faults of its own range instead of the first writer taking them one by one. Advisory.
  static void Populate(void* Begin, size_t Bytes);
};

// A contiguous block of records whose unused tail is always zero-filled: the array behind the
// line records. Records are plain data, so growing and moving them is a block move.
class CyMemoryBlockWithZero {
 public:
  explicit CyMemoryBlockWithZero(size_t ElementSize) : ElementSize_(ElementSize) {}
  ~CyMemoryBlockWithZero() { CyPageMemory::Free(Data_, Capacity_ * ElementSize_); }
  CyMemoryBlockWithZero(const CyMemoryBlockWithZero&) = delete;
  CyMemoryBlockWithZero& operator=(const CyMemoryBlockWithZero&) = delete;

  // First element; nullptr while nothing was ever reserved.
  void* getData() const { return Data_; }
  // Elements that fit without moving the block.
  size_t getCapacity() const { return Capacity_; }
  // Makes room for at least Count elements; when it grows, to exactly Count (the caller
  // chooses the slack). The contents are kept and the new elements zero-filled; a mapped
  // block grows by remapping, without copying.
  void Reserve(size_t Count);
  // Drops the contents and leaves a block of exactly Count elements whose contents are
  // undefined: the caller writes every element (a load fills all records in parallel, so
  // zeroing them first would only cost a pass over memory).
  void ResetUninitialized(size_t Count);
  // Zero-fills elements [First, First + Count).
  void Zero(size_t First, size_t Count);

 private:
  size_t ElementSize_;
  void* Data_ = nullptr;
  size_t Capacity_ = 0;
};

}  // namespace xylem
