#include "tarnwell/schema/TWExtendedProperty.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <mutex>
#include <utility>

#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"
#include "tarnwell/util/TWUtils.h"
#include "tarnwell/util/detail/Base64.h"

namespace tarnwell {
namespace {

using Addressing = TWExtendedPropertyClass::Addressing;
using Kind = TWValueClass::Kind;

constexpr std::string_view kArray = "Array";

/// Tags in this range belong to properties that are addressed by a set.
constexpr std::int64_t kFirstReservedTag = 0x8000;
constexpr std::int64_t kLastReservedTag = 0xFFFE;

/// "SystemTime" can be read, but is no valid type, deliberately.
constexpr std::array<std::pair<std::string_view, Kind>, 12> kKinds{{
    {"ApplicationTime", Kind::number},
    {"Boolean", Kind::number},
    {"Currency", Kind::number},
    {"Double", Kind::number},
    {"Float", Kind::number},
    {"Integer", Kind::number},
    {"Long", Kind::number},
    {"Short", Kind::number},
    {"Binary", Kind::data},
    {"CLSID", Kind::text},
    {"String", Kind::text},
    {"SystemTime", Kind::date},
}};

/// The type without "Array"; empty without a type.
std::string_view entryType(const TWExtendedPropertyClass& cls) {
  std::string_view type = cls.propertyType() ? std::string_view(*cls.propertyType()) : "";
  if (cls.isArrayType()) type.remove_suffix(kArray.size());
  return type;
}

bool contains(const std::vector<std::string>& names, const std::optional<std::string>& name) {
  return name && std::ranges::find(names, *name) != names.end();
}

TWValue listOf(const std::vector<std::string>& names) { return TWList(names.begin(), names.end()); }

/// Where an addressing is wrong, as the message that says so; absent when it is valid. The rules
/// are tested in a fixed order, and the first that is broken is told.
std::optional<std::string> mistakeOf(const TWExtendedPropertyClass& cls) {
  const bool hasDistinguishedSet = cls.distinguishedPropertySetId().has_value();
  const bool hasSet = cls.propertySetId().has_value();
  const bool hasTag = !cls.propertyTag().isAbsent();
  const bool hasName = cls.propertyName().has_value();
  const bool hasId = cls.propertyId().has_value();

  if (hasDistinguishedSet) {
    if (hasSet || hasTag)
      return "When distinguishedPropertySetId is set, propertySetId and tag must be nil";
    if (!hasId && !hasName)
      return "When distinguishedPropertySetId is set, propertyId or name must be non-nil";
    const auto& sets = TWExtendedPropertyClass::distinguishedSets();
    if (!contains(sets, cls.distinguishedPropertySetId()))
      return formatMessage("distinguishedPropertySetId: %@ is not valid: %@",
                           {cls.distinguishedPropertySetId(), listOf(sets)});
  }
  if (hasSet) {
    if (hasDistinguishedSet || hasTag)
      return "When propertySetId is set, distingPropertySetId and tag must be nil";
    if (!hasId && !hasName) return "When propertySetId is set, propertyId or Name must be non-nil";
  }
  if (hasTag) {
    if (hasName || hasId) return "When tag is set, only type must be set";
    const auto tag = cls.propertyTagAsInt();
    if (!tag || (*tag >= kFirstReservedTag && *tag <= kLastReservedTag))
      return "Property tag is reserved for for custom properties";
  }
  if (hasName) {
    if (hasId || hasTag) return "When name is set, id and tag must be nil";
    if (!hasDistinguishedSet && !hasSet) return "When name is set, dSetId or setId must be non-nil";
  }
  if (hasId) {
    if (hasName || hasTag) return "When id is set, name and tag must be nil";
    if (!hasDistinguishedSet && !hasSet) return "When id is set, dSetId or setId must be non-nil";
  }
  const auto& types = TWExtendedPropertyClass::propertyTypes();
  if (!contains(types, cls.propertyType()))
    return formatMessage("propertyType: %@ is not valid: %@", {cls.propertyType(), listOf(types)});
  return std::nullopt;
}

std::shared_ptr<TWEWSElement> makeProperty(const TWElementClass& cls) {
  return std::make_shared<TWExtendedProperty>(static_cast<const TWExtendedPropertyClass&>(cls));
}

/// Absent when the text cannot be read.
TWValue valueFromText(const TWExtendedPropertyClass& cls, std::string_view text) {
  switch (cls.objectivecType().kind()) {
    case Kind::number:
      // Servers write booleans as words, where other numbers of this kind have digits.
      if (entryType(cls) == "Boolean") {
        if (text == "true" || text == "1") return true;
        if (text == "false" || text == "0") return false;
      }
      return TWUtils::valueFromXML(text, TWValue::Kind::real);
    case Kind::data:
      return detail::decodeBase64(text);
    case Kind::text:
      return text;
    case Kind::date:
      return TWUtils::valueFromXML(text, TWValue::Kind::date);
    default:
      return {};
  }
}

/// Of a `t:Value`; the invalid element counts as one without text.
TWValue readValue(const TWExtendedPropertyClass& cls, const NKXMLElement& element) {
  const auto text = element.stringValue();
  if (!text) return cls.objectivecType().kind() == Kind::text ? TWValue("") : TWValue();
  return valueFromText(cls, *text);
}

/// The text of a value that is no collection and no object.
std::optional<std::string> textOf(const TWValue& value) {
  if (const auto data = value.asData()) return detail::encodeBase64(*data);
  if (value.asObject()) return std::nullopt;
  return TWUtils::xmlFromValue(value);
}

}  // namespace

const TWExtendedPropertyClass& TWExtendedPropertyClass::declare(Addressing addressing) {
  // Fields, elements and running threads refer to the classes until the very end of the process.
  static auto& kMutex = *new std::mutex;
  static auto& kClasses = *new std::vector<std::unique_ptr<const TWExtendedPropertyClass>>;
  std::unique_ptr<const TWExtendedPropertyClass> declared(
      new TWExtendedPropertyClass(std::make_unique<const Addressing>(std::move(addressing)),
                                  TWExtendedProperty::elementClass()));
  const std::scoped_lock lock(kMutex);
  return *kClasses.emplace_back(std::move(declared));
}

TWExtendedPropertyClass::TWExtendedPropertyClass(std::unique_ptr<const Addressing> addressing,
                                                 const TWElementClass& base)
    : TWElementClass({.name = addressing->name,
                      .base = &base,
                      .elementName = "ExtendedProperty",
                      .make = addressing->make == nullptr ? &makeProperty : addressing->make},
                     Unlisted()),
      addressing_(std::move(addressing)) {
  enlist();
}

const std::vector<std::string>& TWExtendedPropertyClass::distinguishedSets() {
  static const auto& kSets = *new std::vector<std::string>{
      "Meeting",         "Appointment",       "Common",          "PublicStrings", "Address",
      "InternetHeaders", "CalendarAssistant", "UnifiedMessaging"};
  return kSets;
}

const std::vector<std::string>& TWExtendedPropertyClass::propertyTypes() {
  static const auto& kTypes = *new std::vector<std::string>{
      "ApplicationTime", "Binary",     "BinaryArray",   "Boolean",      "CLSID",
      "CLSIDArray",      "Currency",   "CurrencyArray", "Double",       "DoubleArray",
      "Float",           "FloatArray", "Integer",       "IntegerArray", "Long",
      "LongArray",       "Short",      "ShortArray",    "String",       "StringArray"};
  return kTypes;
}

TWValueClass TWExtendedPropertyClass::objectivecType() const {
  const auto* const row =
      std::ranges::find(kKinds, entryType(*this), &decltype(kKinds)::value_type::first);
  return row == kKinds.end() ? TWValueClass() : TWValueClass(row->second);
}

bool TWExtendedPropertyClass::isArrayType() const noexcept {
  return propertyType() && propertyType()->ends_with(kArray);
}

bool TWExtendedPropertyClass::isBinaryType() const noexcept {
  return propertyType() && propertyType()->find("Binary") != std::string::npos;
}

std::optional<std::int64_t> TWExtendedPropertyClass::propertyTagAsInt() const {
  if (!propertyTag().isText()) return propertyTag().asInteger();
  std::string_view digits = trimmed(propertyTag().textView());
  if (digits.starts_with("0x") || digits.starts_with("0X")) digits.remove_prefix(2);
  std::uint32_t tag = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), tag, 16);
  if (read.ec != std::errc()) return std::nullopt;
  return tag;
}

