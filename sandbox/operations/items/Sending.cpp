#include "sandbox/operations/items/Sending.h"

#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/items/ItemRules.h"
#include "sandbox/store/Times.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array<std::string_view, 3> kDispositions{"SaveOnly", "SendOnly", "SendAndSaveCopy"};

}  // namespace

std::optional<Disposition> readDisposition(pugi::xml_node request) {
  const auto text = ElementReader(request).enumeration("MessageDisposition",
                                                       "MessageDispositionType", kDispositions);
  if (!text) return std::nullopt;
  if (*text == "SaveOnly") return Disposition::saveOnly;
  return *text == "SendOnly" ? Disposition::sendOnly : Disposition::sendAndSaveCopy;
}

void checkSendable(const Item& item) {
  if ((findItemKind(item.content.name)->kind & kMessages) == 0) {
    throw EwsError("ErrorInvalidItemForOperationSendItem");
  }
  const std::vector<std::string> recipients = recipientsOf(item);
  if (recipients.empty()) throw EwsError("ErrorInvalidRecipients");
  for (const std::string& address : recipients) {
    if (!isMailAddress(address)) throw EwsError("ErrorInvalidRecipients");
  }
}

void sendItem(const OperationCall& call, const std::string& owner, Item& item) {
  if (item.number == 0) item.number = call.store.newNumber();
  markSent(item, *call.store.mailbox(owner), timeNow());
  for (const std::string& address : recipientsOf(item)) {
    const StoreMailbox* recipient = call.store.mailbox(address);
    if (recipient == nullptr) continue;
    Item copy = deliveredCopy(item, *recipient);
    renumberAttachments(call.store, copy);
    copy.folder = call.store.distinguished(address, "inbox");
    call.store.createItem(std::move(copy), StoreEvent::Kind::newMail);
  }
}

void sendStoredItem(const OperationCall& call, Item item, const std::vector<std::string>& keys,
                    bool saves, const std::optional<FolderReference>& target) {
  checkSendable(item);
  const std::string owner = call.store.findFolder(item.folder)->mailbox;
  std::uint64_t folder = call.store.distinguished(owner, "sentitems");
  if (target) folder = resolveFolder(call, *target, "ErrorSavedItemFolderNotFound").number;
  sendItem(call, owner, item);
  const std::uint64_t number = item.number;
  call.store.changeItem(std::move(item), keys);
  if (saves) {
    call.store.moveItem(number, folder);
  } else {
    call.store.removeItem(number);
  }
}

void renumberAttachments(Store& store, Item& item) {
  for (auto& attachment : item.attachments) {
    Attachment copy = *attachment;
    copy.number = store.newNumber();
    attachment = std::make_shared<const Attachment>(std::move(copy));
  }
}

}  // namespace tarnwell::sandbox
