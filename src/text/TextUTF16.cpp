#include "text/TextUTF16.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "text/PageMemory.hpp"

namespace xylem {

CyTextOwner* CyTextOwner::CreateCopy(std::u16string_view Text) {
  void* memory = std::malloc(sizeof(CyTextOwner) + (Text.size() + 1) * sizeof(char16_t));
  if (!memory) throw std::bad_alloc();
  auto* owner = new (memory) CyTextOwner();
  owner->Buffer_ = reinterpret_cast<char16_t*>(static_cast<char*>(memory) + sizeof(CyTextOwner));
  owner->Units_ = Text.size();
  owner->Inline_ = true;
  if (!Text.empty()) std::memcpy(owner->Buffer_, Text.data(), Text.size() * sizeof(char16_t));
  owner->Buffer_[Text.size()] = u'\0';
  return owner;
}

CyTextOwner* CyTextOwner::CreateBuffer(size_t Units) {
  auto* buffer =
      static_cast<char16_t*>(CyPageMemory::Allocate((Units + 1) * sizeof(char16_t), false));
  auto* owner = new (std::nothrow) CyTextOwner();
  if (!owner) {
    CyPageMemory::Free(buffer, (Units + 1) * sizeof(char16_t));
    throw std::bad_alloc();
  }
  owner->Buffer_ = buffer;
  owner->Units_ = Units;
  return owner;
}

void CyTextOwner::Release(size_t Count) {
  if (RefCount_.fetch_sub(Count, std::memory_order_acq_rel) != Count) return;
  if (Inline_) {
    this->~CyTextOwner();
    std::free(this);
  } else {
    CyPageMemory::Free(Buffer_, (Units_ + 1) * sizeof(char16_t));
    delete this;
  }
}

std::u16string TyTextUTF16::getHeadOfText(size_t Tail) const {
  return std::u16string(Text, std::min(Tail, Length));
}

std::u16string TyTextUTF16::getMiddOfText(size_t Head, size_t Count) const {
  if (Head < 1) Head = 1;
  if (Head > Length) return {};
  return std::u16string(getView().substr(Head - 1, Count));
}

std::u16string TyTextUTF16::getTailOfText(size_t Head) const { return getMiddOfText(Head, Length); }

void TyTextUTF16::Replace(std::u16string_view Value) {
  // Copy first: Value may point into the buffer this slice is about to release.
  CyTextOwner* owner = Value.empty() ? nullptr : CyTextOwner::CreateCopy(Value);
  Free();
  if (owner) {
    Owner = owner;
    Text = owner->getBuffer();
    Length = Value.size();
  }
}

void TyTextUTF16::Free() {
  if (Owner) Owner->Release();
  Owner = nullptr;
  Text = nullptr;
  Length = 0;
}

}  // namespace xylem
