#pragma once

#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "sandbox/detail/Directory.h"
#include "sandbox/detail/ServerVersion.h"

namespace tarnwell::sandbox {

/// What an operation works with.
struct OperationCall {
  /// The operation's element.
  pugi::xml_node request;
  /// The schema that the client asked for; the request must keep to it.
  Schema schema;
  const Directory& directory;
};

/// An EWS operation: reads `call.request`, throws a SoapFault when it breaks the schema, and
/// appends to `response`, the element m:<name>Response. Runs on several threads at once.
struct Operation {
  std::string_view name;
  /// The first schema that has it.
  Schema since;
  void (*run)(const OperationCall& call, pugi::xml_node response);
};

/// Null when there is none of that name.
[[nodiscard]] const Operation* findOperation(std::string_view name);

/// The outcome of one part of a request.
struct ResponseStatus {
  const char* responseClass = "Success";
  std::string code = "NoError";
  std::string text = {};
};

/// Appends one m:<operation>ResponseMessage, within m:ResponseMessages, and returns it for its
/// payload.
pugi::xml_node addResponseMessage(pugi::xml_node response, std::string_view operation,
                                  const ResponseStatus& status);

// One function per operation, each in the file of its area.
void resolveNames(const OperationCall& call, pugi::xml_node response);
void getServerTimeZones(const OperationCall& call, pugi::xml_node response);

}  // namespace tarnwell::sandbox
