#pragma once

#include <exception>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace tarnwell::sandbox {

/// Ends a request with a SOAP fault. Thrown by whatever reads a request, caught in one place.
class SoapFault : public std::exception {
 public:
  SoapFault(std::string ewsCode, const std::string& text)
      : code(std::move(ewsCode)), message(text), faultString(text) {}

  /// The document is not what the schema says; `violation` tells where.
  [[nodiscard]] static SoapFault schemaViolation(const std::string& violation);
  /// An operation that this server, or the schema asked for, does not have.
  [[nodiscard]] static SoapFault invalidRequest();
  [[nodiscard]] static SoapFault invalidServerVersion();
  /// A fault of SOAP itself, "VersionMismatch" or "MustUnderstand", which has no detail.
  [[nodiscard]] static SoapFault ofSoap(std::string code, const std::string& text);

  [[nodiscard]] const char* what() const noexcept override { return faultString.c_str(); }

  std::string code;
  std::string message;
  std::string faultString;
  std::string violation;
  int status = 500;
  bool isOfSoap = false;
};

/// Reads an element whose children come in the order that the schema says, each call going on where
/// the last one ended. Whatever does not fit is thrown as a schema violation, in the words of the
/// real server's validator.
///
///     ElementReader reader(element);
///     reader.allowAttributes({"SearchScope"});
///     pugi::xml_node folders = reader.optional(kMessagesNs, "ParentFolderIds");
///     std::string entry = reader.requiredText(kMessagesNs, "UnresolvedEntry");
///     reader.end();
class ElementReader {
 public:
  /// The element may hold elements only, no text.
  explicit ElementReader(pugi::xml_node element);

  void allowAttributes(std::initializer_list<std::string_view> names) const;
  [[nodiscard]] std::optional<std::string> attribute(const char* name) const;
  [[nodiscard]] std::string requiredAttribute(const char* name) const;
  [[nodiscard]] std::optional<bool> boolean(const char* name) const;
  /// One of the values; `type` is the simple type's name in the schema.
  [[nodiscard]] std::optional<std::string> enumeration(
      const char* name, std::string_view type, std::span<const std::string_view> values) const;

  /// The next child when it is that one, else null.
  pugi::xml_node optional(std::string_view xmlns, std::string_view name);
  pugi::xml_node required(std::string_view xmlns, std::string_view name);
  /// The text of a child that holds nothing else; must not be empty.
  std::string requiredText(std::string_view xmlns, std::string_view name);
  [[nodiscard]] bool hasNext() const noexcept { return !next_.empty(); }
  /// The next child without going past it; null at the end.
  [[nodiscard]] pugi::xml_node peek() const noexcept { return next_; }
  /// The next child, whatever it is; null at the end.
  pugi::xml_node next();
  /// There must be another child.
  void requireMore() const;
  /// Nothing more may come.
  void end() const;

  /// Throws: the child stands where it must not.
  [[noreturn]] void refuse(pugi::xml_node child) const;

 private:
  pugi::xml_node element_;
  pugi::xml_node next_;
};

/// The text of an element that holds nothing else. Throws for child elements.
[[nodiscard]] std::string simpleText(pugi::xml_node element);

}  // namespace tarnwell::sandbox
