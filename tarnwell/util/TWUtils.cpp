#include "tarnwell/util/TWUtils.h"

#include <algorithm>
#include <cstddef>

#include "tarnwell/time/TWDateTime.h"
#include "tarnwell/util/TWObject.h"
#include "tarnwell/util/TWText.h"

namespace tarnwell {
namespace {

using Kind = TWValue::Kind;

/// Adds a member of a collection, or a single value, when it is one that becomes a child. False
/// when not.
bool addAsChild(NKXMLElement& parent, const TWValue& value, const TWVersion* version,
                TWError* error) {
  if (const auto object = value.asObject()) {
    // A failed object gives the invalid element, which adds nothing.
    parent.addChild(object->toXML(version, error));
    return true;
  }
  if (const auto element = value.asXML()) {
    parent.addChild(element);
    return true;
  }
  return false;
}

/// How many bytes at the start of the text are a character that XML 1.0 forbids; 0 when it may
/// stay. The two forbidden characters above the control range, U+FFFE and U+FFFF, are EF BF BE and
/// EF BF BF.
std::size_t forbiddenLength(std::string_view text) {
  const auto c = static_cast<unsigned char>(text[0]);
  if (c < 0x20) return c == '\t' || c == '\n' || c == '\r' ? 0 : 1;
  return text.starts_with("\xEF\xBF\xBE") || text.starts_with("\xEF\xBF\xBF") ? 3 : 0;
}

/// True for blanks, control characters and the marks that stand in no URL.
bool isNoneOfAURL(char c) {
  constexpr std::string_view kMarks = "\"<>\\^`{|}";
  return (c >= 0 && c <= ' ') || c == 0x7F || kMarks.find(c) != std::string_view::npos;
}

/// True for what may stand before the first ":" of a URL.
bool isScheme(std::string_view text) {
  const auto isLetter = [](char c) { return lowercased(c) >= 'a' && lowercased(c) <= 'z'; };
  return !text.empty() && isLetter(text[0]) && std::ranges::all_of(text, [&](char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '.' || c == '-';
  });
}

}  // namespace

NKXMLElement TWUtils::createElement(std::string_view name, const TWDictionary& attributes) {
  auto element = NKXMLElement::withName(name);
  for (const auto& [attribute, value] : attributes) {
    if (value.isText())
      element.addAttributeWithName(attribute, value.textView());
    else
      element.addAttributeWithName(attribute, xmlFromValue(value).value_or(value.description()));
  }
  return element;
}

NKXMLElement TWUtils::createAndAddElementToParent(NKXMLElement parent, std::string_view name,
                                                  const TWValue& value, TWError* error) {
  auto element = updateElement(createElement(name), value, nullptr, error);
  parent.addChild(element);
  return element;
}

NKXMLElement TWUtils::updateElement(NKXMLElement element, const TWValue& value,
                                    const TWVersion* version, TWError* error) {
  if (value.isText()) {
    element.setStringValue(value.textView());
    return element;
  }
  if (value.isNumber() || value.kind() == Kind::date) {
    element.setStringValue(xmlFromValue(value).value_or(std::string()));
    return element;
  }
  if (addAsChild(element, value, version, error)) return element;
  TWError first;
  const auto addMember = [&](const TWValue& member) {
    TWError failure;
    if (member.isText())
      createAndAddElementToParent(element, "t:String", member);
    else
      addAsChild(element, member, version, &failure);
    if (failure && !first) first = failure;
  };
  if (const auto list = value.asList()) std::ranges::for_each(*list, addMember);
  if (const auto dictionary = value.asDictionary())
    std::ranges::for_each(dictionary->allKeys(), addMember);
  if (first) setError(error, first);
  return element;
}

std::optional<std::string> TWUtils::xmlFromValue(const TWValue& value) {
  switch (value.kind()) {
    case Kind::text:
      return xmlFromUnsafeXML(value.textView());
    case Kind::boolean:
    case Kind::integer:
    case Kind::real:
      return value.description();
    case Kind::date:
      return TWDateTime::iso8601String(*value.asDate());
    case Kind::timeZone:
      return value.asTimeZone()->mszone();
    case Kind::element:
    case Kind::fieldPath:
    case Kind::fieldOrder:
      return value.asObject()->constantText();
    default:
      return std::nullopt;
  }
}

TWValue TWUtils::valueFromXML(std::string_view text, TWValue::Kind forType) {
  switch (forType) {
    case Kind::boolean:
    case Kind::integer:
    case Kind::real: {
      const auto number = parseDecimal(text);
      if (!number) return {};
      // A whole number stays one as long as it fits, where a double would hold 53 bits of it.
      if (const auto whole = parseInteger(text)) return *whole;
      return *number;
    }
    case Kind::date:
      return TWDateTime::dateTimeFromString(text);
    case Kind::text:
      return text;
    default:
      return {};
  }
}

std::size_t TWUtils::findUnsafeXML(std::string_view text) noexcept {
  for (std::size_t at = 0; at < text.size(); ++at)
    if ((static_cast<unsigned char>(text[at]) < 0x20 || text[at] == '\xEF') &&
        forbiddenLength(text.substr(at)) != 0)
      return at;
  return std::string_view::npos;
}

std::string TWUtils::xmlFromUnsafeXML(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const std::size_t forbidden = forbiddenLength(text);
    out += forbidden != 0 ? '?' : text[0];
    text.remove_prefix(std::max<std::size_t>(forbidden, 1));
  }
  return out;
}

