#pragma once
// A line's characters: a slice of a reference-counted UTF-16 buffer. Lines filled by a load all
// point into the file's one decoded buffer; an edited line owns a private copy. Slices are
// plain data (the line records are moved as raw memory), so references are taken and dropped
// explicitly by the text list, never by copying a slice.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace xylem {

// The reference-counted owner of a UTF-16 buffer. The buffer is NUL-terminated behind every
// slice that points into it (the loader overwrites line ends with NUL).
class CyTextOwner {
 public:
  // A private copy of Text with a NUL behind it, one allocation for owner and characters;
  // one reference held by the caller.
  static CyTextOwner* CreateCopy(std::u16string_view Text);
  // A buffer of Units + 1 code units with undefined contents (the caller writes the text and
  // its NUL) from CyPageMemory; one reference held by the caller.
  static CyTextOwner* CreateBuffer(size_t Units);

  char16_t* getBuffer() const { return Buffer_; }
  size_t getUnits() const { return Units_; }

  // Take or drop Count references. Thread-safe; the last drop frees owner and buffer.
  void AddRef(size_t Count = 1) { RefCount_.fetch_add(Count, std::memory_order_relaxed); }
  void Release(size_t Count = 1);
  size_t getRefCount() const { return RefCount_.load(std::memory_order_relaxed); }

 private:
  CyTextOwner() = default;
  ~CyTextOwner() = default;
  std::atomic<size_t> RefCount_{1};
  char16_t* Buffer_ = nullptr;
  size_t Units_ = 0;
  bool Inline_ = false;  // characters live behind the owner in the same allocation
};

// A slice [Text, Text + Length) of Owner's buffer. All zero is the empty slice (no owner).
// Positions taken by the getters are 1-based line positions unless the name says otherwise.
struct TyTextUTF16 {
  CyTextOwner* Owner;
  const char16_t* Text;
  size_t Length;

  std::u16string_view getView() const { return {Text, Length}; }
  // The characters as a NUL-terminated string (u"" for the empty slice).
  const char16_t* getText() const { return Text ? Text : u""; }
  // Characters 1 .. Tail (clamped to the length).
  std::u16string getHeadOfText(size_t Tail) const;
  // Count characters from position Head (clamped to the text).
  std::u16string getMiddOfText(size_t Head, size_t Count) const;
  // Characters from position Head to the end.
  std::u16string getTailOfText(size_t Head) const;
  std::u16string getAsString() const { return std::u16string(getView()); }
  // Character at 0-based Index; 0 (the terminator) at or beyond the end.
  char16_t getAsText_0_based(size_t Index) const { return Index < Length ? Text[Index] : u'\0'; }
  // Character at 1-based Position; 0 outside 1 .. Length.
  char16_t getAsText_1_based(size_t Position) const {
    return Position >= 1 && Position <= Length ? Text[Position - 1] : u'\0';
  }
  // Drops the current reference and makes the slice a private, NUL-terminated copy of Value
  // (the empty slice for an empty Value). Value may alias the current text.
  void Replace(std::u16string_view Value);
  // Drops the reference and empties the slice.
  void Free();
};

}  // namespace xylem
