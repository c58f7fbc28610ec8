#include "sandbox/operations/Operations.h"

#include <algorithm>
#include <array>

#include "sandbox/detail/Xml.h"

namespace tarnwell::sandbox {
namespace {

using Access = Operation::Access;

constexpr std::array kOperations{
    Operation{"CreateAttachment", Schema::exchange2007, Access::writes, createAttachment},
    Operation{"CreateFolder", Schema::exchange2007, Access::writes, createFolder},
    Operation{"CreateItem", Schema::exchange2007, Access::writes, createItem},
    Operation{"DeleteAttachment", Schema::exchange2007, Access::writes, deleteAttachment},
    Operation{"DeleteFolder", Schema::exchange2007, Access::writes, deleteFolder},
    Operation{"DeleteItem", Schema::exchange2007, Access::writes, deleteItem},
    Operation{"EmptyFolder", Schema::exchange2010Sp1, Access::writes, emptyFolder},
    Operation{"ExportItems", Schema::exchange2010Sp1, Access::reads, exportItems},
    Operation{"FindFolder", Schema::exchange2007, Access::reads, findFolder},
    Operation{"FindItem", Schema::exchange2007, Access::reads, findItem},
    Operation{"GetAttachment", Schema::exchange2007, Access::reads, getAttachment},
    Operation{"GetFolder", Schema::exchange2007, Access::reads, getFolder},
    Operation{"GetItem", Schema::exchange2007, Access::reads, getItem},
    Operation{"GetServerTimeZones", Schema::exchange2010, Access::none, getServerTimeZones},
    Operation{"GetStreamingEvents", Schema::exchange2010Sp1, Access::none, getStreamingEvents},
    Operation{"MoveFolder", Schema::exchange2007, Access::writes, moveFolder},
    Operation{"MoveItem", Schema::exchange2007, Access::writes, moveItem},
    Operation{"ResolveNames", Schema::exchange2007, Access::none, resolveNames},
    Operation{"SendItem", Schema::exchange2007, Access::writes, sendItems},
    Operation{"Subscribe", Schema::exchange2007, Access::reads, subscribe},
    Operation{"Unsubscribe", Schema::exchange2007, Access::none, unsubscribe},
    Operation{"UpdateFolder", Schema::exchange2007, Access::writes, updateFolder},
    Operation{"UpdateItem", Schema::exchange2007, Access::writes, updateItem},
    Operation{"UploadItems", Schema::exchange2010Sp1, Access::writes, uploadItems},
};

}  // namespace

const Operation* findOperation(std::string_view name) {
  const auto* const found = std::ranges::find(kOperations, name, &Operation::name);
  return found == kOperations.end() ? nullptr : found;
}

pugi::xml_node addResponseMessage(pugi::xml_node response, std::string_view operation,
                                  const ResponseStatus& status) {
  pugi::xml_node messages = response.child("m:ResponseMessages");
  if (!messages) messages = response.append_child("m:ResponseMessages");
  pugi::xml_node message =
      messages.append_child(("m:" + std::string(operation) + "ResponseMessage").c_str());
  message.append_attribute("ResponseClass") = status.responseClass;
  if (!status.text.empty()) append(message, "m:MessageText", status.text);
  append(message, "m:ResponseCode", status.code);
  if (status.code != "NoError") append(message, "m:DescriptiveLinkKey", "0");
  return message;
}

}  // namespace tarnwell::sandbox
