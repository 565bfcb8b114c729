#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <string>
#include <utility>

#include "Require.h"
#include "foundation/string/StringT.h"

// Operations of the string, in any order, beside a standard string.
namespace {

using Text = kx::StringT<char>;
using Cifra::Fuzz::Require;

void RequireEqual(const Text& text, const std::string& model) {
  Require(text.Length() == model.size());
  Require(std::equal(model.begin(), model.end(), text.CStr()));
  Require(text.CStr()[model.size()] == 0);
  Require(text.Capacity() >= model.size());
  Require(text.IsEmpty() == model.empty());
}

std::string AnyText(FuzzedDataProvider& input) {
  std::string text = input.ConsumeRandomLengthString(input.ConsumeBool() ? 8 : 700);
  std::replace(text.begin(), text.end(), '\0', 'x');
  return text;
}

void FillBuffer(Text& text, std::string& model, FuzzedDataProvider& input) {
  const std::string filling = AnyText(input);
  char* buffer = text.GetBuffer(filling.size());
  std::copy(filling.begin(), filling.end(), buffer);
  buffer[filling.size()] = 0;
  if (input.ConsumeBool()) {
    text.ReleaseBuffer();
    model = filling;
  } else {
    const std::size_t length = input.ConsumeIntegralInRange<std::size_t>(0, filling.size());
    text.ReleaseBuffer(length);
    model = filling.substr(0, length);
  }
}

void Change(Text& text, std::string& model, FuzzedDataProvider& input) {
  switch (input.ConsumeIntegralInRange(0, 9)) {
    case 0:
      model = AnyText(input);
      Require(text.Assign(model.c_str()));
      break;
    case 1: {
      const std::string more = AnyText(input);
      const std::size_t count = input.ConsumeIntegralInRange<std::size_t>(0, more.size());
      Require(text.Append(more.c_str(), count));
      model.append(more, 0, count);
      break;
    }
    case 2:
      Require(text.Reserve(input.ConsumeIntegralInRange<std::size_t>(0, 3000)));
      break;
    case 3: {
      const std::size_t capacity = input.ConsumeIntegralInRange<std::size_t>(0, 500);
      const bool keepsText = input.ConsumeBool();
      Require(text.SetBuffer(capacity, keepsText));
      model.resize(keepsText ? std::min(model.size(), capacity) : 0);
      Require(text.Capacity() == capacity);
      break;
    }
    case 4:
      FillBuffer(text, model, input);
      break;
    case 5:
      text = Text(text);
      break;
    case 6: {
      Text other = std::move(text);
      RequireEqual(other, model);
      text = std::move(other);
      break;
    }
    case 7: {
      const Text& self = text;
      text = self;
      break;
    }
    case 8:  // a part of itself
      if (!model.empty()) {
        const std::size_t from = input.ConsumeIntegralInRange<std::size_t>(0, model.size() - 1);
        Require(text.Append(text.CStr() + from));
        model += model.substr(from);
      }
      break;
    default:
      Require(text.Assign(nullptr));
      model.clear();
  }
  if (model.size() > 20'000) {
    text = "";
    model.clear();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  kx::FixedStringBuffer<char, 64> frame;
  Text framed(frame);
  Text free;
  const bool isFramed = input.ConsumeBool();
  Text& text = isFramed ? framed : free;
  std::string model;
  while (input.remaining_bytes() > 0) {
    Change(text, model, input);
    RequireEqual(text, model);
  }
  return 0;
}
