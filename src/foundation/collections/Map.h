#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "foundation/ResultCodes.h"
#include "foundation/collections/IMap.h"
#include "foundation/collections/MapKey.h"
#include "foundation/collections/NodeList.h"

namespace kx {

template <typename K, typename V>
struct MapNode : NodeLinks<MapNode<K, V>> {
  MapNode(std::uint64_t keyHash, const K& pairKey, const V& pairValue)
      : hash(keyHash), key(pairKey), value(pairValue) {}

  MapNode* nextInBucket = nullptr;
  const std::uint64_t hash;
  const K key;
  V value;
};

// Enum is the enumerator of a Map; ConstEnum shows its values read-only.
template <typename K, typename V, typename Shown = V>
class Enum final : public NodeEnum<IEnum<K, Shown>, MapNode<K, V>> {
  using Base = NodeEnum<IEnum<K, Shown>, MapNode<K, V>>;

 public:
  explicit Enum(const NodeList<MapNode<K, V>>& list) : Base(list) {}

  const K* Key() override { return this->CurrentNode() ? &this->CurrentNode()->key : nullptr; }
  Shown* Value() override { return this->CurrentNode() ? &this->CurrentNode()->value : nullptr; }
};

template <typename K, typename V>
using ConstEnum = Enum<K, V, const V>;

// Map is a hash table of pairs by value; see IMap for its operations and MapKey for the types of
// its keys. Copying a map copies its pairs.
//
// The table starts with 8 buckets and doubles when it holds as many pairs. The pairs are also
// linked in order of insertion. Enumerators follow that order, so growing the table does not affect
// them.
template <typename K, typename V>
class Map final : public IMap<K, V> {
 public:
  Map() = default;
  Map(const Map& other) : IMap<K, V>() {
    for (const Node* node = other.nodes.First(); node; node = node->next) {
      Insert(std::make_unique<Node>(node->hash, node->key, node->value));
    }
  }
  Map(Map&& other) noexcept : IMap<K, V>() { Swap(other); }
  Map& operator=(Map other) noexcept {
    Swap(other);
    return *this;
  }
  ~Map() = default;

  std::uint32_t Add(const K& key, const V& value) override {
    const std::uint64_t hash = MapKey<K>::Hash(key);
    if (FindNode(hash, key)) {
      return kCifraAlreadyExists;
    }
    Insert(std::make_unique<Node>(hash, key, value));
    return kCifraSuccess;
  }

  V* Find(const K& key) override {
    Node* node = FindNode(MapKey<K>::Hash(key), key);
    return node ? &node->value : nullptr;
  }
  const V* Find(const K& key) const override {
    const Node* node = FindNode(MapKey<K>::Hash(key), key);
    return node ? &node->value : nullptr;
  }

  std::uint32_t Get(const K& key, V& out) const override {
    const V* value = Find(key);
    if (!value) {
      return kCifraNotFound;
    }
    out = *value;
    return kCifraSuccess;
  }

  // The enumerator may be another module's implementation, so only its interface is used: it is on
  // a pair of this map if the address of its key is that of the stored one.
  std::uint32_t Remove(IEnum<K, V>& at) override {
    const K* key = at.Key();
    Node* node = key ? FindNode(MapKey<K>::Hash(*key), *key) : nullptr;
    if (!node || &node->key != key) {
      return kCifraNotFound;
    }
    at.Next();
    RemoveNode(node);
    return kCifraSuccess;
  }
  std::uint32_t Remove(const K& key) override {
    Node* node = FindNode(MapKey<K>::Hash(key), key);
    if (!node) {
      return kCifraNotFound;
    }
    RemoveNode(node);
    return kCifraSuccess;
  }

  IEnum<K, V>* CreateEnum() override { return new Enum<K, V>(nodes); }
  IConstEnum<K, V>* CreateConstEnum() const override { return new ConstEnum<K, V>(nodes); }

  void Clear() override {
    nodes.Clear();
    buckets.reset();
    bucketCount = kFirstBucketCount;
  }
  std::size_t Count() const override { return nodes.Count(); }

 private:
  using Node = MapNode<K, V>;

  static constexpr std::size_t kFirstBucketCount = 8;

  Node*& BucketOf(std::uint64_t hash) const { return buckets[hash & (bucketCount - 1)]; }

  Node* FindNode(std::uint64_t hash, const K& key) const {
    Node* node = buckets ? BucketOf(hash) : nullptr;
    while (node && !(node->hash == hash && MapKey<K>::AreEqual(node->key, key))) {
      node = node->nextInBucket;
    }
    return node;
  }

  void Insert(std::unique_ptr<Node> node) {
    if (!buckets) {
      SetBuckets(kFirstBucketCount);
    } else if (nodes.Count() == bucketCount) {
      SetBuckets(bucketCount * 2);
    }
    nodes.AddLast(node.get());
    PutInBucket(node.release());
  }

  void PutInBucket(Node* node) {
    Node*& bucket = BucketOf(node->hash);
    node->nextInBucket = bucket;
    bucket = node;
  }

  void SetBuckets(std::size_t newCount) {
    buckets = std::make_unique<Node*[]>(newCount);
    bucketCount = newCount;
    for (Node* node = nodes.First(); node; node = node->next) {
      PutInBucket(node);
    }
  }

  void RemoveNode(Node* node) {
    Node** link = &BucketOf(node->hash);
    while (*link != node) {
      link = &(*link)->nextInBucket;
    }
    *link = node->nextInBucket;
    nodes.Remove(node);
  }

  void Swap(Map& other) noexcept {
    nodes.Swap(other.nodes);
    buckets.swap(other.buckets);
    std::swap(bucketCount, other.bucketCount);
  }

  NodeList<Node> nodes;
  std::unique_ptr<Node*[]> buckets;  // null until the first pair is added
  std::size_t bucketCount = kFirstBucketCount;
};

}  // namespace kx
