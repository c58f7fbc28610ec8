#include <algorithm>
#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemRules.h"
#include "sandbox/items/ItemShape.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/items/CalendarTimes.h"
#include "sandbox/operations/items/ItemUpdate.h"
#include "sandbox/operations/items/Sending.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array<std::string_view, 3> kResolutions{"NeverOverwrite", "AutoResolve",
                                                       "AlwaysOverwrite"};
constexpr std::array<std::string_view, 5> kInvitations{"SendToNone", "SendOnlyToAll",
                                                       "SendOnlyToChanged", "SendToAllAndSaveCopy",
                                                       "SendToChangedAndSaveCopy"};

struct ItemChange {
  ItemReference item;
  std::vector<ItemUpdate> updates;
};

struct Request {
  std::string resolution;
  std::optional<Disposition> disposition;
  bool saysInvitations = false;
  std::optional<FolderReference> folder;
  std::vector<ItemChange> changes;
};

ItemChange readItemChange(pugi::xml_node element, Schema schema) {
  ElementReader reader(element);
  reader.allowAttributes({});
  ItemChange change;
  change.item = readItemReference(reader.required(kTypesNs, "ItemId"));
  change.updates = readItemUpdates(reader.required(kTypesNs, "Updates"), schema);
  reader.end();
  return change;
}

Request readRequest(const OperationCall& call) {
  Request request;
  ElementReader reader(call.request);
  if (call.schema >= Schema::exchange2013) {
    reader.allowAttributes({"ConflictResolution", "MessageDisposition",
                            "SendMeetingInvitationsOrCancellations", "SuppressReadReceipts"});
    static_cast<void>(reader.boolean("SuppressReadReceipts"));
  } else {
    reader.allowAttributes(
        {"ConflictResolution", "MessageDisposition", "SendMeetingInvitationsOrCancellations"});
  }
  static_cast<void>(reader.requiredAttribute("ConflictResolution"));
  request.resolution =
      *reader.enumeration("ConflictResolution", "ConflictResolutionType", kResolutions);
  request.disposition = readDisposition(call.request);
  request.saysInvitations = reader
                                .enumeration("SendMeetingInvitationsOrCancellations",
                                             "CalendarItemUpdateOperationType", kInvitations)
                                .has_value();
  if (const pugi::xml_node holder = reader.optional(kMessagesNs, "SavedItemFolderId")) {
    request.folder = readTargetFolder(holder, call.schema);
  }
  ElementReader changes(reader.required(kMessagesNs, "ItemChanges"));
  reader.end();
  changes.requireMore();
  while (const pugi::xml_node change = changes.next()) {
    if (!isElement(change, kTypesNs, "ItemChange")) changes.refuse(change);
    request.changes.push_back(readItemChange(change, call.schema));
  }
  return request;
}

void checkAttributes(const Request& request, ItemKind kind) {
  if ((kind & kMessages) != 0 && !request.disposition) {
    throw EwsError("ErrorMessageDispositionRequired");
  }
  if (kind == kCalendarItem && !request.saysInvitations) {
    throw EwsError("ErrorSendMeetingInvitationsOrCancellationsRequired");
  }
}

/// Whether somebody else's change stands in the way. What others changed since does not matter as
/// long as it is something else, unless the client wants it so.
void checkConflict(const Request& request, const ItemChange& change, const Item& item) {
  const std::uint64_t seen = versionOf(change.item.changeKey);
  if (request.resolution == "AlwaysOverwrite" || seen == item.version) return;
  if (request.resolution == "NeverOverwrite") {
    throw EwsError(seen == 0 ? "ErrorChangeKeyRequiredForWriteOperations"
                             : "ErrorIrresolvableConflict");
  }
  if (seen == 0) return;
  for (const ItemUpdate& update : change.updates) {
    const auto changed = item.changed.find(update.path.key());
    if (changed != item.changed.end() && changed->second > seen) {
      throw EwsError("ErrorIrresolvableConflict");
    }
  }
}

void update(const OperationCall& call, const Request& request, const ItemChange& change,
            pugi::xml_node message) {
  Item item = *resolveItem(call, change.item);
  const ItemKind kind = findItemKind(item.content.name)->kind;
  checkAttributes(request, kind);
  checkConflict(request, change, item);
  std::vector<std::string> keys;
  for (const ItemUpdate& part : change.updates) {
    applyItemUpdate(item, part);
    keys.push_back(part.path.key());
  }
  checkCalendarTimes(item);
  const StoreMailbox* editor = call.store.mailbox(call.address);
  item.content.setChild("IsUnmodified", "false");
  updateDerived(item, *editor, timeNow());

  pugi::xml_node items = message.append_child("m:Items");
  append(message.append_child("m:ConflictResults"), "t:Count", "0");
  if ((kind & kMessages) == 0 || request.disposition == Disposition::saveOnly) {
    const auto stored = call.store.changeItem(std::move(item), keys);
    appendItem(items, *stored, {}, call.schema, false);
    return;
  }
  sendStoredItem(call, std::move(item), keys, request.disposition == Disposition::sendAndSaveCopy,
                 request.folder);
}

}  // namespace

void updateItem(const OperationCall& call, pugi::xml_node response) {
  const Request request = readRequest(call);
  for (const ItemChange& change : request.changes) {
    answerPart(response, "UpdateItem",
               [&](pugi::xml_node message) { update(call, request, change, message); });
  }
}

}  // namespace tarnwell::sandbox
