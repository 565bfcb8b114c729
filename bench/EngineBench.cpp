#include "Bench.h"

namespace Cifra::Bench {

void Register() {
  RegisterBlowfish();
  RegisterMd5();
  RegisterBase64();
}

}  // namespace Cifra::Bench
