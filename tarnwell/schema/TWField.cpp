#include "tarnwell/schema/TWField.h"

#include <functional>
#include <ostream>

#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/schema/TWEWSElement.h"
#include "tarnwell/schema/detail/NamelessField.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell {
namespace {

TWFieldOptions withPostfix(TWFieldOptions options) {
  if (!options.fieldURI) return options;
  const std::string& uri = *options.fieldURI;
  const auto colon = uri.find(':');
  // Of a URI with two colons it is the piece between them.
  options.fieldURIPostfix = colon == std::string::npos
                                ? uri
                                : uri.substr(colon + 1, uri.find(':', colon + 1) - colon - 1);
  return options;
}

}  // namespace

const TWFieldOptions& TWField::defaults() {
  static const auto& kDefaults = *new TWFieldOptions;
  return kDefaults;
}

bool TWField::supportsVersion(const TWVersion* version) const {
  if (version == nullptr) return true;
  const auto& build = version->build();
  if (options_.supportedFrom && build && build->isLessThan(options_.supportedFrom)) return false;
  if (options_.deprecatedFrom) return build && build->isLessThan(options_.deprecatedFrom);
  return true;
}

TWValue TWField::clean(const TWValue& value, const TWVersion* version, TWError* error) const {
  const auto fail = [&](TWErrorCode code, const std::string& message) {
    setError(error, {code, message});
    return TWValue();
  };
  if (!supportsVersion(version))
    return fail(
        TWErrorCode::ErrorInvalidServerVersion,
        formatMessage("Field %@ does not support EWS builds prior to %@ (server has %@)",
                      {options_.name, options_.get("supportedFrom"), version->description()}));
  if (value.isAbsent()) {
    if (isRequired() && options_.default_.isAbsent())
      return fail(TWErrorCode::ErrorValueOutOfRange,
                  formatMessage("%@ is a required field with no default", {options_.name}));
    return options_.default_;
  }
  if (!isList()) return checkInstance(value, version, error) ? value : TWValue();
  if (!value.isIterable())
    return fail(TWErrorCode::ErrorValueOutOfRange,
                formatMessage("%@ needs an iterable", {options_.name}));
  if (const auto list = value.asList()) {
    for (const auto& entry : *list)
      if (!checkInstance(entry, version, error)) return {};
  } else {
    // Walking a dictionary gives its keys.
    for (const auto& key : value.asDictionary()->allKeys())
      if (!checkInstance(key, version, error)) return {};
  }
  return value;
}

bool TWField::checkInstance(const TWValue& value, const TWVersion* version, TWError* error) const {
  if (!valueClass().hasInstance(value)) {
    // Names the field's own class where one would expect that of its values, deliberately.
    setError(error, {TWErrorCode::ErrorType, formatMessage("%@ value is not of type %@ for %@",
                                                           {value, className(), options_.name})});
    return false;
  }
  const auto element = value.asObject<TWEWSElement>();
  return !element || element->clean(version, error);
}

TWValue TWField::fromXML(const NKXMLElement& element,
                         const std::shared_ptr<TWAccount>& account) const {
  const auto tag = childTag();
  return tag ? fromChild(element.elementForName(tag->name, tag->xmlns), account) : TWValue();
}

TWValue TWField::fromChild(const NKXMLElement& /*child*/,
                           const std::shared_ptr<TWAccount>& /*account*/) const {
  return {};
}

TWValue TWField::toXML(const TWValue& /*value*/, const TWVersion* /*version*/,
                       TWError* /*error*/) const {
  return {};
}

bool TWField::isInstance(const TWField& /*other*/) const { return true; }

std::string TWField::propsDescription() const {
  std::string text = formatMessage("------Properties for [%@]-------\n", {className()});
  for (const auto& [option, value] : options_.all())
    text += formatMessage("\t[%@]: %@", {option, value});
  return text + "----------------------------------";
}

std::string TWField::description() const {
  return formatMessage("%@\n%@", {className(), propsDescription()});
}

std::ostream& operator<<(std::ostream& stream, const TWField& field) {
  return stream << field.description();
}

TWFieldURIField::TWFieldURIField(TWFieldOptions options)
    : FieldKind(withPostfix(std::move(options))) {}

NKXMLElement TWFieldURIField::fieldURIXML() const {
  if (fieldURI().empty()) return {};
  return TWUtils::createElement("t:FieldURI", {{"FieldURI", options().fieldURI}});
}

std::string TWFieldURIField::requestTag() const {
  const auto& postfix = options().fieldURIPostfix;
  return postfix ? "t:" + *postfix : formatMessage("t:%@", {TWValue()});
}

std::string_view TWFieldURIField::responseTag() const noexcept {
  const auto& postfix = options().fieldURIPostfix;
  return postfix ? std::string_view(*postfix) : std::string_view();
}

std::string_view TWFieldURIField::responseXMLns() const noexcept { return kTypesNamespace; }

std::optional<TWTag> TWFieldURIField::childTag() const {
  return TWTag{responseTag(), responseXMLns()};
}

TWValue TWFieldURIField::toXML(const TWValue& value, const TWVersion* version,
                               TWError* error) const {
  return elementWith(value, version, error);
}

TWValue TWFieldURIField::elementWith(const TWValue& content, const TWVersion* version,
                                     TWError* error) const {
  if (responseTag().empty()) {
    setError(error, detail::namelessField(*this));
    return {};
  }
  TWError failure;
  auto element =
      TWUtils::updateElement(TWUtils::createElement(requestTag()), content, version, &failure);
  if (!failure) return element;
  setError(error, failure);
  return {};
}

std::size_t TWFieldURIField::hash() const { return std::hash<std::string_view>{}(fieldURI()); }

}  // namespace tarnwell
