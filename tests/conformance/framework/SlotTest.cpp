#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/LibraryUnderTest.h"
#include "support/Slots.h"

// Calls every operation by its slot number in the object's table, like a caller that knows nothing
// but the numbers.
namespace {

using Bytes = std::vector<std::uint8_t>;
using Cifra::Object;
using Cifra::Test::CallSlot;
using Cifra::Test::Library;

const Bytes kKey = {1, 2, 3, 4, 5};
const Bytes kPlain = {'p', 'l', 'a', 'i', 'n', '!', '!', '!'};

TEST(Slots, OfTheBaseInterface_HoldQueryInterface) {
  const Object<Cifra::IBase64> object(Library());
  const InterfaceId iid = Cifra::IBase64::kInterfaceId;
  EXPECT_EQ(object.Get(), CallSlot<void*>(object.Base(), 0, &iid));
}

TEST(Slots, OfBlowfish_HoldSetKeyEncryptAndDecrypt) {
  const Object<Cifra::IBlowfish> object(Library());
  Bytes encrypted;
  Bytes decrypted;
  CallSlot<void>(object.Get(), 0, kKey.data(), std::int32_t{5});
  CallSlot<std::uint32_t>(object.Get(), 1, kPlain.data(), std::uint64_t{8}, &encrypted);
  CallSlot<std::uint32_t>(object.Get(), 2, encrypted.data(), std::uint64_t{8}, &decrypted);
  EXPECT_NE(kPlain, encrypted);
  EXPECT_EQ(kPlain, decrypted);
}

TEST(Slots, OfBase64_HoldBothEncodesTheSizeAndBothDecodes) {
  const Object<Cifra::IBase64> object(Library());
  std::string text;
  CallSlot<void>(object.Get(), 0, kPlain.data(), std::uint64_t{8}, &text, true);
  EXPECT_EQ("cGxhaW4hISE=", text);
  text.clear();
  CallSlot<void>(object.Get(), 1, &kPlain, &text, true);
  EXPECT_EQ("cGxhaW4hISE=", text);
  EXPECT_EQ(9u, CallSlot<std::uint64_t>(object.Get(), 2, std::uint64_t{12}));

  Bytes buffer(9);
  std::uint64_t size = buffer.size();
  EXPECT_EQ(kCifraSuccess, CallSlot<std::uint32_t>(object.Get(), 3, &text, buffer.data(), &size));
  EXPECT_EQ(8u, size);
  EXPECT_EQ(kCifraSuccess, CallSlot<std::uint32_t>(object.Get(), 4, &text, &buffer));
  EXPECT_EQ(kPlain, buffer);
}

TEST(Slots, OfBlowfishAndBase64_AreSetKeyEncodeAndTwoDecodes) {
  const Object<Cifra::IBlowfishAndBase64> object(Library());
  EXPECT_EQ(1u, CallSlot<std::uint32_t>(object.Get(), 0, kKey.data(), std::uint32_t{5}));
  wchar_t encoded[64] = {};
  EXPECT_EQ(1u,
            CallSlot<std::uint32_t>(object.Get(), 1, L"plain!!!", &encoded[0], std::uint32_t{64}));
  const std::string narrow(encoded, encoded + 12);
  std::string bytes;
  EXPECT_EQ(1u, CallSlot<std::uint32_t>(object.Get(), 2, narrow.data(), std::uint64_t{12}, &bytes));
  EXPECT_EQ("plain!!!", bytes);
  wchar_t decoded[64] = {};
  EXPECT_EQ(1u,
            CallSlot<std::uint32_t>(object.Get(), 3, &encoded[0], &decoded[0], std::uint32_t{64}));
  EXPECT_STREQ(L"plain!!!", decoded);
}

}  // namespace
