#pragma once

#include <string>

#include <pugixml.hpp>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/ServerVersion.h"

namespace tarnwell::sandbox {

/// An envelope that was found in order.
struct SoapRequest {
  /// The name of the operation's element, known or not.
  std::string operationName;
  /// The operation's element, in the document that was read.
  pugi::xml_node operation;
  /// What RequestServerVersion says; empty when there is none.
  std::string requestedVersion;
  /// The schema to answer by.
  Schema schema = Schema::exchange2007;
  /// The address to act for; empty without impersonation.
  std::string impersonated;
};

/// Reads an envelope into `request`, which holds what was read so far when a fault is thrown: not
/// an envelope, out of order, or a version that this server does not know. Without a
/// RequestServerVersion a client is taken for one of Exchange 2007.
void readEnvelope(const pugi::xml_document& document, const ServerVersion& server,
                  SoapRequest& request);

/// Makes the envelope of an answer, with the server's version in its header, and returns the empty
/// element m:<operation>Response in its body. `versionText` replaces the schema's name when not
/// empty.
pugi::xml_node makeAnswer(pugi::xml_document& document, const ServerVersion& server,
                          const std::string& versionText, const std::string& operation);

/// The body of a fault. As from the real server, it has no header.
[[nodiscard]] std::string faultText(const SoapFault& fault);

}  // namespace tarnwell::sandbox
