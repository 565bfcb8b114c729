#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <string>

#include "foundation/Fatal.h"
#include "foundation/string/MemMgr.h"

namespace kx {

// ChTraitsCRT provides the text operations of a character type, as in the C runtime. Counts are in
// characters.
template <typename Char>
struct ChTraitsCRT {
  static std::size_t Length(const Char* text) { return std::char_traits<Char>::length(text); }
  static bool AreEqual(const Char* left, const Char* right) {
    const std::size_t length = Length(left);
    return length == Length(right) && std::char_traits<Char>::compare(left, right, length) == 0;
  }
  static void Move(Char* to, const Char* from, std::size_t count) {
    std::char_traits<Char>::move(to, from, count);
  }
};

// StringHeader describes the buffer of one string. Its layout (40 bytes) is part of the binary
// interface: strings are passed between modules by pointer.
struct StringHeader {
  IMemMgr* memMgr = nullptr;  // allocated the block and will free it
  std::size_t length = 0;     // in characters
  std::size_t capacity = 0;   // in characters, without the terminator
  std::size_t growBlock = 0;  // smallest growth step, in characters
  std::uint8_t ownsBuffer = 0;
  std::uint8_t ownsHeader = 0;
};
static_assert(sizeof(StringHeader) == 40);

// StringBlock is the layout of the memory that holds a string's characters:
//
//   0   guard word            12  guard word
//   4   pointer to header     16  capacity + 1 characters, the last always 0
//                                 guard word, directly after the characters
template <typename Char>
struct StringBlock {
  static constexpr std::uint32_t kGuard = 0xABCD;
  static constexpr std::size_t kHeaderPointerOffset = 4;
  static constexpr std::size_t kSecondGuardOffset = 12;
  static constexpr std::size_t kPrefixBytes = 16;
  static constexpr std::size_t kMaxCapacity =
      ((std::numeric_limits<std::size_t>::max)() - kPrefixBytes - sizeof(kGuard)) / sizeof(Char) -
      1;

  static constexpr std::size_t BytesFor(std::size_t capacity) {
    return kPrefixBytes + (capacity + 1) * sizeof(Char) + sizeof(kGuard);
  }

  static Char* TextOf(void* block) {
    return reinterpret_cast<Char*>(static_cast<std::byte*>(block) + kPrefixBytes);
  }
  static std::byte* BlockOf(const Char* text) {
    return reinterpret_cast<std::byte*>(const_cast<Char*>(text)) - kPrefixBytes;
  }

  static StringHeader* HeaderOf(const Char* text) {
    StringHeader* header;
    std::memcpy(&header, BlockOf(text) + kHeaderPointerOffset, sizeof(header));
    return header;
  }

  // Writes everything around the characters of a block: guards, header pointer and last terminator.
  static void Frame(void* block, StringHeader* header, std::size_t capacity) {
    std::byte* bytes = static_cast<std::byte*>(block);
    Char* text = TextOf(block);
    std::memcpy(bytes, &kGuard, sizeof(kGuard));
    std::memcpy(bytes + kHeaderPointerOffset, &header, sizeof(header));
    std::memcpy(bytes + kSecondGuardOffset, &kGuard, sizeof(kGuard));
    text[capacity] = 0;
    std::memcpy(text + capacity + 1, &kGuard, sizeof(kGuard));
  }

  // The header pointer is dereferenced only if both leading guards are intact.
  static bool IsIntact(const Char* text) {
    const std::byte* bytes = BlockOf(text);
    return HoldsGuard(bytes) && HoldsGuard(bytes + kSecondGuardOffset) &&
           HoldsGuard(text + HeaderOf(text)->capacity + 1);
  }

 private:
  static bool HoldsGuard(const void* at) {
    std::uint32_t word;
    std::memcpy(&word, at, sizeof(word));
    return word == kGuard;
  }
};

// FixedStringBuffer is a buffer in the caller's frame, for a string that rarely exceeds Capacity
// characters. It must outlive the string bound to it.
template <typename Char, std::size_t Capacity = 260>
class FixedStringBuffer {
 public:
  FixedStringBuffer() = default;
  FixedStringBuffer(const FixedStringBuffer&) = delete;
  FixedStringBuffer& operator=(const FixedStringBuffer&) = delete;

 private:
  template <typename, typename, typename, int>
  friend class StringT;

