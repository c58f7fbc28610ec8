#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "tarnwell/services/TWEWSService.h"

namespace tarnwell {

/// GetServerTimeZones: the time zones that the server knows. For applications; the library does not
/// call it.
class TWGetServerTimeZones : public TWEWSService, public TWServiceStatics<TWGetServerTimeZones> {
 public:
  /// No account is bound to it, so nobody is impersonated.
  explicit TWGetServerTimeZones(std::shared_ptr<TWBaseProtocol> protocol);
  [[nodiscard]] static std::shared_ptr<TWGetServerTimeZones> withProtocol(
      std::shared_ptr<TWBaseProtocol> protocol);
  [[nodiscard]] static const TWServiceClass& descriptor();

  /// A list of two-element lists: the id ("W. Europe Standard Time") and the display name of each
  /// zone; an error that was caught in place of a message's zones.
  /// @param returnFullTimeZoneData  ask for the rules of the zones too; they are not read.
  /// Errors: 264 (ErrorMissingArgument) on a server before Exchange 2010; then nothing is sent.
  [[nodiscard]] std::optional<TWList> call(bool returnFullTimeZoneData, TWError* error = nullptr);
  /// Nothing but a bool is a flag.
  std::optional<TWList> call(auto returnFullTimeZoneData, TWError* error = nullptr) = delete;

  [[nodiscard]] NKXMLElement getPayload(bool returnFullTimeZoneData) const;
  NKXMLElement getPayload(auto returnFullTimeZoneData) const = delete;

 protected:
  [[nodiscard]] TWList getElementsInContainer(const NKXMLElement& container) const override;
};

}  // namespace tarnwell
