#include "tarnwell/folders/detail/FolderArchive.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "tarnwell/Core/XML/detail/LiteralText.h"
#include "tarnwell/schema/TWExtendedProperty.h"
#include "tarnwell/services/TWErrors.h"
#include "tarnwell/transport/TWNamespaces.h"
#include "tarnwell/util/TWFormat.h"
#include "tarnwell/util/TWText.h"
#include "tarnwell/util/TWUtils.h"

namespace tarnwell::detail {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kFormat = 1;
constexpr std::string_view kNumberMark = "num||";
constexpr std::string_view kXMLMark = "xml||";
constexpr std::string_view kSeparator = "||";

/// The element as a document of its own; empty when it cannot be written.
std::string documentOf(const TWValue& value) {
  auto xml = value.asObject()->toXML(nullptr);
  if (!xml) return {};
  xml.addNamespace(NKXMLNode::namespaceWithName("t", kTypesNamespace));
  xml.addNamespace(NKXMLNode::namespaceWithName("m", kMessagesNamespace));
  return literalXMLString(xml);
}

/// Absent for a value of a kind that is not stored.
std::optional<Json> written(const TWValue& value) {
  if (value.isText()) return Json{{"kind", "text"}, {"value", std::string(value.textView())}};
  if (value.isNumber() && std::isfinite(value.asDouble().value_or(0)))
    return Json{{"kind", "num"}, {"value", std::string(kNumberMark) + value.description()}};
  if (value.kind() != TWValue::Kind::element) return std::nullopt;
  const auto document = documentOf(value);
  if (document.empty()) return std::nullopt;
  return Json{{"kind", "xml"},
              {"value", formatMessage("xml||%@||%@", {value.asObject()->className(), document})}};
}

std::shared_ptr<TWEWSElement> readElement(std::string_view text,
                                          const std::shared_ptr<TWAccount>& account) {
  const auto end = text.find(kSeparator);
  if (end == std::string_view::npos) return nullptr;
  const auto* const cls = TWElementClass::named(text.substr(0, end));
  if (cls == nullptr) return nullptr;
  auto xml = NKXMLElement::withXMLString(text.substr(end + kSeparator.size()));
  // An extended property writes its value alone, and is read from the element around that.
  if (xml && cls->isKindOf(TWExtendedProperty::elementClass())) {
    auto around = TWUtils::createElement("t:ExtendedProperty");
    around.addChild(xml);
    xml = std::move(around);
  }
  return cls->fromXML(xml, account);
}

/// Numbers come back whole, deliberately: fractions are cut off. Absent for what is no number.
TWValue wholeNumber(std::string_view text) {
  if (const auto whole = parseInteger(text)) return *whole;
  constexpr double kBound = 9223372036854775808.0;  // 2^63
  const auto number = parseDecimal(text);
  if (!number) return {};
  if (*number >= kBound) return std::numeric_limits<std::int64_t>::max();
  if (*number < -kBound) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(*number);
}

/// Absent for what `written` does not write.
TWValue read(const Json& entry, const std::shared_ptr<TWAccount>& account) {
  if (!entry.is_object() || !entry.contains("kind") || !entry.contains("value")) return {};
  const auto &kind = entry["kind"], &value = entry["value"];
  if (!kind.is_string() || !value.is_string()) return {};
  const auto& text = value.get_ref<const std::string&>();
  if (kind == "text") return text;
  if (kind == "num" && text.starts_with(kNumberMark))
    return wholeNumber(std::string_view(text).substr(kNumberMark.size()));
  if (kind == "xml" && text.starts_with(kXMLMark))
    return readElement(std::string_view(text).substr(kXMLMark.size()), account);
  return {};
}

}  // namespace

TWData writeFolder(const TWFolder& folder) {
  Json properties = Json::object();
  for (const auto& name : folder.allKeys())
    if (auto value = written(folder[name])) properties[name] = *std::move(value);
  const Json document{
      {"format", kFormat}, {"class", folder.className()}, {"properties", std::move(properties)}};
  const auto text = document.dump(-1, ' ', false, Json::error_handler_t::replace);
  return {text.begin(), text.end()};
}

std::optional<ArchivedFolder> readFolder(const TWData& data,
                                         const std::shared_ptr<TWAccount>& account,
                                         TWError* error) {
  const auto refuse = [&](std::string_view why) {
    setError(error, {TWErrorCode::ErrorValueOutOfRange,
                     formatMessage("Cannot read archived folder: %@", {why})});
    return std::nullopt;
  };
  const auto document = Json::parse(data.begin(), data.end(), nullptr, false);
  if (!document.is_object() || !document.contains("format") || !document.contains("class") ||
      !document["class"].is_string() || !document.contains("properties") ||
      !document["properties"].is_object())
    return refuse("not a folder");
  if (document["format"] != kFormat) return refuse("unknown format");
  ArchivedFolder folder;
  folder.cls = TWFolderClass::named(document["class"].get_ref<const std::string&>());
  if (folder.cls == nullptr) return refuse("unknown class");
  for (const auto& [name, entry] : document["properties"].items()) {
    auto value = read(entry, account);
    if (value.isAbsent()) return refuse(name);
    folder.properties.set(name, std::move(value));
  }
  return folder;
}

}  // namespace tarnwell::detail
