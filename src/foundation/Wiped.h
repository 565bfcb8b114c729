#pragma once

#include <array>
#include <cstddef>
#include <utility>
#include <vector>

#include "foundation/Wipe.h"
#include "foundation/string/StringT.h"

namespace kx {

// WipeContent overwrites the whole memory of a container, what lies beyond its length included.
template <typename Char>
void WipeContent(StringT<Char>& text) noexcept {
  Wipe(const_cast<Char*>(text.CStr()), text.Capacity() * sizeof(Char));
}
template <typename T>
void WipeContent(std::vector<T>& vector) noexcept {
  Wipe(vector.data(), vector.capacity() * sizeof(T));
}
template <typename T, std::size_t kCount>
void WipeContent(std::array<T, kCount>& array) noexcept {
  Wipe(array.data(), sizeof(array));
}

// Wiped is a container of plaintext that is wiped before its memory is given up. Memory that it
// leaves behind by growing is not: give it its size at once.
template <typename Container>
class Wiped final : public Container {
 public:
  using Container::Container;
  Wiped() : Container() {}
  explicit Wiped(Container&& other) : Container(std::move(other)) {}
  Wiped(const Wiped&) = delete;
  Wiped& operator=(const Wiped&) = delete;
  ~Wiped() { WipeContent<>(*this); }
};

}  // namespace kx
