#include "tarnwell/schema/TWChoiceField.h"

#include <algorithm>
#include <utility>

#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {
namespace {

TWFieldOptions ofLabel(TWFieldOptions options) {
  options.isAttribute = true;
  return options;
}

}  // namespace

std::vector<std::string> TWChoiceField::supportedChoices(const TWVersion* version) const {
  std::vector<std::string> texts;
  for (const auto& choice : options().choices)
    if (choice.supportsVersion(version)) texts.push_back(choice.value);
  return texts;
}

TWValue TWChoiceField::clean(const TWValue& value, const TWVersion* version, TWError* error) const {
  TWError failure;
  auto result = FieldKind::clean(value, version, &failure);
  if (!failure && result.isAbsent()) return {};
  if (!failure) {
    const auto choice = std::ranges::find(options().choices, result.textView(), &TWChoice::value);
    if (choice == options().choices.end()) {
      const auto supported = supportedChoices(version);
      failure = {
          TWErrorCode::ErrorValueOutOfRange,
          formatMessage("Invalid choice %@ for field %@. Valid choices are %@",
                        {result, options().name, TWList(supported.begin(), supported.end())})};
    } else if (!choice->supportsVersion(version)) {
      // Names the field and the field's own build, not the choice and its build, deliberately.
      failure = {
          TWErrorCode::ErrorInvalidServerVersion,
          formatMessage("Choice %@ does not support EWS builds prior to %@ (server has %@)",
                        {options().name, options().get("supportedFrom"), version->description()})};
    }
  }
  if (!failure) return result;
  setError(error, failure);
  return {};
}

TWLabelField::TWLabelField(TWFieldOptions options) : FieldKind(ofLabel(std::move(options))) {}

TWValue TWLabelField::fromXML(const NKXMLElement& element,
                              const std::shared_ptr<TWAccount>& /*account*/) const {
  return element.attributeForName(fieldURI()).stringValue();
}

}  // namespace tarnwell