TWValue TWUtils::chunkify(const TWValue& collection, std::size_t length) {
  TWList items;
  if (const auto list = collection.asList())
    items = *list;
  else if (const auto dictionary = collection.asDictionary())
    for (const auto& key : dictionary->allKeys()) items.emplace_back(key);
  else
    return collection;
  TWList chunks;
  for (auto& chunk : chunkify(items, length)) chunks.emplace_back(std::move(chunk));
  return chunks;
}

TWDictionary TWUtils::parseUrl(std::string_view url) {
  TWDictionary parts{{"ssl", false}};
  if (std::ranges::any_of(url, isNoneOfAURL)) return parts;
  std::string_view rest = url.substr(0, url.find_first_of("?#"));
  const auto colon = rest.find(':');
  if (colon != std::string_view::npos && isScheme(rest.substr(0, colon))) {
    // Compared as written: a scheme in capitals does not count.
    parts.set("ssl", rest.substr(0, colon) == "https");
    rest.remove_prefix(colon + 1);
  }
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    std::string_view authority = rest.substr(0, rest.find('/'));
    rest.remove_prefix(authority.size());
    if (const auto at = authority.rfind('@'); at != std::string_view::npos)
      authority.remove_prefix(at + 1);
    // An IPv6 address keeps its brackets, so that it can be put back into a URL.
    const bool isIPv6 = authority.starts_with('[');
    const auto port = authority.find(':', isIPv6 ? authority.find(']') : 0);
    const std::string_view host = authority.substr(0, port);
    const auto bracket = host.find_first_of("[]", isIPv6 ? 1 : 0);
    const bool isHost = isIPv6 ? bracket == host.size() - 1 && host.ends_with(']')
                               : bracket == std::string_view::npos;
    const bool isPort = port == std::string_view::npos ||
                        std::ranges::all_of(authority.substr(port + 1),
                                            [](char c) { return c >= '0' && c <= '9'; });
    if (!isHost || !isPort) return {{"ssl", false}};
    if (!host.empty()) parts.set("server", host);
  }
  if (!rest.empty()) parts.set("path", rest);
  return parts;
}

std::optional<std::string> TWUtils::getDomain(std::string_view email) {
  const auto at = email.find('@');
  if (at == std::string_view::npos) return std::nullopt;
  auto domain = lowercasedUnicode(email.substr(at + 1));
  if (domain == "outlook.com") return "outlook.office365.com";
  return domain;
}

}  // namespace tarnwell
