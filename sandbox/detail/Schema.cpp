#include "sandbox/detail/Schema.h"

#include <algorithm>

#include "sandbox/detail/Xml.h"

namespace tarnwell::sandbox {
namespace {

std::string described(pugi::xml_node element) {
  std::string text = "'" + std::string(localName(element)) + "'";
  if (const std::string_view xmlns = namespaceOf(element); !xmlns.empty()) {
    text += " in namespace '" + std::string(xmlns) + "'";
  }
  return text;
}

}  // namespace

SoapFault SoapFault::schemaViolation(const std::string& violation) {
  SoapFault fault("ErrorSchemaValidation", "The request failed schema validation.");
  fault.faultString = "The request failed schema validation: " + violation;
  fault.violation = violation;
  return fault;
}

SoapFault SoapFault::invalidRequest() { return {"ErrorInvalidRequest", "The request is invalid."}; }

SoapFault SoapFault::invalidServerVersion() {
  return {"ErrorInvalidServerVersion", "The specified server version is invalid."};
}

SoapFault SoapFault::ofSoap(std::string code, const std::string& text) {
  SoapFault fault(std::move(code), text);
  fault.isOfSoap = true;
  return fault;
}

ElementReader::ElementReader(pugi::xml_node element)
    : element_(element), next_(firstElement(element)) {
  if (!isBlank(textOf(element))) {
    throw SoapFault::schemaViolation("The element " + described(element) + " cannot contain text.");
  }
}

void ElementReader::allowAttributes(std::initializer_list<std::string_view> names) const {
  for (const pugi::xml_attribute attribute : element_.attributes()) {
    // Attributes of other namespaces (xsi:type and the like) are not the schema's business here.
    const std::string_view name = attribute.name();
    if (isDeclaration(attribute) || name.find(':') != std::string_view::npos) continue;
    if (std::ranges::find(names, name) == names.end()) {
      throw SoapFault::schemaViolation("The '" + std::string(name) +
                                       "' attribute is not declared.");
    }
  }
}

std::optional<std::string> ElementReader::attribute(const char* name) const {
  const pugi::xml_attribute found = element_.attribute(name);
  return found ? std::optional<std::string>(found.value()) : std::nullopt;
}

std::string ElementReader::requiredAttribute(const char* name) const {
  const std::optional<std::string> value = attribute(name);
  if (value) return *value;
  throw SoapFault::schemaViolation("The required attribute '" + std::string(name) +
                                   "' is missing.");
}

std::optional<bool> ElementReader::boolean(const char* name) const {
  const std::optional<std::string> value = attribute(name);
  if (!value) return std::nullopt;
  if (*value == "true" || *value == "1") return true;
  if (*value == "false" || *value == "0") return false;
  throw SoapFault::schemaViolation("The '" + std::string(name) +
                                   "' attribute is invalid - The value '" + *value +
                                   "' is invalid according to its datatype "
                                   "'http://www.w3.org/2001/XMLSchema:boolean' - The string '" +
                                   *value + "' is not a valid Boolean value.");
}

std::optional<std::string> ElementReader::enumeration(
    const char* name, std::string_view type, std::span<const std::string_view> values) const {
  std::optional<std::string> value = attribute(name);
  if (!value || std::ranges::find(values, *value) != values.end()) return value;
  throw SoapFault::schemaViolation(
      "The '" + std::string(name) + "' attribute is invalid - The value '" + *value +
      "' is invalid according to its datatype '" + std::string(kTypesNs) + ":" + std::string(type) +
      "' - The Enumeration constraint failed.");
}

pugi::xml_node ElementReader::optional(std::string_view xmlns, std::string_view name) {
  return isElement(next_, xmlns, name) ? next() : pugi::xml_node();
}

pugi::xml_node ElementReader::required(std::string_view xmlns, std::string_view name) {
  requireMore();
  if (!isElement(next_, xmlns, name)) refuse(next_);
  return next();
}

std::string ElementReader::requiredText(std::string_view xmlns, std::string_view name) {
  const pugi::xml_node child = required(xmlns, name);
  std::string text = simpleText(child);
  if (!text.empty()) return text;
  throw SoapFault::schemaViolation("The " + described(child) +
                                   " element is invalid - The value '' is invalid according to its "
                                   "datatype 'String' - The actual length is less than the "
                                   "MinLength value.");
}

pugi::xml_node ElementReader::next() {
  const pugi::xml_node current = next_;
  if (next_) next_ = nextElement(next_);
  return current;
}

void ElementReader::end() const {
  if (next_) refuse(next_);
}

void ElementReader::refuse(pugi::xml_node child) const {
  throw SoapFault::schemaViolation("The element " + described(element_) +
                                   " has invalid child element " + described(child) + ".");
}

void ElementReader::requireMore() const {
  if (next_) return;
  throw SoapFault::schemaViolation("The element " + described(element_) +
                                   " has incomplete content.");
}

std::string simpleText(pugi::xml_node element) {
  if (const pugi::xml_node child = firstElement(element)) {
    throw SoapFault::schemaViolation("The element " + described(element) +
                                     " cannot contain child element " + described(child) +
                                     " because the parent element's content model is text only.");
  }
  return textOf(element);
}

}  // namespace tarnwell::sandbox
