#pragma once

#include <optional>
#include <string>

#include <pugixml.hpp>

#include "sandbox/operations/Operations.h"

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

/// New numbers for the attachments of an item that is stored a second time.
void renumberAttachments(Store& store, Item& item);

}  // namespace tarnwell::sandbox
