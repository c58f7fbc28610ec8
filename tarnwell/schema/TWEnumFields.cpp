#include "tarnwell/schema/TWEnumFields.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <set>
#include <utility>

#include "tarnwell/Core/XML/detail/XMLView.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

TWFieldOptions withBounds(TWFieldOptions options) {
  options.min = options.min.value_or(1);
  options.max = *options.min + static_cast<double>(options.enum_.size()) - 1;
  return options;
}

}  // namespace

TWEnumField::TWEnumField(TWFieldOptions options) : FieldKind(withBounds(std::move(options))) {}

TWValue TWEnumField::clean(const TWValue& value, const TWVersion* version, TWError* error) const {
  if (const auto list = isList() ? value.asList() : nullptr)
    return cleanList(*list, version, error);
  if (isList() || !value.isText()) return FieldKind::clean(value, version, error);
  const auto position = positionOf(value.textView());
  if (!position.isAbsent()) return FieldKind::clean(position, version, error);
  setNotInEnum(value, error);
  return {};
}

TWValue TWEnumField::cleanList(const TWList& list, const TWVersion* version, TWError* error) const {
  TWList positions = list;
  std::set<std::int64_t> seen;
  for (auto& entry : positions) {
    if (!entry.isText()) continue;
    const auto position = positionOf(entry.textView());
    if (position.isAbsent()) {
      setNotInEnum(entry, error);
      return {};
    }
    seen.insert(position.asInteger().value());
    entry = position;
  }
  const auto fail = [&](std::string_view format) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange,
                     formatMessage(format, {positions, options().name})});
    return TWValue();
  };
  if (positions.empty()) return fail("Value %@ of field %@ must not be empty");
  // Only names were counted: any other entry makes the list "not unique", deliberately.
  if (positions.size() > seen.size()) return fail("List entries %@ on field %@ must be unique");
  return FieldKind::clean(positions, version, error);
}

void TWEnumField::setNotInEnum(const TWValue& value, TWError* error) const {
  setError(error, {TWErrorCode::ErrorValueOutOfRange,
                   formatMessage("List value %@ of field %@ must be one of %@",
                                 {value, options().name, options().get("enum")})});
}

TWValue TWEnumField::positionOf(std::string_view enumName) const {
  const auto& names = options().enum_;
  const auto found = std::ranges::find(names, enumName);
  return found == names.end() ? TWValue() : TWValue(found - names.begin() + 1);
}

std::optional<std::string> TWEnumField::nameAt(const TWValue& position, TWError* error) const {
  const auto& names = options().enum_;
  const auto at = position.asInteger().value_or(0);
  if (at >= 1 && std::cmp_less_equal(at, names.size()))
    return names[static_cast<std::size_t>(at - 1)];
  setNotInEnum(position, error);
  return std::nullopt;
}

TWValue TWEnumField::fromChild(const NKXMLElement& child,
                               const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  const auto position = text ? positionOf(*text) : TWValue();
  return position.isAbsent() ? options().default_ : position;
}

TWValue TWEnumField::toXML(const TWValue& value, const TWVersion* version, TWError* error) const {
  if (value.isAbsent()) return elementWith({}, version, error);
  const auto enumName = nameAt(value, error);
  return enumName ? elementWith(*enumName, version, error) : TWValue();
}

TWValue TWEnumListField::fromChild(const NKXMLElement& child,
                                   const std::shared_ptr<TWAccount>& /*account*/) const {
  const auto text = child.stringValue().value_or(std::string());
  TWList positions;
  for (std::size_t at = 0; at < text.size();) {
    const auto end = std::min(text.find(' ', at), text.size());
    if (auto position = positionOf(std::string_view(text).substr(at, end - at));
        !position.isAbsent())
      positions.push_back(std::move(position));
    at = end + 1;
  }
  return positions.empty() ? options().default_ : TWValue(std::move(positions));
}

TWValue TWEnumListField::toXML(const TWValue& value, const TWVersion* version,
                               TWError* error) const {
  if (value.isAbsent()) return elementWith({}, version, error);
  const auto list = value.asList();
  if (!list) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange,
                     formatMessage("%@ needs an iterable", {options().name})});
    return {};
  }
  TWList positions = *list;
  std::ranges::sort(positions, {}, [](const TWValue& at) { return at.asInteger().value_or(0); });
  std::string names;
  for (const auto& position : positions) {
    const auto enumName = nameAt(position, error);
    if (!enumName) return {};
    if (!names.empty()) names += ' ';
    names += *enumName;
  }
  return elementWith(names, version, error);
}

TWValue TWEnumAsIntField::fromChild(const NKXMLElement& child,
                                    const std::shared_ptr<TWAccount>& /*account*/) const {
  const detail::XMLTextView text(child);
  return text ? TWValue(leadingInteger(*text)) : options().default_;
}

TWValue TWEnumAsIntField::toXML(const TWValue& value, const TWVersion* version,
                                TWError* error) const {
  return elementWith(value, version, error);
}

}  // namespace tarnwell
