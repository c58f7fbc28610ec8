#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tarnwell/schema/TWField.h"
#include "tarnwell/schema/TWFieldSource.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {

class TWElementClass;

/// The pieces of a field path: "field", "field__label" or "field__label__subfield".
struct TWPaths {
  std::string field;
  std::optional<std::string> label;
  std::optional<std::string> subfield;
};

/// What the pieces stand for.
struct TWResolvedPaths {
  std::shared_ptr<const TWField> field;
  std::optional<std::string> label;
  std::shared_ptr<const TWField> subfield;  ///< null when absent
};

/// How the text of a field path is taken apart and looked up. Stateless; safe from any thread.
class TWFieldUtils {
 public:
  /// Splits at every "__". An empty piece is a piece; those after the third are ignored.
  ///
  /// Errors: ErrorFieldValue for a value that is not text.
  [[nodiscard]] static std::optional<TWPaths> splitFieldPath(const TWValue& path,
                                                             TWError* error = nullptr);

  /// @param strict  a path to an indexed field must name a label and, when an entry has several
  /// parts, one of them.
  ///
  /// Errors: those of `splitFieldPath`; ErrorValueOutOfRange for a name, label or subfield that
  /// does not exist there, is missing, or may not be given.
  [[nodiscard]] static std::optional<TWResolvedPaths> resolveFieldPath(
      const TWValue& path, const TWFieldSource& folder, std::same_as<bool> auto strict,
      TWError* error = nullptr) {
    return resolve(path, folder, strict, error);
  }

  /// The labels that entries of that class may have, in their order.
  [[nodiscard]] static std::vector<std::string> supportedLabels(const TWElementClass& entries,
                                                                const TWVersion* version);

 private:
  [[nodiscard]] static std::optional<TWResolvedPaths> resolve(const TWValue& path,
                                                              const TWFieldSource& folder,
                                                              bool strict, TWError* error);
};

}  // namespace tarnwell
