#include "sandbox/store/EwsError.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace tarnwell::sandbox {
namespace {

struct Row {
  std::string_view code;
  std::string_view text;
};

constexpr std::array kTexts{
    Row{"ErrorAffectedTaskOccurrencesRequired",
        "The AffectedTaskOccurrences attribute is required for task items."},
    Row{"ErrorCannotDeleteObject", "The object cannot be deleted."},
    Row{"ErrorCannotEmptyFolder", "Emptying the folder is not allowed."},
    Row{"ErrorCannotUseFolderIdForItemId", "Id must be an item id, not a folder id."},
    Row{"ErrorCannotUseItemIdForFolderId", "Id must be a folder id, not an item id."},
    Row{"ErrorChangeKeyRequired", "A change key is required for this operation."},
    Row{"ErrorChangeKeyRequiredForWriteOperations",
        "A change key is required for this type of write operation."},
    Row{"ErrorDeleteDistinguishedFolder", "Distinguished folders cannot be deleted."},
    Row{"ErrorExpiredSubscription", "The subscription has expired."},
    Row{"ErrorFolderExists", "A folder with the specified name already exists."},
    Row{"ErrorFolderNotFound", "The specified folder could not be found in the store."},
    Row{"ErrorInvalidAttachmentId", "The attachment id is invalid."},
    Row{"ErrorInvalidChangeKey", "The change key is invalid."},
    Row{"ErrorInvalidExtendedProperty", "The extended property attribute combination is invalid."},
    Row{"ErrorInvalidExtendedPropertyValue",
        "The value of the extended property does not fit its type."},
    Row{"ErrorInvalidIdEmpty", "Id must be non-empty."},
    Row{"ErrorInvalidIdMalformed", "Id is malformed."},
    Row{"ErrorInvalidItemForOperationSendItem", "The item is of no type that can be sent."},
    Row{"ErrorInvalidOperation", "The operation is invalid."},
    Row{"ErrorInvalidPropertyAppend", "Append action is invalid for property."},
    Row{"ErrorInvalidPropertyDelete", "Delete action is invalid for property."},
    Row{"ErrorInvalidPropertyRequest", "Property is not valid for this object type."},
    Row{"ErrorInvalidPropertySet", "Set action is invalid for property."},
    Row{"ErrorInvalidPropertyUpdateSentMessage",
        "Update operation is invalid for property of a sent message."},
    Row{"ErrorInvalidRecipients", "At least one recipient is not valid."},
    Row{"ErrorInvalidSubscription", "The subscription id is invalid."},
    Row{"ErrorIrresolvableConflict",
        "The send or update operation could not be performed because the change key passed in the "
        "request does not match the current change key for the item."},
    Row{"ErrorItemNotFound", "The specified object was not found in the store."},
    Row{"ErrorMessageDispositionRequired",
        "MessageDisposition attribute is required for messages."},
    Row{"ErrorMissingRecipients", "Message must have at least one recipient to be sent."},
    Row{"ErrorMoveCopyFailed", "The move or copy operation failed."},
    Row{"ErrorMoveDistinguishedFolder", "Distinguished folders cannot be moved."},
    Row{"ErrorNonExistentMailbox", "The SMTP address has no mailbox associated with it."},
    Row{"ErrorParentFolderNotFound", "The specified parent folder could not be found."},
    Row{"ErrorSavedItemFolderNotFound", "The folder for the saved item could not be found."},
    Row{"ErrorSendMeetingCancellationsRequired",
        "SendMeetingCancellations attribute is required for calendar items."},
    Row{"ErrorSendMeetingInvitationsOrCancellationsRequired",
        "SendMeetingInvitationsOrCancellations attribute is required for calendar items."},
    Row{"ErrorSendMeetingInvitationsRequired",
        "SendMeetingInvitations attribute is required for calendar items."},
    Row{"ErrorStaleObject", "The change key does not match the current state of the item."},
    Row{"ErrorSubscriptionNotFound", "The subscription could not be found."},
    Row{"ErrorToFolderNotFound", "The destination folder could not be found."},
    Row{"ErrorUnsupportedPathForQuery", "The property cannot be used in a restriction."},
    Row{"ErrorUnsupportedPathForSortGroup", "The property cannot be used for sorting."},
    Row{"ErrorUpdatePropertyMismatch",
        "Update properties must match the property that is to be updated."},
};

}  // namespace

EwsError::EwsError(std::string ewsCode) : code(std::move(ewsCode)) {
  const auto* const row = std::ranges::find(kTexts, code, &Row::code);
  text = row == kTexts.end() ? code : std::string(row->text);
}

EwsError::EwsError(std::string ewsCode, std::string ewsText)
    : code(std::move(ewsCode)), text(std::move(ewsText)) {}

}  // namespace tarnwell::sandbox
