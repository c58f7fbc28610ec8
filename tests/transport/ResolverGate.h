#pragma once

#include "tests/support/Gate.h"

namespace tarnwell::test {

/// While it lives, looking up "stuck.example" takes until the gate is opened. Stands for a name
/// server that does not answer.
class ResolverGate {
 public:
  ResolverGate();
  ResolverGate(const ResolverGate&) = delete;
  ResolverGate& operator=(const ResolverGate&) = delete;
  /// Opens the gate and waits until the look-up that hung on it is over.
  ~ResolverGate();

  /// False when nobody looks the name up.
  [[nodiscard]] bool waitForLookUp();
};

}  // namespace tarnwell::test