std::optional<std::string> TWExtendedPropertyClass::propertyTagAsHex() const {
  const auto tag = propertyTagAsInt();
  if (!tag) return std::nullopt;
  std::array<char, 16> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(),
                                 static_cast<std::uint32_t>(*tag), 16);
  const std::string_view text(digits.data(), static_cast<std::size_t>(end.ptr - digits.data()));
  return formatMessage("0x%@%@", {text.size() < 2 ? "0" : "", text});
}

TWDictionary TWExtendedPropertyClass::propertiesMap() const {
  TWDictionary map;
  map.set("DistinguishedPropertySetId", distinguishedPropertySetId());
  if (propertySetId()) map.set("PropertySetId", lowercased(*propertySetId()));
  map.set("PropertyTag", propertyTagAsHex());
  map.set("PropertyName", propertyName());
  map.set("PropertyId", TWUtils::xmlFromValue(propertyId()));
  map.set("PropertyType", propertyType());
  return map;
}

bool TWExtendedPropertyClass::validate(TWError* error) const {
  const auto mistake = mistakeOf(*this);
  if (mistake) setError(error, {TWErrorCode::ErrorValueOutOfRange, *mistake});
  return !mistake;
}

const TWExtendedPropertyClass& TWExtendedProperty::elementClass() {
  static const auto& kClass = *new TWExtendedPropertyClass(
      std::make_unique<const Addressing>(Addressing{.name = "TWExtendedProperty"}),
      TWEWSElement::elementClass());
  return kClass;
}

