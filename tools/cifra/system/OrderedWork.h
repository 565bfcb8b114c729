#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

namespace client {

// OrderedWork works on items in several threads and hands out the results in the order of the
// items, each as soon as those before it are done. Memory does not grow with the number of items:
// at most kWaitingItems for each thread are taken before their turn to be handed out.
//
//   next    gives the next item, or nothing at the end;
//   take    receives an item and its result;
//   makeWorker  makes what turns an item into a result; called once for each thread.
//
// These three run on the caller's thread; a worker runs on one thread, and no other calls it. What
// a worker throws is thrown by Run when it is the item's turn; that ends the run, as does what the
// others throw: items in work are then finished, and their results dropped.
template <typename Item, typename Result>
class OrderedWork {
 public:
  using Next = std::function<std::optional<Item>()>;
  using Worker = std::function<Result(const Item&)>;
  using Take = std::function<void(const Item&, Result)>;

  // With a single thread everything runs on the caller's.
  static void Run(std::size_t threads, const Next& next, const std::function<Worker()>& makeWorker,
                  const Take& take) {
    if (threads > 1) {
      RunBeside(threads, next, makeWorker, take);
      return;
    }
    const Worker worker = makeWorker();
    while (const std::optional<Item> item = next()) {
      take(*item, worker(*item));
    }
  }

  // The workers have threads of their own, even a single one.
  static void RunBeside(std::size_t threads, const Next& next,
                        const std::function<Worker()>& makeWorker, const Take& take) {
    OrderedWork work;
    for (std::size_t i = 0; i < threads; ++i) {
      work.threads.emplace_back(&OrderedWork::WorkOff, &work, makeWorker());
    }
    work.HandOut(threads * kWaitingItems, next, take);
  }

  ~OrderedWork() {
    {
      const std::lock_guard lock(mutex);
      isEnding = true;
    }
    hasItem.notify_all();
    for (std::thread& thread : threads) {
      thread.join();
    }
  }
  OrderedWork(const OrderedWork&) = delete;
  OrderedWork& operator=(const OrderedWork&) = delete;

 private:
  static constexpr std::size_t kWaitingItems = 64;

  struct Slot {
    explicit Slot(Item&& taken) : item(std::move(taken)) {}

    Item item;
    std::optional<Result> result;
    std::exception_ptr failure;

    bool IsDone() const { return result || failure; }
  };

  OrderedWork() = default;

  void HandOut(std::size_t mostWaiting, const Next& next, const Take& take) {
    bool isEnd = false;
    for (;;) {
      while (!isEnd && inOrder.size() < mostWaiting) {
        std::optional<Item> item = next();
        isEnd = !item;
        if (item) {
          Add(std::move(*item));
        }
      }
      if (inOrder.empty()) {
        return;
      }
      const std::unique_ptr<Slot> slot = Await();
      if (slot->failure) {
        std::rethrow_exception(slot->failure);
      }
      take(slot->item, std::move(*slot->result));
    }
  }

  void Add(Item&& item) {
    inOrder.push_back(std::make_unique<Slot>(std::move(item)));
    {
      const std::lock_guard lock(mutex);
      unclaimed.push_back(inOrder.back().get());
    }
    hasItem.notify_one();
  }

  // Waits for the first item to be done.
  std::unique_ptr<Slot> Await() {
    std::unique_ptr<Slot> slot = std::move(inOrder.front());
    inOrder.pop_front();
    std::unique_lock lock(mutex);
    awaited = slot.get();
    isDone.wait(lock, [&slot] { return slot->IsDone(); });
    awaited = nullptr;
    return slot;
  }

  void WorkOff(const Worker& worker) {
    std::unique_lock lock(mutex);
    for (;;) {
      hasItem.wait(lock, [this] { return isEnding || !unclaimed.empty(); });
      if (isEnding) {
        return;
      }
      Slot* const slot = unclaimed.front();
      unclaimed.pop_front();
      lock.unlock();
      std::optional<Result> result;
      std::exception_ptr failure;
      try {
        result.emplace(worker(slot->item));
      } catch (...) {
        failure = std::current_exception();
      }
      lock.lock();
      slot->result = std::move(result);
      slot->failure = failure;
      if (slot == awaited) {
        isDone.notify_one();
      }
    }
  }

  std::deque<std::unique_ptr<Slot>> inOrder;  // of the caller's thread alone

  std::mutex mutex;
  std::condition_variable hasItem;
  std::condition_variable isDone;
  std::deque<Slot*> unclaimed;
  const Slot* awaited = nullptr;
  bool isEnding = false;
  std::vector<std::thread> threads;
};

}  // namespace client
