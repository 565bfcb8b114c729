#include "system/ReadAhead.h"

#include <utility>

#include "system/Input.h"

namespace client {

// Request is one piece being read; input and buffers are not let go before that has ended.
class ReadAhead::Request {
 public:
  Request(ReadAhead& ahead, Input& input, Piece& piece) : owner(ahead) {
    owner.Begin(input, piece);
  }
  ~Request() { owner.Await(); }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

 private:
  ReadAhead& owner;
};

ReadAhead::~ReadAhead() {
  {
    const std::lock_guard lock(mutex);
    isEnding = true;
  }
  changed.notify_all();
  if (reader.joinable()) {
    reader.join();
  }
}

void ReadAhead::ForEachPiece(Input& input, const Work& work) {
  Piece* current = &pieces[0];
  Piece* following = &pieces[1];
  current->size = input.Read(current->All());
  while (current->size == kPieceBytes) {
    {
      const Request request(*this, input, *following);
      work(current->Filled());
    }
    if (failure) {
      std::rethrow_exception(std::exchange(failure, nullptr));
    }
    std::swap(current, following);
  }
  work(current->Filled());
}

void ReadAhead::Begin(Input& input, Piece& piece) {
  if (!reader.joinable()) {
    reader = std::thread(&ReadAhead::Serve, this);
  }
  {
    const std::lock_guard lock(mutex);
    source = &input;
    target = &piece;
    failure = nullptr;
  }
  changed.notify_all();
}

void ReadAhead::Await() {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return !source; });
}

void ReadAhead::Serve() {
  std::unique_lock lock(mutex);
  for (;;) {
    changed.wait(lock, [this] { return isEnding || source; });
    if (isEnding) {
      return;
    }
    lock.unlock();
    std::exception_ptr problem;
    try {
      target->size = source->Read(target->All());
    } catch (...) {
      problem = std::current_exception();
    }
    lock.lock();
    failure = problem;
    source = nullptr;
    changed.notify_all();
  }
}

}  // namespace client
