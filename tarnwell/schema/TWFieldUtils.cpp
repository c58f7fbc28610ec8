#include "tarnwell/schema/TWFieldUtils.h"

#include <algorithm>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/schema/TWChoiceField.h"
#include "tarnwell/schema/TWElementClass.h"
#include "tarnwell/schema/TWIndexedFields.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"

namespace tarnwell {
namespace {

constexpr std::string_view kSeparator = "__";

/// The text up to the next separator; the rest, absent when it was the last one, stays in `rest`.
std::optional<std::string> nextPiece(std::optional<std::string_view>& rest) {
  if (!rest) return std::nullopt;
  const auto end = rest->find(kSeparator);
  std::string piece(rest->substr(0, end));
  if (end == std::string_view::npos)
    rest.reset();
  else
    rest->remove_prefix(end + kSeparator.size());
  return piece;
}

}  // namespace

std::optional<TWPaths> TWFieldUtils::splitFieldPath(const TWValue& path, TWError* error) {
  if (!path.isText()) {
    setError(error, {TWErrorCode::ErrorFieldValue,
                     formatMessage("Field path %@ must be a string", {path})});
    return std::nullopt;
  }
  std::optional<std::string_view> rest = path.textView();
  TWPaths paths;
  paths.field = nextPiece(rest).value_or(std::string());
  paths.label = nextPiece(rest);
  paths.subfield = nextPiece(rest);
  return paths;
}

std::vector<std::string> TWFieldUtils::supportedLabels(const TWElementClass& entries,
                                                       const TWVersion* version) {
  const auto field =
      std::dynamic_pointer_cast<const TWChoiceField>(entries.getFieldByFieldName("label"));
  return field ? field->supportedChoices(version) : std::vector<std::string>();
}

std::optional<TWResolvedPaths> TWFieldUtils::resolve(const TWValue& path,
                                                     const TWFieldSource& folder, bool strict,
                                                     TWError* error) {
  auto pieces = splitFieldPath(path, error);
  if (!pieces) return std::nullopt;
  const auto fail = [&](std::string_view format, std::initializer_list<TWValue> values) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange, formatMessage(format, values)});
    return std::nullopt;
  };

  TWResolvedPaths resolved;
  resolved.field = folder.getItemFieldByFieldName(pieces->field, error);
  if (!resolved.field) return std::nullopt;
  resolved.label = std::move(pieces->label);

  const auto* const entries = resolved.field->valueClass().elementClass();
  if (dynamic_cast<const TWIndexedField*>(resolved.field.get()) == nullptr || entries == nullptr) {
    if (resolved.label || pieces->subfield)
      return fail("Field path %@ must not specify labekl or subfield", {path});
    return resolved;
  }

  const auto version = folder.serverVersion();
  const TWVersion* const known = version ? &*version : nullptr;
  if (strict && !resolved.label) return fail("Indexed field path %@ must specific label", {path});
  if (resolved.label) {
    const auto allowed = supportedLabels(*entries, known);
    if (std::ranges::find(allowed, *resolved.label) == allowed.end())
      return fail("Label %@ on indexedfield path %@ must be one of %@",
                  {resolved.label, path, TWList(allowed.begin(), allowed.end())});
  }
  if (entries->isKindOf(TWMultiFieldIndexedElement::elementClass())) {
    if (strict && !pieces->subfield)
      return fail("IndexedField path %@ must specify subfield", {path});
    if (pieces->subfield) {
      resolved.subfield = entries->getFieldByFieldName(*pieces->subfield);
      if (!resolved.subfield)
        return fail("Could not find subfield %@ on value class %@",
                    {pieces->subfield, entries->name()});
    }
    return resolved;
  }
  if (pieces->subfield) return fail("Indexed field path %@ must not specify subfield", {path});
  resolved.subfield = TWSingleFieldIndexedElement::valueField(*entries, known);
  return resolved;
}

}  // namespace tarnwell
