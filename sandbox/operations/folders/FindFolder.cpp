#include <array>

#include "sandbox/detail/Schema.h"
#include "sandbox/detail/Xml.h"
#include "sandbox/operations/References.h"
#include "sandbox/operations/folders/FolderElement.h"
#include "sandbox/search/Paging.h"
#include "sandbox/search/Restriction.h"

namespace tarnwell::sandbox {
namespace {

constexpr std::array<std::string_view, 3> kTraversals{"Shallow", "Deep", "SoftDeleted"};

std::vector<const Folder*> foldersOf(const OperationCall& call, const Folder& parent,
                                     const std::string& traversal,
                                     const std::optional<Restriction>& restriction) {
  const Store& store = call.store;
  std::vector<std::uint64_t> numbers;
  if (traversal == "Deep") {
    numbers = store.foldersBelow(parent.number);
  } else if (traversal == "Shallow") {
    numbers.assign(store.foldersIn(parent.number).begin(), store.foldersIn(parent.number).end());
  }
  std::vector<const Folder*> found;
  for (const std::uint64_t number : numbers) {
    const Folder* folder = store.findFolder(number);
    const auto values = [&](const PropertyPath& path) {
      return folderValuesOf(call, *folder, path);
    };
    if (!restriction || restriction->matches(values)) found.push_back(folder);
  }
  return found;
}

}  // namespace

void findFolder(const OperationCall& call, pugi::xml_node response) {
  ElementReader reader(call.request);
  reader.allowAttributes({"Traversal"});
  static_cast<void>(reader.requiredAttribute("Traversal"));
  const std::string traversal =
      *reader.enumeration("Traversal", "FolderQueryTraversalType", kTraversals);
  const FolderShape shape =
      readFolderShape(reader.required(kMessagesNs, "FolderShape"), call.schema);
  PageView view;
  reader.requireMore();
  if (isPageView(reader.peek(), "Folder")) view = PageView(reader.next());
  std::optional<Restriction> restriction;
  if (const pugi::xml_node element = reader.optional(kMessagesNs, "Restriction")) {
    restriction = readRestriction(element, call.schema);
  }
  const auto parents =
      readFolderReferences(reader.required(kMessagesNs, "ParentFolderIds"), call.schema);
  reader.end();

  for (const FolderReference& reference : parents) {
    answerPart(response, "FindFolder", [&](pugi::xml_node message) {
      const Folder& parent = resolveFolder(call, reference);
      const auto found = foldersOf(call, parent, traversal, restriction);
      const PageView::Page page = view.pageOf(found.size());
      pugi::xml_node root = message.append_child("m:RootFolder");
      view.describe(root, page, found.size());
      pugi::xml_node list = root.append_child("t:Folders");
      for (std::size_t i = page.begin; i < page.end; ++i) {
        appendFolder(list, call, *found[i], shape);
      }
    });
  }
}

}  // namespace tarnwell::sandbox
