#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <thread>

namespace client {

class Input;

// ReadAhead reads inputs piece by piece: while the caller works on one piece, a thread reads the
// next. The thread starts with the first input of more than one piece; it and the two buffers serve
// all inputs that follow.
class ReadAhead {
 public:
  using Work = std::function<void(std::span<const std::uint8_t>)>;

  ReadAhead() = default;
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  // Has work done on all that is left of the input. Throws what the input or the work throws.
  void ForEachPiece(Input& input, const Work& work);

 private:
  static constexpr std::size_t kPieceBytes = 1U << 20;

  // Buffers are written before they are read, so nothing clears them first.
  struct Piece {
    std::unique_ptr<std::uint8_t[]> bytes =
        std::make_unique_for_overwrite<std::uint8_t[]>(kPieceBytes);
    std::size_t size = 0;

    std::span<std::uint8_t> All() { return {bytes.get(), kPieceBytes}; }
    std::span<const std::uint8_t> Filled() const { return {bytes.get(), size}; }
  };

  class Request;
  void Begin(Input& input, Piece& piece);
  void Await();
  void Serve();

  Piece pieces[2];
  std::mutex mutex;
  std::condition_variable changed;
  Input* source = nullptr;  // set while a piece is asked for
  Piece* target = nullptr;
  std::exception_ptr failure;
  bool isEnding = false;
  std::thread reader;
};

}  // namespace client