void TWExtendedProperty::initWithDict(const TWDictionary& dict) { set("value", dict["value"]); }

void TWExtendedProperty::initFromXML(const NKXMLElement& xml,
                                     const std::shared_ptr<TWAccount>& /*account*/) {
  if (!cls_->isArrayType()) {
    set("value", readValue(*cls_, xml.elementForName("Value", kTypesNamespace)));
    return;
  }
  const auto values = xml.elementForName("Values", kTypesNamespace);
  if (!values) return;
  TWList entries;
  for (const auto& element : values.childElements()) {
    if (!element.isElement("Value", kTypesNamespace)) continue;
    if (auto entry = readValue(*cls_, element); !entry.isAbsent())
      entries.push_back(std::move(entry));
  }
  set("value", std::move(entries));
}

bool TWExtendedProperty::clean(const TWVersion* /*version*/, TWError* error) {
  if (!cls_->validate(error)) return false;
  if (!cls_->isArrayType() || get("value").isIterable()) return true;
  setError(error, {TWErrorCode::ErrorValueOutOfRange,
                   formatMessage("%@ value %@ must be a list", {className(), get("value")})});
  return false;
}

NKXMLElement TWExtendedProperty::toXML(const TWVersion* version, TWError* error) {
  if (!clean(version, error)) return {};
  const auto written = [&](const TWValue& value) -> NKXMLElement {
    auto element = TWUtils::createElement("t:Value");
    if (value.isAbsent()) return element;
    const auto text = textOf(value);
    if (!text) {
      setError(error, {TWErrorCode::ErrorType,
                       formatMessage("%@ value %@ has no text", {className(), value})});
      return {};
    }
    element.setStringValue(*text);
    return element;
  };
  const TWValue& value = get("value");
  if (!cls_->isArrayType()) return written(value);

  auto values = TWUtils::createElement("t:Values");
  const auto list = value.asList();
  if (!list) {
    // Walking a dictionary gives its keys.
    for (const auto& key : value.asDictionary()->allKeys()) values.addChild(written(key));
    return values;
  }
  for (const auto& entry : *list) {
    const auto element = written(entry);
    if (!element) return {};
    values.addChild(element);
  }
  return values;
}

std::optional<std::string> TWExtendedProperty::constantText() const { return textOf(get("value")); }

TWProperties TWExtendedProperty::declaredProperties() const { return {{"value", get("value")}}; }

TWList TWExtendedProperty::identity() const {
  if (get("value").isAbsent()) return {};
  return {get("value")};
}

const TWExtendedPropertyClass& TWExternId::elementClass() {
  static const auto& kClass = TWExtendedPropertyClass::declare({
      .name = "TWExternId",
      .propertySetId = "c11ff724-aa03-4555-9952-8fa248a11c3f",
      .propertyName = "External ID",
      .propertyType = "String",
      .make = &detail::makeElement<TWExternId>,
  });
  return kClass;
}

const TWExtendedPropertyClass& TWFlag::elementClass() {
  static const auto& kClass = TWExtendedPropertyClass::declare({
      .name = "TWFlag",
      .propertyTag = "0x1090",
      .propertyType = "Integer",
      .make = &detail::makeElement<TWFlag>,
  });
  return kClass;
}

}  // namespace tarnwell
