#pragma once

#include <concepts>
#include <memory>
#include <string>
#include <string_view>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/schema/TWFieldPath.h"
#include "tarnwell/schema/TWFieldSource.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWVersion;

/// A field path and the direction in which to sort by it (`t:FieldOrder`). Compared by identity.
class TWFieldOrder final : public TWXMLObject {
 public:
  /// A "-" at the start makes the order descending ("-subject"). Every "-" at either end is left
  /// out of the path, deliberately, so "subject-" is the ascending order by "subject".
  ///
  /// Null with an error when the path cannot be resolved; see `TWFieldPath::fromString`.
  [[nodiscard]] static std::shared_ptr<TWFieldOrder> fromString(const TWValue& text,
                                                                const TWFieldSource& folder,
                                                                std::same_as<bool> auto strict,
                                                                TWError* error = nullptr) {
    return withFieldPath(TWFieldPath::fromString(pathText(text), folder, strict, error),
                         isDescending(text));
  }
  /// Null without a path.
  [[nodiscard]] static std::shared_ptr<TWFieldOrder> withFieldPath(
      const std::shared_ptr<TWFieldPath>& fieldPath, std::same_as<bool> auto reverse) {
    return make(fieldPath, reverse);
  }

  [[nodiscard]] const std::shared_ptr<TWFieldPath>& fieldPath() const noexcept {
    return fieldPath_;
  }
  /// True when descending.
  [[nodiscard]] bool reverse() const noexcept { return reverse_; }
  void setReverse(bool reverse) noexcept { reverse_ = reverse; }

  /// Errors: those of the path.
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) override;
  [[nodiscard]] Role role() const override { return Role::fieldOrder; }
  [[nodiscard]] std::string_view className() const override { return "TWFieldOrder"; }
  /// "TWFieldOrder__-subject".
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] TWProperties declaredProperties() const override;

 private:
  TWFieldOrder(std::shared_ptr<TWFieldPath> fieldPath, bool reverse);
  [[nodiscard]] static std::shared_ptr<TWFieldOrder> make(std::shared_ptr<TWFieldPath> fieldPath,
                                                          bool reverse);
  /// A value that is not text is passed on, for the path to refuse.
  [[nodiscard]] static TWValue pathText(const TWValue& text);
  [[nodiscard]] static bool isDescending(const TWValue& text);

  std::shared_ptr<TWFieldPath> fieldPath_;
  bool reverse_;
};

}  // namespace tarnwell
