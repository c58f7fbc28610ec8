#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/items/Properties.h"
#include "sandbox/operations/Disposal.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/folders/FolderElement.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array<std::string_view, 3> kCancellations{"SendToNone", "SendOnlyToAll",
                                                         "SendToAllAndSaveCopy"};
constexpr std::array<std::string_view, 2> kOccurrences{"AllOccurrences", "SpecifiedOccurrenceOnly"};

}  // namespace

void deleteItem(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  if (call.schema >= Schema::exchange2013) {
    reader.allowAttributes({"DeleteType", "SendMeetingCancellations", "AffectedTaskOccurrences",
                            "SuppressReadReceipts"});
    static_cast<void>(reader.boolean("SuppressReadReceipts"));
  } else {
    reader.allowAttributes({"DeleteType", "SendMeetingCancellations", "AffectedTaskOccurrences"});
  }
  const std::string type = readDeleteType(call.request);
  const auto cancellations = reader.enumeration(
      "SendMeetingCancellations", "CalendarItemCreateOrDeleteOperationType", kCancellations);
  const auto occurrences =
      reader.enumeration("AffectedTaskOccurrences", "AffectedTaskOccurrencesType", kOccurrences);
  const auto references = readItemReferences(reader.required(kMessagesNs, "ItemIds"));
  reader.end();
  for (const ItemReference& reference : references) {
    answerPart(response, "DeleteItem", [&](pugi::xml_node) {
      const std::shared_ptr<const Item> item = resolveItem(call, reference);
      const ItemKind kind = findItemKind(item->content.name)->kind;
      if (kind == kCalendarItem && !cancellations) {
        throw EwsError("ErrorSendMeetingCancellationsRequired");
      }
      if (kind == kTask && !occurrences) throw EwsError("ErrorAffectedTaskOccurrencesRequired");
      disposeOfItem(call.store, *item, type);
    });
  }
}

}  // namespace tarnwell::sandbox
