#include "sandbox/items/PropertyValue.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "sandbox/detail/Base64.h"
#include "sandbox/detail/Directory.h"
#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/store/EwsError.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

using Names = std::initializer_list<std::string_view>;

constexpr std::string_view kXsd = "http://www.w3.org/2001/XMLSchema:";
constexpr std::array<std::string_view, 9> kPropertySets{
    "Meeting",         "Appointment",       "Common",           "PublicStrings", "Address",
    "InternetHeaders", "CalendarAssistant", "UnifiedMessaging", "Task"};
constexpr std::array<std::string_view, 26> kPropertyTypes{"ApplicationTime",
                                                          "ApplicationTimeArray",
                                                          "Binary",
                                                          "BinaryArray",
                                                          "Boolean",
                                                          "CLSID",
                                                          "CLSIDArray",
                                                          "Currency",
                                                          "CurrencyArray",
                                                          "Double",
                                                          "DoubleArray",
                                                          "Error",
                                                          "Float",
                                                          "FloatArray",
                                                          "Integer",
                                                          "IntegerArray",
                                                          "Long",
                                                          "LongArray",
                                                          "Null",
                                                          "Object",
                                                          "ObjectArray",
                                                          "Short",
                                                          "ShortArray",
                                                          "SystemTime",
                                                          "String",
                                                          "StringArray"};

[[noreturn]] void refuseValue(pugi::xml_node element, const std::string& value,
                              std::string_view type, std::string_view why) {
  throw SoapFault::schemaViolation(
      "The '" + std::string(localName(element)) + "' element is invalid - The value '" + value +
      "' is invalid according to its datatype '" + std::string(type) + "' - " + std::string(why));
}

template <class Number>
bool isNumber(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  Number number{};
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
  return problem == std::errc() && end == text.data() + text.size();
}

std::string trimmed(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

/// The text in its one form; throws when it has none of that type.
std::string readScalar(const Property& property, pugi::xml_node element) {
  std::string raw = simpleText(element);
  std::string value = trimmed(raw);
  const auto refuse = [&](std::string_view type) {
    refuseValue(element, value, std::string(kXsd) + std::string(type),
                "The string '" + value + "' is not a valid value.");
  };
  switch (property.type) {
    case PropertyType::boolean:
      if (value == "true" || value == "1") return "true";
      if (value == "false" || value == "0") return "false";
      refuse("boolean");
      break;
    case PropertyType::integer:
      if (!isNumber<int>(value)) refuse("int");
      return value;
    case PropertyType::number:
      if (!isNumber<double>(value)) refuse("double");
      return value;
    case PropertyType::dateTime: {
      const auto time = readTime(value);
      if (!time) refuse("dateTime");
      return timeText(*time);
    }
    case PropertyType::base64:
      if (!decodeBase64(value)) refuse("base64Binary");
      return value;
    case PropertyType::choice:
      if (!choiceIndex(property, value)) {
        refuseValue(element, value,
                    std::string(kTypesNs) + ":" + std::string(property.element) + "Type",
                    "The Enumeration constraint failed.");
      }
      return value;
    default:
      break;
  }
  return raw;
}

void checkStrings(pugi::xml_node list) {
  ElementReader reader(list);
  reader.allowAttributes({});
  while (const pugi::xml_node child = reader.next()) {
    if (!isElement(child, kTypesNs, "String")) reader.refuse(child);
    static_cast<void>(simpleText(child));
  }
}

void checkTexts(ElementReader& reader, Names names) {
  for (const std::string_view name : names) {
    if (const pugi::xml_node child = reader.optional(kTypesNs, name)) {
      static_cast<void>(simpleText(child));
    }
  }
}

void checkEntries(pugi::xml_node list, bool areAddresses) {
  ElementReader reader(list);
  reader.allowAttributes({});
  reader.requireMore();
  while (const pugi::xml_node entry = reader.next()) {
    if (!isElement(entry, kTypesNs, "Entry")) reader.refuse(entry);
    if (areAddresses) {
      ElementReader address(entry);
      address.allowAttributes({"Key"});
      static_cast<void>(address.requiredAttribute("Key"));
      checkTexts(address, {"Street", "City", "State", "CountryOrRegion", "PostalCode"});
      address.end();
    } else {
      static_cast<void>(simpleText(entry));
      if (!entry.attribute("Key")) {
        throw SoapFault::schemaViolation("The required attribute 'Key' is missing.");
      }
    }
  }
}

void checkMailbox(pugi::xml_node element) {
  ElementReader reader(element);
  reader.allowAttributes({});
  checkTexts(reader, {"Name", "EmailAddress", "RoutingType", "MailboxType"});
  reader.optional(kTypesNs, "ItemId");
  reader.end();
}

void checkMailboxes(pugi::xml_node list, bool onlyOne) {
  ElementReader reader(list);
  reader.allowAttributes({});
  if (onlyOne) {
    checkMailbox(reader.required(kTypesNs, "Mailbox"));
    reader.end();
    return;
  }
  while (const pugi::xml_node mailbox = reader.next()) {
    if (!isElement(mailbox, kTypesNs, "Mailbox")) reader.refuse(mailbox);
    checkMailbox(mailbox);
  }
}

void checkAttendees(pugi::xml_node list) {
  ElementReader reader(list);
  reader.allowAttributes({});
  reader.requireMore();
  while (const pugi::xml_node attendee = reader.next()) {
    if (!isElement(attendee, kTypesNs, "Attendee")) reader.refuse(attendee);
    ElementReader parts(attendee);
    checkMailbox(parts.required(kTypesNs, "Mailbox"));
    checkTexts(parts, {"ResponseType", "LastResponseTime"});
    parts.end();
  }
}

/// The value in its one form; throws the EwsError for one that the type does not have.
std::string extendedValue(const std::string& type, const std::string& text) {
  std::string value = type == "String" ? text : trimmed(text);
  bool good = true;
  if (type == "Boolean") {
    if (value == "1") return "true";
    if (value == "0") return "false";
    good = value == "true" || value == "false";
  } else if (type == "Integer" || type == "Short") {
    good = isNumber<int>(value);
  } else if (type == "Long" || type == "Currency") {
    good = isNumber<std::int64_t>(value);
  } else if (type == "Double" || type == "Float" || type == "ApplicationTime") {
    good = isNumber<double>(value);
  } else if (type == "Binary") {
    good = decodeBase64(value).has_value();
  } else if (type == "SystemTime") {
    const auto time = readTime(value);
    if (time) return timeText(*time);
    good = false;
  }
  if (!good) throw EwsError("ErrorInvalidExtendedPropertyValue");
  return value;
}

}  // namespace

