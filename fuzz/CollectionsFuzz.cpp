#include <fuzzer/FuzzedDataProvider.h>

#include <list>
#include <map>
#include <string>

#include "Require.h"
#include "foundation/collections/List.h"
#include "foundation/collections/Map.h"
#include "foundation/string/StringT.h"

// Operations of the list and the map, in any order, beside the standard library's.
namespace {

using Cifra::Fuzz::Require;
using Text = kx::StringT<wchar_t>;
using Map = kx::Map<Text, unsigned>;
using Model = std::map<std::wstring, unsigned>;

constexpr std::uint32_t kNotFound = 1168;
constexpr std::uint32_t kExists = 183;

void FuzzList(FuzzedDataProvider& input) {
  kx::List<unsigned> list;
  std::list<unsigned> model;
  kx::IListEnum<unsigned>* place = list.CreateEnum();
  auto modelPlace = model.begin();
  while (input.remaining_bytes() > 0) {
    const unsigned value = input.ConsumeIntegral<std::uint8_t>();
    switch (value % 6) {
      case 0:
        Require(list.AddTail(value) == 0);
        model.push_back(value);
        break;
      case 1:
        Require(list.AddHead(value) == 0);
        model.push_front(value);
        break;
      case 2:
        Require(list.Remove(*place) == (modelPlace == model.end() ? kNotFound : 0));
        modelPlace = modelPlace == model.end() ? modelPlace : model.erase(modelPlace);
        break;
      case 3:
        place->Reset();
        modelPlace = model.begin();
        break;
      case 4:
        place->Next();
        modelPlace = modelPlace == model.end() ? modelPlace : std::next(modelPlace);
        break;
      default: {
        unsigned out = 7;
        const kx::List<unsigned> copy = list;
        Require(copy.GetHead(out) == (model.empty() ? kNotFound : 0));
        Require(out == (model.empty() ? 7 : model.front()));
        Require(model.empty() ? !list.GetTail() : *list.GetTail() == model.back());
      }
    }
    // An enumerator made while the list was empty, or past its end, stays there.
    if (modelPlace == model.end()) {
      place->Reset();
      modelPlace = model.begin();
    }
    Require(place->IsValid() == (modelPlace != model.end()));
    Require(!place->IsValid() || *place->Current() == *modelPlace);
    Require(list.Count() == model.size());
  }
  place->Release();
}

void RequireEqual(const Map& map, const Model& model) {
  std::size_t seen = 0;
  kx::IConstEnum<Text, unsigned>* pair = map.CreateConstEnum();
  for (; pair->IsValid(); pair->Next(), ++seen) {
    const auto found = model.find(pair->Key()->CStr());
    Require(found != model.end() && found->second == *pair->Value());
  }
  pair->Release();
  Require(seen == model.size() && map.Count() == model.size());
}

void FuzzMap(FuzzedDataProvider& input) {
  Map map;
  Model model;
  while (input.remaining_bytes() > 0) {
    const unsigned value = input.ConsumeIntegral<std::uint8_t>();
    // Few keys, and long ones with an equal beginning.
    const std::wstring key(value % 5, static_cast<wchar_t>(L'a' + value / 5 % 20));
    const auto found = model.find(key);
    const bool isThere = found != model.end();
    switch (input.ConsumeIntegralInRange(0, 6)) {
      case 0:
      case 1:
        Require(map.Add(key.c_str(), value) == (isThere ? kExists : 0));
        model.emplace(key, value);
        break;
      case 2:
        Require(map.Remove(key.c_str()) == (isThere ? 0 : kNotFound));
        model.erase(key);
        break;
      case 3: {
        unsigned out = 7;
        Require(map.Get(key.c_str(), out) == (isThere ? 0 : kNotFound));
        Require(out == (isThere ? found->second : 7));
        Require(isThere ? *map.Find(key.c_str()) == found->second : !map.Find(key.c_str()));
        break;
      }
      case 4: {
        kx::IEnum<Text, unsigned>* pair = map.CreateEnum();
        if (pair->IsValid()) {
          model.erase(pair->Key()->CStr());
          Require(map.Remove(*pair) == 0);
        }
        pair->Release();
        break;
      }
      case 5: {
        const Map copy = map;
        RequireEqual(copy, model);
        break;
      }
      default:
        if (value == 0) {
          map.Clear();
          model.clear();
        }
    }
    RequireEqual(map, model);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  if (input.ConsumeBool()) {
    FuzzList(input);
  } else {
    FuzzMap(input);
  }
  return 0;
}
