#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/folders/Q.h"
#include "tarnwell/util/TWError.h"

namespace tarnwell {

class TWFolder;
class TWVersion;

/// A query and the folder that it is a search of.
class TWRestriction {
 public:
  /// Absent with an error (ErrorValueOutOfRange) for an empty query, and for the null one or a
  /// missing folder.
  [[nodiscard]] static std::optional<TWRestriction> withQ(const Q& q,
                                                          std::shared_ptr<const TWFolder> folder,
                                                          TWError* error = nullptr);

  [[nodiscard]] const Q& q() const noexcept { return q_; }
  [[nodiscard]] const std::shared_ptr<const TWFolder>& folder() const noexcept { return folder_; }

  /// `m:Restriction`, or `m:QueryString` for a free-text search; see `Q::toXML`. A query that has
  /// become empty since is ErrorValueOutOfRange.
  [[nodiscard]] NKXMLElement toXML(const TWVersion* version, TWError* error = nullptr) const;
  /// The indented XML for an unknown version; empty when it cannot be written.
  [[nodiscard]] std::string description() const;

 private:
  TWRestriction(Q q, std::shared_ptr<const TWFolder> folder);

  Q q_;
  std::shared_ptr<const TWFolder> folder_;
};

}  // namespace tarnwell
