#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/ItemReader.h"
#include "sandbox/items/ItemRules.h"
#include "sandbox/items/ItemShape.h"
#include "sandbox/items/PropertyPath.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/items/CalendarTimes.h"
#include "sandbox/operations/items/Sending.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array<std::string_view, 3> kInvitations{"SendToNone", "SendOnlyToAll",
                                                       "SendToAllAndSaveCopy"};

struct Request {
  std::optional<Disposition> disposition;
  bool saysInvitations = false;
  std::optional<FolderReference> folder;
  std::vector<ItemDraft> drafts;
};

Request readRequest(const OperationCall& call) {
  Request request;
  ElementReader reader(call.request);
  reader.allowAttributes({"MessageDisposition", "SendMeetingInvitations"});
  request.disposition = readDisposition(call.request);
  request.saysInvitations =
      reader
          .enumeration("SendMeetingInvitations", "CalendarItemCreateOrDeleteOperationType",
                       kInvitations)
          .has_value();
  if (const pugi::xml_node holder = reader.optional(kMessagesNs, "SavedItemFolderId")) {
    request.folder = readTargetFolder(holder, call.schema);
  }
  ElementReader items(reader.required(kMessagesNs, "Items"));
  reader.end();
  items.requireMore();
  while (const pugi::xml_node item = items.next()) {
    if (namespaceOf(item) != kTypesNs || findItemKind(localName(item)) == nullptr) {
      items.refuse(item);
    }
    request.drafts.push_back(readItem(item, call.schema));
  }
  return request;
}

const Folder& targetOf(const OperationCall& call, const Request& request, const ItemDraft& draft) {
  if (request.folder) {
    return resolveFolder(call, *request.folder, "ErrorSavedItemFolderNotFound");
  }
  const bool sent =
      request.disposition == Disposition::sendAndSaveCopy && (draft.kind->kind & kMessages) != 0;
  FolderReference reference;
  reference.isDistinguished = true;
  reference.id = sent ? "sentitems" : std::string(draft.kind->folder);
  return resolveFolder(call, reference);
}

/// The attributes that items of a kind cannot do without.
void checkAttributes(const Request& request, const ItemDraft& draft) {
  const bool isMessage = (draft.kind->kind & kMessages) != 0;
  if (isMessage && !request.disposition) throw EwsError("ErrorMessageDispositionRequired");
  if (draft.kind->kind == kCalendarItem && !request.saysInvitations) {
    throw EwsError("ErrorSendMeetingInvitationsRequired");
  }
}

struct HomeRow {
  ItemKinds kinds;
  std::string_view folderClass;
  const char* refusal;
};

/// Items of these kinds are made in folders for them only.
constexpr std::array kHomes{
    HomeRow{kCalendarItem, "IPF.Appointment", "ErrorCannotCreateCalendarItemInNonCalendarFolder"},
    HomeRow{kContact | kDistributionList, "IPF.Contact",
            "ErrorCannotCreateContactInNonContactFolder"},
    HomeRow{kTask, "IPF.Task", "ErrorCannotCreateTaskInNonTaskFolder"},
};

void checkHome(const ItemDraft& draft, const Folder& folder) {
  for (const HomeRow& row : kHomes) {
    if ((row.kinds & draft.kind->kind) != 0 && !folder.folderClass.starts_with(row.folderClass)) {
      throw EwsError(row.refusal, "The item cannot be created in a folder of that class.");
    }
  }
}

void create(const OperationCall& call, const Request& request, const ItemDraft& draft,
            pugi::xml_node message) {
  checkAttributes(request, draft);
  checkSettable(draft);
  const Folder& folder = targetOf(call, request, draft);
  checkHome(draft, folder);
  Item item;
  item.content = draft.content;
  item.folder = folder.number;
  for (const Attachment& attachment : draft.attachments) {
    item.attachments.push_back(std::make_shared<const Attachment>(attachment));
  }
  renumberAttachments(call.store, item);
  const std::string owner = folder.mailbox;
  fillNewItem(item, *call.store.mailbox(owner), timeNow());
  checkCalendarTimes(item);
  pugi::xml_node items = message.append_child("m:Items");
  const bool isMessage = (draft.kind->kind & kMessages) != 0;
  const bool sends = isMessage && request.disposition != Disposition::saveOnly;
  if (sends) {
    checkSendable(item);
    sendItem(call, owner, item);
    if (request.disposition == Disposition::sendAndSaveCopy) {
      // The delivered copies have attachments of their own.
      call.store.createItem(std::move(item));
    }
    return;  // as the real server, which names no item that was sent
  }
  const std::shared_ptr<const Item> stored = call.store.createItem(std::move(item));
  ItemShape shape;
  if (!stored->attachments.empty()) {
    PropertyPath attachments;
    attachments.uri = "item:Attachments";
    attachments.property = findProperty(attachments.uri);
    shape.additional.push_back(std::move(attachments));
  }
  appendItem(items, *stored, shape, call.schema, false);
}

}  // namespace

void createItem(const OperationCall& call, pugi::xml_node response) {
  const Request request = readRequest(call);
  for (const ItemDraft& draft : request.drafts) {
    answerPart(response, "CreateItem",
               [&](pugi::xml_node message) { create(call, request, draft, message); });
  }
}

}  // namespace tarnwell::sandbox
