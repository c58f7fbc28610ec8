#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <pugixml.hpp>

#include "sandbox/detail/Directory.h"
#include "sandbox/detail/ServerVersion.h"
#include "sandbox/notifications/EventStream.h"
#include "sandbox/notifications/Subscriptions.h"
#include "sandbox/store/EwsError.h"
#include "sandbox/store/Store.h"

namespace tarnwell::sandbox {

/// What an operation works with.
struct OperationCall {
  /// The operation's element.
  pugi::xml_node request;
  /// The schema that the client asked for; the request must keep to it.
  Schema schema;
  const Directory& directory;
  Store& store;
  Subscriptions& subscriptions;
  /// The mailbox that the client logged in to, or acts for.
  std::string address;
  /// Filled when the answer is not `response` but a stream of documents.
  std::optional<StreamRequest>& stream;
};

/// An EWS operation: reads `call.request`, throws a SoapFault when it breaks the schema, and
/// appends to `response`, the element m:<name>Response. It reads the whole request before it
/// changes anything.
struct Operation {
  enum class Access { none, reads, writes };

  std::string_view name;
  /// The first schema that has it.
  Schema since;
  /// What it does with the store, whose mutex is held accordingly while it runs.
  Access access;
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

/// Appends the response message of one part of a request: a success that `work` appends its payload
/// to, or the EwsError that it throws.
template <class Work>
void answerPart(pugi::xml_node response, std::string_view operation, Work work) {
  pugi::xml_node message = addResponseMessage(response, operation, {});
  try {
    work(message);
  } catch (const EwsError& error) {
    message.parent().remove_child(message);
    addResponseMessage(response, operation, {"Error", error.code, error.text});
  }
}

// One function per operation, each in the file of its area.
void resolveNames(const OperationCall& call, pugi::xml_node response);
void getServerTimeZones(const OperationCall& call, pugi::xml_node response);

void createFolder(const OperationCall& call, pugi::xml_node response);
void deleteFolder(const OperationCall& call, pugi::xml_node response);
void emptyFolder(const OperationCall& call, pugi::xml_node response);
void findFolder(const OperationCall& call, pugi::xml_node response);
void getFolder(const OperationCall& call, pugi::xml_node response);
void moveFolder(const OperationCall& call, pugi::xml_node response);
void updateFolder(const OperationCall& call, pugi::xml_node response);

void createItem(const OperationCall& call, pugi::xml_node response);
void deleteItem(const OperationCall& call, pugi::xml_node response);
void exportItems(const OperationCall& call, pugi::xml_node response);
void findItem(const OperationCall& call, pugi::xml_node response);
void getItem(const OperationCall& call, pugi::xml_node response);
void moveItem(const OperationCall& call, pugi::xml_node response);
void sendItems(const OperationCall& call, pugi::xml_node response);
void updateItem(const OperationCall& call, pugi::xml_node response);
void uploadItems(const OperationCall& call, pugi::xml_node response);

void createAttachment(const OperationCall& call, pugi::xml_node response);
void deleteAttachment(const OperationCall& call, pugi::xml_node response);
void getAttachment(const OperationCall& call, pugi::xml_node response);

void getStreamingEvents(const OperationCall& call, pugi::xml_node response);
void subscribe(const OperationCall& call, pugi::xml_node response);
void unsubscribe(const OperationCall& call, pugi::xml_node response);

}  // namespace tarnwell::sandbox
