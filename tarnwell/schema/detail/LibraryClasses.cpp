#include "tarnwell/schema/detail/LibraryClasses.h"

#include <array>

#include "tarnwell/folders/TWCalendarView.h"
#include "tarnwell/folders/TWFolderClass.h"
#include "tarnwell/folders/TWFolderId.h"
#include "tarnwell/folders/TWWellKnownFolders.h"
#include "tarnwell/items/TWAttachment.h"
#include "tarnwell/items/TWAttendee.h"
#include "tarnwell/items/TWBulkCreateResult.h"
#include "tarnwell/items/TWEffectiveRights.h"
#include "tarnwell/items/TWIndexedElements.h"
#include "tarnwell/items/TWItem.h"
#include "tarnwell/items/TWItemId.h"
#include "tarnwell/items/TWMailbox.h"
#include "tarnwell/items/TWMessageHeader.h"
#include "tarnwell/schema/TWExtendedProperty.h"

namespace tarnwell::detail {

void enlistLibraryClasses() {
  // Those that no other class of the list derives from: the rest comes along as their bases.
  [[maybe_unused]] static const std::array<const TWElementClass*, 25> kClasses = {
      &TWExternId::elementClass(),
      &TWFlag::elementClass(),
      &TWAssociatedCalendarItemId::elementClass(),
      &TWConversationId::elementClass(),
      &TWParentFolderId::elementClass(),
      &TWParentItemId::elementClass(),
      &TWRootItemId::elementClass(),
      &TWAvailabilityMailbox::elementClass(),
      &TWRoom::elementClass(),
      &TWRoomList::elementClass(),
      &TWAttendee::elementClass(),
      &TWMember::elementClass(),
      &TWEffectiveRights::elementClass(),
      &TWMessageHeader::elementClass(),
      &TWEmailAddress::elementClass(),
      &TWPhoneNumber::elementClass(),
      &TWPhysicalAddress::elementClass(),
      &TWFileAttachment::elementClass(),
      &TWItemAttachment::elementClass(),
      &TWAttachmentId::elementClass(),
      &TWBulkCreateResult::elementClass(),
      &TWFolderId::elementClass(),
      &TWDistinguishedFolderId::elementClass(),
      &TWCalendarView::elementClass(),
      &TWGALContacts::elementClass(),
  };
  static_cast<void>(TWItem::itemClasses());
  static_cast<void>(TWFolderClass::wellKnown());
}

}  // namespace tarnwell::detail
