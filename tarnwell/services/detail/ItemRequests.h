#pragma once

#include <optional>
#include <vector>

#include "tarnwell/Core/XML/NKXMLElement.h"
#include "tarnwell/protocol/TWVersion.h"
#include "tarnwell/services/TWEWSService.h"
#include "tarnwell/util/TWDictionary.h"
#include "tarnwell/util/TWError.h"
#include "tarnwell/util/TWValue.h"

namespace tarnwell {
class TWItemEntry;
struct TWIdPair;
using TWItemEntries = std::vector<TWItemEntry>;
}  // namespace tarnwell

/// What several operations on items have in their requests and answers.
namespace tarnwell::detail {

/// `t:ItemId`. Invalid with an error for no id.
[[nodiscard]] NKXMLElement itemIdElement(const std::optional<TWIdPair>& pair, TWError* error);

/// `m:ItemIds`. Invalid with an error for an entry that has no id; an entry that is an error gives
/// that error.
[[nodiscard]] NKXMLElement itemIdsElement(const TWItemEntries& ids, TWError* error);

/// `m:AttachmentIds` of texts and `TWAttachmentId`s. Invalid with an error for anything else.
[[nodiscard]] NKXMLElement attachmentIdsElement(const TWList& ids, TWError* error);

/// The attribute that servers from 2013 on know; a server whose build is unknown counts as older.
void addSuppressReadReceipts(TWDictionary& attributes, bool suppress,
                             const std::optional<TWVersion>& version);

/// The children of a container; `true` when it is empty, as that of an item which was sent without
/// being saved: each response message stands for one input.
[[nodiscard]] TWList elementOrTrue(const NKXMLElement& container);

/// The error that takes the place of a result which the answer does not have: "No Items elements in
/// ResponseMessage %@", with the XML of the message where there is one.
[[nodiscard]] TWError missingResult(const TWServiceClass& service, const NKXMLNode& message = {});

/// The codes that operations on exported items catch.
[[nodiscard]] TWErrorCodes withResponseMessageError();

}  // namespace tarnwell::detail
