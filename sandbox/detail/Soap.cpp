#include "sandbox/detail/Soap.h"

#include <algorithm>

#include "sandbox/detail/Xml.h"

namespace tarnwell::sandbox {
namespace {

std::string requiredVersionOf(pugi::xml_node element) {
  ElementReader reader(element);
  reader.allowAttributes({"Version"});
  reader.end();
  return reader.requiredAttribute("Version");
}

std::string impersonatedAddressOf(pugi::xml_node element) {
  ElementReader reader(element);
  ElementReader sid(reader.required(kTypesNs, "ConnectingSID"));
  reader.end();
  sid.requireMore();
  const pugi::xml_node choice = sid.next();
  // The schema says PrimarySmtpAddress; clients in the field write it both ways.
  const std::string_view name = localName(choice);
  const bool known = name == "PrimarySmtpAddress" || name == "PrimarySMTPAddress" ||
                     name == "SmtpAddress" || name == "PrincipalName";
  if (!known || namespaceOf(choice) != kTypesNs) sid.refuse(choice);
  sid.end();
  return simpleText(choice);
}

void checkTimeZoneContext(pugi::xml_node element) {
  ElementReader reader(element);
  const ElementReader definition(reader.required(kTypesNs, "TimeZoneDefinition"));
  reader.end();
  static_cast<void>(definition.requiredAttribute("Id"));
}

/// The blocks of a header come in any order.
void readHeader(pugi::xml_node header, SoapRequest& request) {
  bool hasVersion = false;
  ElementReader reader(header);
  while (const pugi::xml_node block = reader.next()) {
    if (isElement(block, kTypesNs, "RequestServerVersion")) {
      if (hasVersion) reader.refuse(block);
      hasVersion = true;
      request.requestedVersion = requiredVersionOf(block);
    } else if (isElement(block, kTypesNs, "ExchangeImpersonation")) {
      request.impersonated = impersonatedAddressOf(block);
    } else if (isElement(block, kTypesNs, "TimeZoneContext")) {
      checkTimeZoneContext(block);
    } else if (namespaceOf(block) != kTypesNs) {
      for (const pugi::xml_attribute attribute : block.attributes()) {
        if (std::string_view(attribute.name()).ends_with(":mustUnderstand") &&
            std::string_view(attribute.value()) == "1") {
          throw SoapFault::ofSoap("MustUnderstand", "The header '" + std::string(localName(block)) +
                                                        "' is not understood.");
        }
      }
    }
  }
  if (!hasVersion) return;
  const Schema* schema = findSchema(request.requestedVersion);
  if (schema == nullptr) throw SoapFault::invalidServerVersion();
  request.schema = *schema;
}

pugi::xml_node makeEnvelope(pugi::xml_document& document) {
  pugi::xml_node envelope = document.append_child("s:Envelope");
  envelope.append_attribute("xmlns:s") = kSoapNs.data();
  return envelope;
}

}  // namespace

void readEnvelope(const pugi::xml_document& document, const ServerVersion& server,
                  SoapRequest& request) {
  const pugi::xml_node root = document.document_element();
  if (localName(root) != "Envelope") {
    throw SoapFault::schemaViolation("The '" + std::string(localName(root)) +
                                     "' element is not declared.");
  }
  if (namespaceOf(root) != kSoapNs) {
    throw SoapFault::ofSoap("VersionMismatch", "The envelope is not one of SOAP 1.1.");
  }
  ElementReader envelope(root);
  const pugi::xml_node header = envelope.optional(kSoapNs, "Header");
  const pugi::xml_node bodyElement = envelope.required(kSoapNs, "Body");
  envelope.end();

  ElementReader body(bodyElement);
  body.requireMore();
  request.operation = body.next();
  request.operationName = localName(request.operation);
  body.end();

  if (header) readHeader(header, request);
  if (request.schema > server.schema) throw SoapFault::invalidServerVersion();
  if (namespaceOf(request.operation) != kMessagesNs) throw SoapFault::invalidRequest();
}

pugi::xml_node makeAnswer(pugi::xml_document& document, const ServerVersion& server,
                          const std::string& versionText, const std::string& operation) {
  pugi::xml_node envelope = makeEnvelope(document);
  pugi::xml_node info = envelope.append_child("s:Header").append_child("h:ServerVersionInfo");
  info.append_attribute("xmlns:h") = kTypesNs.data();
  info.append_attribute("MajorVersion") = server.majorVersion;
  info.append_attribute("MinorVersion") = server.minorVersion;
  info.append_attribute("MajorBuildNumber") = server.majorBuild;
  info.append_attribute("MinorBuildNumber") = server.minorBuild;
  if (server.sendsVersionText()) {
    info.append_attribute("Version") =
        versionText.empty() ? schemaName(server.schema).data() : versionText.c_str();
  }
  pugi::xml_node response =
      envelope.append_child("s:Body").append_child(("m:" + operation + "Response").c_str());
  response.append_attribute("xmlns:m") = kMessagesNs.data();
  response.append_attribute("xmlns:t") = kTypesNs.data();
  return response;
}

std::string faultText(const SoapFault& fault) {
  pugi::xml_document document;
  pugi::xml_node element = makeEnvelope(document).append_child("s:Body").append_child("s:Fault");
  pugi::xml_node code = append(element, "faultcode", (fault.isOfSoap ? "s:" : "a:") + fault.code);
  if (!fault.isOfSoap) code.append_attribute("xmlns:a") = kTypesNs.data();
  append(element, "faultstring", fault.faultString).append_attribute("xml:lang") = "en-US";
  if (fault.isOfSoap) return serialise(document);

  pugi::xml_node detail = element.append_child("detail");
  append(detail, "e:ResponseCode", fault.code).append_attribute("xmlns:e") = kErrorsNs.data();
  append(detail, "e:Message", fault.message).append_attribute("xmlns:e") = kErrorsNs.data();
  if (!fault.violation.empty()) {
    pugi::xml_node more = detail.append_child("t:MessageXml");
    more.append_attribute("xmlns:t") = kTypesNs.data();
    append(more, "t:Violation", fault.violation);
  }
  return serialise(document);
}

}  // namespace tarnwell::sandbox
