#pragma once

#include <optional>
#include <string>
#include <utility>

#include "tarnwell/protocol/TWBuild.h"

namespace tarnwell {

class TWVersion;

/// One of the fixed texts that a choice field accepts, and the first server build that knows it.
struct TWChoice {
  std::string value;
  std::optional<TWBuild> supportedFrom;

  /// Implicit, so that a declaration can list plain texts: `.choices = {"Low", "High"}`.
  TWChoice(std::string text, std::optional<TWBuild> from = std::nullopt)
      : value(std::move(text)), supportedFrom(from) {}
  TWChoice(const char* text, std::optional<TWBuild> from = std::nullopt)
      : value(text), supportedFrom(from) {}

  [[nodiscard]] static TWChoice withValue(std::string value,
                                          std::optional<TWBuild> supportedFrom = std::nullopt) {
    return {std::move(value), supportedFrom};
  }

  /// True without a version, or without a build of the choice's; else when the server's build is
  /// the choice's or later.
  [[nodiscard]] bool supportsVersion(const TWVersion* version) const;
};

}  // namespace tarnwell
