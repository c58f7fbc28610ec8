#pragma once

#include <optional>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "sandbox/operations/Operations.h"
#include "sandbox/operations/References.h"

namespace tarnwell::sandbox {

/// What becomes of a message.
enum class Disposition { saveOnly, sendOnly, sendAndSaveCopy };

/// The attribute MessageDisposition; absent when there is none. Throws the schema violation.
[[nodiscard]] std::optional<Disposition> readDisposition(pugi::xml_node request);

/// Throws the EwsError for what cannot be sent.
void checkSendable(const Item& item);
/// Gives a message that is to be sent its sender and its time, and puts it into the inboxes of
/// those recipients who have a mailbox here; others get nothing, and nobody is told. `owner` is the
/// mailbox that it is sent from.
void sendItem(const OperationCall& call, const std::string& owner, Item& item);

/// Sends an item of the store, `keys` of which were changed just now. It then goes to `target`, or
/// to the items sent without one; when it is not to be saved it is removed.
void sendStoredItem(const OperationCall& call, Item item, const std::vector<std::string>& keys,
                    bool saves, const std::optional<FolderReference>& target);

/// New numbers for the attachments of an item that is stored for the first or a second time.
void renumberAttachments(Store& store, Item& item);

}  // namespace tarnwell::sandbox