  StringHeader header;
  alignas(16) std::byte block[StringBlock<Char>::BytesFor(Capacity)];
};

// StringT is a string whose buffer is surrounded by guard words. It holds only a pointer to the
// first character, null while the string is unset and reads as empty. Modules that share neither a
// heap nor a standard library may pass strings to each other.
//
// Every operation that changes the text checks the guards at its end, and the destructor at its
// beginning. A damaged guard or a length beyond the capacity ends the process (see Fatal). So does
// a failed allocation, unless the operation returns bool: it then returns false and changes
// nothing.
//
// Lengths, capacities and counts are in characters and do not include the terminator. One thread at
// a time may use a string. BlockVersion is the version of the block's layout, which is 1
// everywhere; it is a parameter because the contract fixes the template's parameters.
template <typename Char, typename MemMgr = StringMemMgr, typename Traits = ChTraitsCRT<Char>,
          int BlockVersion = 1>
class StringT {
 public:
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  StringT() = default;
  // Implicit: plain text is accepted wherever a string is.
  StringT(const Char* source) {  // NOLINT(google-explicit-constructor)
    FatalUnless(Assign(source));
  }
  StringT(const Char* source, std::size_t count) { FatalUnless(Assign(source, count)); }
  StringT(const StringT& other) {
    if (other.text) {
      CopyFrom(other);
    }
  }
  // Takes over a buffer that is this module's default manager's; copies the text of any other.
  StringT(StringT&& other) noexcept { TakeFrom(other); }

  // Binds an empty string to a buffer in the caller's frame. Text that outgrows it moves to the
  // heap.
  template <std::size_t Capacity>
  explicit StringT(FixedStringBuffer<Char, Capacity>& fixed) {
    fixed.header = {&defaultMemMgr<MemMgr>, 0, Capacity, Capacity, 0, 0};
    text = Block::TextOf(fixed.block);
    text[0] = 0;
    Block::Frame(fixed.block, &fixed.header, Capacity);
  }

  ~StringT() { Destroy(); }

  StringT& operator=(const Char* source) {
    FatalUnless(Assign(source));
    return *this;
  }
  StringT& operator=(const StringT& other) {
    if (this != &other) {
      CopyFrom(other);
    }
    return *this;
  }
  StringT& operator=(StringT&& other) noexcept {
    if (this != &other) {
      Destroy();
      TakeFrom(other);
    }
    return *this;
  }

  // The text, terminated; never null.
  const Char* CStr() const { return text ? text : &kTerminator; }
  std::size_t Length() const { return text ? Header().length : 0; }
  std::size_t Capacity() const { return text ? Header().capacity : 0; }
  bool IsEmpty() const { return Length() == 0; }

  // Makes the capacity at least minimum, keeping the text. The first buffer has at least 64
  // characters; below 1024 characters the capacity at least doubles, above it grows by at least
  // 1024.
  bool Reserve(std::size_t minimum) {
    const std::size_t capacity = Capacity();
    if (capacity != 0 && capacity >= minimum) {
      return true;
    }
    const std::size_t growBlock = text ? Header().growBlock : kGrowBlock;
    const std::size_t missing = minimum > capacity ? minimum - capacity : 0;
    const std::size_t leastStep = (std::min)(capacity, kLinearStep);
    return SetBuffer(capacity + (std::max)({missing, growBlock, leastStep}), true);
  }

  // Gives the string its own buffer of exactly newCapacity characters. Without keepText the string
  // becomes empty; with it, text beyond the capacity is cut off. Text written through GetBuffer is
  // kept before its release, too.
  bool SetBuffer(std::size_t newCapacity, bool keepText) {
    if (newCapacity > Block::kMaxCapacity) {
      return false;
    }
    CheckGuards();
    StringHeader* header = text ? &Header() : NewHeader();
    if (!header) {
      return false;
    }
    void* block =
        header->ownsBuffer ? ResizedBlock(*header, newCapacity) : FirstBlock(*header, newCapacity);
    if (!block) {
      if (!text) {
        header->memMgr->Free(header);
      }
      return false;
    }
    text = Block::TextOf(block);
    Block::Frame(block, header, newCapacity);
    header->ownsBuffer = 1;
    header->capacity = newCapacity;
    header->length = keepText ? (std::min)(header->length, newCapacity) : 0;
    if (!keepText) {
      text[0] = 0;
    }
    CheckGuards();
    return true;
  }

  // Replaces the text. A count of npos means up to the terminator; a null source means the empty
  // text. The source may lie inside this string; the string's own pointer, CStr(), leaves it as it
  // is, whatever the count.
  bool Assign(const Char* source, std::size_t count = npos) {
    CheckGuards();
    if (text && source == text) {
      return true;
    }
    if (!source) {
      count = 0;
    } else if (count == npos) {
      count = Traits::Length(source);
    }
    return Replace(0, source, count);
  }

