#pragma once

#include <cstddef>
#include <utility>

namespace kx {

// NodeLinks is the base of what a NodeList holds.
template <typename Node>
struct NodeLinks {
  Node* next = nullptr;
  Node* previous = nullptr;
};

// NodeList owns nodes in a doubly linked order. Lists and maps both keep their elements in one, so
// that an element stays where it is until it is removed, whatever happens to its neighbours.
template <typename Node>
class NodeList {
 public:
  NodeList() = default;
  NodeList(NodeList&& other) noexcept { Swap(other); }
  NodeList(const NodeList&) = delete;
  NodeList& operator=(const NodeList&) = delete;
  ~NodeList() { Clear(); }

  Node* First() const { return first; }
  Node* Last() const { return last; }
  std::size_t Count() const { return count; }

  // Takes over a node made with new.
  void AddFirst(Node* node) noexcept { Link(node, nullptr, first); }
  void AddLast(Node* node) noexcept { Link(node, last, nullptr); }

  // Destroys one node, or all.
  void Remove(Node* node) noexcept {
    (node->previous ? node->previous->next : first) = node->next;
    (node->next ? node->next->previous : last) = node->previous;
    --count;
    delete node;
  }
  void Clear() noexcept {
    while (Node* node = first) {
      first = node->next;
      delete node;
    }
    last = nullptr;
    count = 0;
  }

  void Swap(NodeList& other) noexcept {
    std::swap(first, other.first);
    std::swap(last, other.last);
    std::swap(count, other.count);
  }

 private:
  void Link(Node* node, Node* previous, Node* next) noexcept {
    node->previous = previous;
    node->next = next;
    (previous ? previous->next : first) = node;
    (next ? next->previous : last) = node;
    ++count;
  }

  Node* first = nullptr;
  Node* last = nullptr;
  std::size_t count = 0;
};

// NodeEnum gives an enumerator interface its place in a NodeList. What it shows of the node at that
// place is left to the derived class. It lives on the heap and is destroyed by Release.
template <typename Interface, typename Node>
class NodeEnum : public Interface {
 public:
  bool IsValid() const override { return node != nullptr; }
  void Next() override {
    if (node) {
      node = node->next;
    }
  }
  void Release() override {
    // Through its slot the operation can be called without an enumerator. The compiler takes `this`
    // for never null and would drop a plain test.
    NodeEnum* volatile self = this;
    delete self;
  }
  void Reset() override { node = nodes.First(); }

 protected:
  explicit NodeEnum(const NodeList<Node>& list) : nodes(list), node(list.First()) {}

  // The node at the enumerator's place, null past the end.
  Node* Place() const { return node; }

 private:
  const NodeList<Node>& nodes;
  Node* node;
};

}  // namespace kx
