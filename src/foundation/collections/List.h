#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "foundation/ResultCodes.h"
#include "foundation/collections/IList.h"
#include "foundation/collections/NodeList.h"

namespace kx {

template <typename T>
struct ListNode : NodeLinks<ListNode<T>> {
  explicit ListNode(const T& element) : value(element) {}

  T value;
};

// ListEnum is the enumerator of a List; ConstListEnum shows its elements read-only.
template <typename T, typename Element = T>
class ListEnum final : public NodeEnum<IListEnum<Element>, ListNode<T>> {
  using Base = NodeEnum<IListEnum<Element>, ListNode<T>>;

 public:
  explicit ListEnum(const NodeList<ListNode<T>>& list) : Base(list) {}

  Element* Current() override {
    return this->CurrentNode() ? &this->CurrentNode()->value : nullptr;
  }
};

template <typename T>
using ConstListEnum = ListEnum<T, const T>;

// List is a doubly linked list of T by value; see IList for its operations. Copying a list copies
// its elements.
template <typename T>
class List final : public IList<T> {
 public:
  List() = default;
  List(const List& other) : IList<T>() {
    for (const Node* node = other.nodes.First(); node; node = node->next) {
      AddTail(node->value);
    }
  }
  List(List&& other) noexcept = default;
  List& operator=(List other) noexcept {
    nodes.Swap(other.nodes);
    return *this;
  }
  ~List() = default;

  std::uint32_t AddTail(const T& value) override {
    nodes.AddLast(new Node(value));
    return kCifraSuccess;
  }
  std::uint32_t AddHead(const T& value) override {
    nodes.AddFirst(new Node(value));
    return kCifraSuccess;
  }

  T* GetTail() override { return ValueOf(nodes.Last()); }
  const T* GetTail() const override { return ValueOf(nodes.Last()); }
  std::uint32_t GetTail(T& out) const override { return CopyOut(nodes.Last(), out); }

  T* GetHead() override { return ValueOf(nodes.First()); }
  const T* GetHead() const override { return ValueOf(nodes.First()); }
  std::uint32_t GetHead(T& out) const override { return CopyOut(nodes.First(), out); }

  std::uint32_t Remove(IListEnum<T>& at) override {
    Node* node = NodeAt(at);
    if (!node) {
      return kCifraNotFound;
    }
    at.Next();
    nodes.Remove(node);
    return kCifraSuccess;
  }

  IListEnum<T>* CreateEnum() override { return new ListEnum<T>(nodes); }
  IConstListEnum<T>* CreateConstEnum() const override { return new ConstListEnum<T>(nodes); }

  std::size_t Count() const { return nodes.Count(); }

 private:
  using Node = ListNode<T>;

  // The enumerator's node, or null if it is on no element of this list. Another module's
  // implementation can only be asked for the address of its element, which is then searched for.
  Node* NodeAt(IListEnum<T>& at) const {
    if (IsListEnum(at)) {
      const auto& own = static_cast<ListEnum<T>&>(at);
      return own.Walks(nodes) ? own.CurrentNode() : nullptr;
    }
    const T* element = at.Current();
    Node* node = nodes.First();
    while (node && &node->value != element) {
      node = node->next;
    }
    return node;
  }

  // Compares virtual tables: RTTI is not used because another compiler's has another layout.
  bool IsListEnum(const IListEnum<T>& at) const {
    const ListEnum<T> own(nodes);
    return std::memcmp(static_cast<const void*>(&at), static_cast<const void*>(&own),
                       sizeof(void*)) == 0;
  }

  static T* ValueOf(Node* node) { return node ? &node->value : nullptr; }

  static std::uint32_t CopyOut(const Node* node, T& out) {
    if (!node) {
      return kCifraNotFound;
    }
    out = node->value;
    return kCifraSuccess;
  }

  NodeList<Node> nodes;
};

}  // namespace kx