  // Appends count characters (npos: up to the terminator). The source may lie inside this string.
  bool Append(const Char* source, std::size_t count = npos) {
    if (!source) {
      count = 0;
    }
    return Replace(Length(), source, count == npos ? Traits::Length(source) : count);
  }

  // Returns the buffer for writing, at least minimum characters and a terminator; call
  // ReleaseBuffer afterwards. Keeps the text. Never null: the process ends without memory.
  Char* GetBuffer(std::size_t minimum) {
    FatalUnless(Reserve(minimum));
    return text;
  }

  // Sets the length after writing to the buffer; npos means up to the first 0.
  void ReleaseBuffer(std::size_t newLength = npos) {
    if (!text) {
      FatalUnless(newLength == 0 || newLength == npos);
      return;
    }
    SetLength(newLength == npos ? Traits::Length(text) : newLength);
    CheckGuards();
  }

 private:
  using Block = StringBlock<Char>;

  static constexpr Char kTerminator = 0;
  static constexpr std::size_t kGrowBlock = 64;
  static constexpr std::size_t kLinearStep = 1024;

  StringHeader& Header() const { return *Block::HeaderOf(text); }

  void CheckGuards() const {
    if (text) {
      FatalUnless(Block::IsIntact(text));
    }
  }

  void SetLength(std::size_t length) {
    StringHeader& header = Header();
    FatalUnless(length <= header.capacity);
    header.length = length;
    text[length] = 0;
  }

  // Writes count characters from source at position; the text ends after them.
  bool Replace(std::size_t position, const Char* source, std::size_t count) {
    CheckGuards();
    if (count > Block::kMaxCapacity - position) {
      return false;
    }
    const std::less_equal<const Char*> isNotAbove;
    const bool isOwnText =
        text && isNotAbove(text, source) && isNotAbove(source, text + Capacity());
    const std::size_t offset = isOwnText ? static_cast<std::size_t>(source - text) : 0;
    if (!Reserve(position + count)) {
      return false;
    }
    if (count > 0) {
      Traits::Move(text + position, isOwnText ? text + offset : source, count);
    }
    SetLength(position + count);
    CheckGuards();
    return true;
  }

  void CopyFrom(const StringT& other) {
    other.CheckGuards();
    FatalUnless(Assign(other.text, other.Length()));
  }

  void TakeFrom(StringT& other) noexcept {
    other.CheckGuards();
    if (!other.text) {
      text = nullptr;
      return;
    }
    const StringHeader& header = other.Header();
    if (header.ownsHeader && header.ownsBuffer && header.memMgr == &defaultMemMgr<MemMgr>) {
      text = other.text;
      other.text = nullptr;
    } else {
      text = nullptr;
      CopyFrom(other);
    }
  }

  static StringHeader* NewHeader() {
    IMemMgr& memMgr = defaultMemMgr<MemMgr>;
    void* memory = memMgr.Allocate(sizeof(StringHeader));
    return memory ? new (memory) StringHeader{&memMgr, 0, 0, kGrowBlock, 0, 1} : nullptr;
  }

  // Allocates a zeroed block for a string that owns none and copies the content of its fixed
  // buffer, if any.
  void* FirstBlock(const StringHeader& header, std::size_t newCapacity) const {
    const std::size_t bytes = Block::BytesFor(newCapacity);
    void* block = header.memMgr->Allocate(bytes);
    if (block) {
      std::memset(block, 0, bytes);
      if (text) {
        Traits::Move(Block::TextOf(block), text, (std::min)(header.capacity, newCapacity));
      }
    }
    return block;
  }

  // Resizes the string's own block. If the manager cannot, a new block replaces it.
  void* ResizedBlock(const StringHeader& header, std::size_t newCapacity) const {
    const std::size_t bytes = Block::BytesFor(newCapacity);
    std::byte* oldBlock = Block::BlockOf(text);
    void* block = header.memMgr->Reallocate(oldBlock, bytes);
    if (!block) {
      block = header.memMgr->Allocate(bytes);
      if (block) {
        std::memcpy(block, oldBlock, (std::min)(bytes, Block::BytesFor(header.capacity)));
        header.memMgr->Free(oldBlock);
      }
    }
    return block;
  }

  void Destroy() {
    if (!text) {
      return;
    }
    CheckGuards();
    StringHeader& header = Header();
    IMemMgr& memMgr = *header.memMgr;
    const bool ownsHeader = header.ownsHeader;
    if (header.ownsBuffer) {
      memMgr.Free(Block::BlockOf(text));
    }
    if (ownsHeader) {
      memMgr.Free(&header);
    }
    memMgr.Release();
    text = nullptr;
  }

  Char* text = nullptr;
};

static_assert(sizeof(StringT<wchar_t>) == sizeof(void*));

}  // namespace kx