Node readMailbox(pugi::xml_node element) {
  checkMailbox(element);
  return readNode(element);
}

Node readProperty(const Property& property, pugi::xml_node element) {
  switch (property.type) {
    case PropertyType::mailbox:
    case PropertyType::mailboxes:
      checkMailboxes(element, property.type == PropertyType::mailbox);
      break;
    case PropertyType::attendees:
      checkAttendees(element);
      break;
    case PropertyType::strings:
      checkStrings(element);
      break;
    case PropertyType::entries:
    case PropertyType::addresses:
      checkEntries(element, property.type == PropertyType::addresses);
      break;
    case PropertyType::body: {
      const std::string type = element.attribute("BodyType").value();
      static_cast<void>(simpleText(element));
      if (type != "Text" && type != "HTML") {
        throw SoapFault::schemaViolation(
            type.empty() ? "The required attribute 'BodyType' is missing."
                         : "The 'BodyType' attribute is invalid - The value '" + type +
                               "' is invalid according to its datatype '" + std::string(kTypesNs) +
                               ":BodyTypeType' - The Enumeration constraint failed.");
      }
      break;
    }
    case PropertyType::structure:
      break;
    default: {
      Node node{std::string(property.element)};
      node.text = readScalar(property, element);
      return node;
    }
  }
  return readNode(element);
}

Node readExtendedFieldUri(pugi::xml_node element) {
  ElementReader reader(element);
  reader.allowAttributes({"DistinguishedPropertySetId", "PropertySetId", "PropertyTag",
                          "PropertyName", "PropertyId", "PropertyType"});
  const auto set = reader.enumeration("DistinguishedPropertySetId", "DistinguishedPropertySetType",
                                      kPropertySets);
  const auto guid = reader.attribute("PropertySetId");
  const auto tag = reader.attribute("PropertyTag");
  const auto name = reader.attribute("PropertyName");
  const auto id = reader.attribute("PropertyId");
  static_cast<void>(reader.requiredAttribute("PropertyType"));
  const auto type = reader.enumeration("PropertyType", "MapiPropertyTypeType", kPropertyTypes);
  reader.end();

  const bool byTag = tag && !set && !guid && !name && !id;
  const bool bySet =
      !tag && (set.has_value() != guid.has_value()) && (name.has_value() != id.has_value());
  if (!byTag && !bySet) throw EwsError("ErrorInvalidExtendedProperty");
  return readNode(element);
}

std::string extendedKey(const Node& uri) {
  std::string tag = lowerCase(uri.attribute("PropertyTag"));
  if (!tag.empty()) {
    const bool hex = tag.starts_with("0x");
    unsigned number = 0;
    const char* const begin = tag.data() + (hex ? 2 : 0);
    std::from_chars(begin, tag.data() + tag.size(), number, hex ? 16 : 10);
    tag = std::to_string(number);
  }
  return "x:" + uri.attribute("DistinguishedPropertySetId") + "/" +
         lowerCase(uri.attribute("PropertySetId")) + "/" + tag + "/" +
         lowerCase(uri.attribute("PropertyName")) + "/" + uri.attribute("PropertyId") + "/" +
         uri.attribute("PropertyType");
}

Node readExtendedProperty(pugi::xml_node element) {
  ElementReader reader(element);
  Node property{"ExtendedProperty"};
  property.children.push_back(readExtendedFieldUri(reader.required(kTypesNs, "ExtendedFieldURI")));
  std::string type = property.children[0].attribute("PropertyType");
  const bool isArray = type.ends_with("Array");
  if (isArray) type.resize(type.size() - std::string_view("Array").size());

  reader.requireMore();
  const pugi::xml_node value = reader.next();
  reader.end();
  if (isElement(value, kTypesNs, "Value")) {
    if (isArray) throw EwsError("ErrorInvalidExtendedPropertyValue");
    property.children.push_back({"Value", {}, extendedValue(type, simpleText(value))});
  } else if (isElement(value, kTypesNs, "Values")) {
    if (!isArray) throw EwsError("ErrorInvalidExtendedPropertyValue");
    Node& values = property.children.emplace_back(Node{"Values"});
    ElementReader list(value);
    list.requireMore();
    while (const pugi::xml_node entry = list.next()) {
      if (!isElement(entry, kTypesNs, "Value")) list.refuse(entry);
      values.children.push_back({"Value", {}, extendedValue(type, simpleText(entry))});
    }
  } else {
    reader.refuse(value);
  }
  return property;
}

}  // namespace tarnwell::sandbox
