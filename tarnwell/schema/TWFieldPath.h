#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/schema/TWField.h"
#include "tarnwell/schema/TWFieldUtils.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWEWSElement;
class TWVersion;

/// Names one value of an item: a field, of an indexed field one entry by its label, of an entry
/// with several parts one of them ("subject", "phone_numbers__MobilePhone",
/// "physical_addresses__Home__city").
///
/// Paths do not change. They are compared by identity: two paths made from the same text are not
/// equal.
class TWFieldPath final : public TWXMLObject {
 public:
  /// Null with an error when the text cannot be resolved; see `TWFieldUtils::resolveFieldPath`.
  [[nodiscard]] static std::shared_ptr<TWFieldPath> fromString(const TWValue& text,
                                                               const TWFieldSource& folder,
                                                               std::same_as<bool> auto strict,
                                                               TWError* error = nullptr) {
    return fromResolved(TWFieldUtils::resolveFieldPath(text, folder, strict, error));
  }
  /// A path of those parts; null without a field.
  [[nodiscard]] static std::shared_ptr<TWFieldPath> withField(
      std::shared_ptr<const TWField> field, std::optional<std::string> label = std::nullopt,
      std::shared_ptr<const TWField> subField = nullptr);

  /// Never null.
  [[nodiscard]] const std::shared_ptr<const TWField>& field() const noexcept { return field_; }
  [[nodiscard]] const std::optional<std::string>& label() const noexcept { return label_; }
  /// The part of an entry, of an entry with one value that value; null when absent.
  [[nodiscard]] const std::shared_ptr<const TWField>& subField() const noexcept {
    return subField_;
  }

  /// The value that the path names in that element; absent when there is none. Of several entries
  /// with one label it is the first.
  [[nodiscard]] TWValue getValue(const TWEWSElement& item) const;
  /// The text that the path can be made from again. Says no more than it must: of an entry with one
  /// value the subfield is left out.
  [[nodiscard]] std::string path() const;
  /// One path for each label and subfield that this one leaves open, as far as the version knows
  /// them, labels in the outer loop. A path on a field that is not indexed gives itself.
  [[nodiscard]] std::vector<std::shared_ptr<TWFieldPath>> expand(const TWVersion* version);

  /// `t:FieldURI`, `t:ExtendedFieldURI` or `t:IndexedFieldURI`.
  ///
  /// Errors: ErrorValueOutOfRange for an indexed field without label or subfield, and for a field
  /// that has no name on the server.
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) override;
  [[nodiscard]] Role role() const override { return Role::fieldPath; }
  [[nodiscard]] std::string_view className() const override { return "TWFieldPath"; }
  /// "TWFieldPath__subject".
  [[nodiscard]] std::string description() const override;
  [[nodiscard]] TWProperties declaredProperties() const override;

 private:
  TWFieldPath(std::shared_ptr<const TWField> field, std::optional<std::string> label,
              std::shared_ptr<const TWField> subField);
  [[nodiscard]] static std::shared_ptr<TWFieldPath> fromResolved(
      std::optional<TWResolvedPaths> parts);

  std::shared_ptr<const TWField> field_;
  std::optional<std::string> label_;
  std::shared_ptr<const TWField> subField_;
};

}  // namespace tarnwell
