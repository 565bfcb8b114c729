#pragma once

#include <cstddef>
#include <utility>

namespace kx {

// NodeLinks is the base of the nodes of a NodeList.
template <typename Node>
struct NodeLinks {
  Node* next = nullptr;
  Node* previous = nullptr;
};

// NodeList is a doubly linked list that owns its nodes. Lists and maps keep their elements in one,
// which gives every element a stable address until it is removed.
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

  // Takes ownership of a node made with new.
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

// NodeEnum implements an enumerator interface as a position in a NodeList; the derived class gives
// access to the current node. It lives on the heap until Release.
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
    // A caller may go through the table with a null pointer. The compiler assumes that `this` is
    // never null and would drop a plain test.
    NodeEnum* volatile self = this;
    delete self;
  }
  void Reset() override { node = nodes.First(); }

  // Null past the end.
  Node* CurrentNode() const { return node; }
  bool Walks(const NodeList<Node>& list) const { return &nodes == &list; }

 protected:
  explicit NodeEnum(const NodeList<Node>& list) : nodes(list), node(list.First()) {}

 private:
  const NodeList<Node>& nodes;
  Node* node;
};

}  // namespace kx
